#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <strings.h>

#include "common/file/extendedfilesystem.h"
#include "common/file/fileio.h"
#include "archivemap.h"
#include "progress.h"

namespace fs = std::filesystem;

namespace
{
// The file system registers at most this many units, top-level and nested together.
constexpr std::size_t UNIT_LIMIT = 256;

int Fail(std::string const & sText)
{
    std::fprintf(stderr, "arc: %s\n", sText.c_str());
    return 1;
}

// The archive's file as the library names it: ".arc" added unless that is the extension.
std::string ArchiveFileName(std::string const & sArchive)
{
    std::size_t const nPart = sArchive.find_last_of("/\\");
    std::size_t const nDot = sArchive.rfind('.');
    bool const bHasArc = nDot != std::string::npos &&
                         (nPart == std::string::npos || nDot > nPart) &&
                         ::strcasecmp(sArchive.c_str() + nDot, ".arc") == 0;
    return bHasArc ? sArchive : sArchive + ".arc";
}

// CreateArchive takes the directory to pack as its file-name part without extension, and
// goes to its directory part. A trailing dot is an empty extension, so that a name with
// dots of its own ("data.old") stays whole. The root has no name: ".." then names "."
// in "/", with the dot as its extension.
std::string SourceForm(fs::path const & Directory)
{
    fs::path const Full = fs::canonical(Directory);
    std::string const sName = Full.filename().string();
    if (sName.empty())
        return "/..";
    std::string sParent = Full.parent_path().string();
    if (sParent.back() != '/')
        sParent += '/';
    return sParent + sName + ".";
}

// ExtractArchive takes only the directory part of its target.
std::string TargetForm(fs::path const & Directory)
{
    std::string sTarget = fs::canonical(Directory).string();
    if (sTarget.back() != '/')
        sTarget += '/';
    return sTarget;
}

std::uint64_t FileCount(sInspection const & Inspection)
{
    std::uint64_t ullFiles = 0;
    for (sInspectedUnit const & Unit : Inspection.vUnits)
        ullFiles += static_cast<std::uint64_t>(
            std::count_if(Unit.vEntries.begin(), Unit.vEntries.end(),
                          [](sInspectedEntry const & Entry) { return Entry.ucDirectory == 0; }));
    return ullFiles;
}

void PrintUnit(sInspection const & Inspection, std::size_t nUnit, std::string const & sIndent,
               bool bLong)
{
    for (sInspectedEntry const & Entry : Inspection.vUnits[nUnit].vEntries)
    {
        char const * szName = Entry.sName.c_str();
        unsigned long long const ullPosition = Entry.ullPosition;
        if (Entry.ucDirectory == 0 && bLong)
            std::printf("%s%s  %u  @%llu\n", sIndent.c_str(), szName, Entry.ulSize, ullPosition);
        else if (Entry.ucDirectory == 0)
            std::printf("%s%s  %u\n", sIndent.c_str(), szName, Entry.ulSize);
        else if (bLong)
            std::printf("%s%s/  unit %u  @%llu\n", sIndent.c_str(), szName, Entry.ulSize,
                        ullPosition);
        else
            std::printf("%s%s/\n", sIndent.c_str(), szName);
        if (Entry.nUnit >= 0)
            PrintUnit(Inspection, static_cast<std::size_t>(Entry.nUnit), sIndent + "  ", bLong);
    }
}

void ReportProblems(std::string const & sFile, sInspection const & Inspection, std::FILE * pOut)
{
    for (std::string const & sProblem : Inspection.vProblems)
        std::fprintf(pOut, "%s: %s\n", sFile.c_str(), sProblem.c_str());
}

// Changes the current directory and goes back to the former one when it goes out of scope.
class CDirectoryChange
{
public:
    explicit CDirectoryChange(fs::path const & Directory) : m_Saved(fs::current_path())
    {
        fs::current_path(Directory);
    }
    ~CDirectoryChange()
    {
        std::error_code Error;
        fs::current_path(m_Saved, Error);
    }
    CDirectoryChange(CDirectoryChange const &) = delete;
    CDirectoryChange & operator=(CDirectoryChange const &) = delete;

private:
    fs::path m_Saved;
};
} // namespace

int CommandCreate(std::string const & sArchive, std::string const & sDirectory, bool bQuiet)
{
    if (!fs::is_directory(sDirectory))
        return Fail("no such directory: " + sDirectory);
    auto pFileSystem = std::make_unique<CExtendedFileSystem>();
    {
        CProgress Progress(!bQuiet && StderrIsTerminal(), "packing");
        Progress.Attach(*pFileSystem);
        pFileSystem->CreateArchive(sArchive.c_str(), SourceForm(sDirectory).c_str());
    }
    sInspection Inspection;
    std::string const sFile = ArchiveFileName(sArchive);
    if (InspectArchive(sFile, Inspection) && Inspection.vUnits.size() > UNIT_LIMIT)
        std::fprintf(stderr,
                     "arc: warning: %s holds %zu directories; extraction unpacks at most %zu\n",
                     sFile.c_str(), Inspection.vUnits.size(), UNIT_LIMIT);
    return 0;
}

int CommandExtract(std::string const & sArchive, std::string const & sTarget, bool bQuiet)
{
    std::string const sFile = ArchiveFileName(sArchive);
    sInspection Inspection;
    if (!InspectArchive(sFile, Inspection))
        return Fail("cannot open archive: " + sFile);
    if (!Inspection.vProblems.empty())
    {
        std::size_t const nProblems = Inspection.vProblems.size();
        return Fail(sFile + " is damaged (" + std::to_string(nProblems) +
                    (nProblems == 1 ? " problem" : " problems") + "); 'arc verify' lists them");
    }
    if (Inspection.vUnits.size() > UNIT_LIMIT)
        return Fail(sFile + " holds " + std::to_string(Inspection.vUnits.size()) +
                    " directories; extraction unpacks at most " + std::to_string(UNIT_LIMIT));
    if (!fs::is_directory(sTarget))
        return Fail("no such directory: " + sTarget);
    auto pFileSystem = std::make_unique<CExtendedFileSystem>();
    CProgress Progress(!bQuiet && StderrIsTerminal(), "unpacking");
    Progress.SetTotal(FileCount(Inspection));
    Progress.Attach(*pFileSystem);
    if (!pFileSystem->ExtractArchive(sFile.c_str(), TargetForm(sTarget).c_str()))
        return Fail("cannot open archive: " + sFile);
    return 0;
}

int CommandList(std::string const & sArchive, bool bLong)
{
    std::string const sFile = ArchiveFileName(sArchive);
    sInspection Inspection;
    if (!InspectArchive(sFile, Inspection))
        return Fail("cannot open archive: " + sFile);
    if (!Inspection.vUnits.empty())
    {
        if (bLong)
            std::printf("%s  unit %u  @0\n", sFile.c_str(), Inspection.vUnits[0].ulSize);
        PrintUnit(Inspection, 0, "", bLong);
    }
    ReportProblems(sFile, Inspection, stderr);
    return Inspection.vProblems.empty() ? 0 : 1;
}

int CommandCat(std::string const & sArchive, std::string const & sMember)
{
    std::string const sFile = ArchiveFileName(sArchive);
    std::string sPath = sMember;
    std::replace(sPath.begin(), sPath.end(), '\\', '/');
    sPath.erase(0, sPath.find_first_not_of('/'));
    sInspection Inspection;
    if (!InspectArchive(sFile, Inspection))
        return Fail("cannot open archive: " + sFile);
    sInspectedEntry const * pEntry = FindMember(Inspection, sPath);
    if (pEntry != nullptr && pEntry->ucDirectory != 0)
        return Fail(sMember + " is a directory in " + sFile);

    // The walk into archives starts in the current directory, at the archive's name.
    fs::path const Archive = fs::absolute(sFile);
    std::string sWalk = Archive.filename().string() + "/" + sPath;
    std::replace(sWalk.begin(), sWalk.end(), '/', '\\');
    CDirectoryChange const Change(Archive.parent_path());
    CFileIO File;
    File.Open(sWalk.c_str(), FILEIO_READ);
    std::uint32_t ulLeft = File.GetSize();
    std::unique_ptr<char[]> pBuffer(new char[1 << 16]);
    while (ulLeft > 0)
    {
        std::uint32_t const ulChunk = std::min<std::uint32_t>(ulLeft, 1 << 16);
        File.Read(pBuffer.get(), ulChunk);
        if (std::fwrite(pBuffer.get(), 1, ulChunk, stdout) != ulChunk)
            return Fail("cannot write to the standard output");
        ulLeft -= ulChunk;
    }
    File.Close();
    return std::fflush(stdout) == 0 ? 0 : Fail("cannot write to the standard output");
}

int CommandVerify(std::string const & sArchive)
{
    std::string const sFile = ArchiveFileName(sArchive);
    sInspection Inspection;
    if (!InspectArchive(sFile, Inspection))
        return Fail("cannot open archive: " + sFile);
    if (!Inspection.vProblems.empty())
    {
        ReportProblems(sFile, Inspection, stdout);
        std::printf("%s: %zu problem%s found\n", sFile.c_str(), Inspection.vProblems.size(),
                    Inspection.vProblems.size() == 1 ? "" : "s");
        return 1;
    }
    std::uint64_t ullBytes = 0;
    for (sInspectedUnit const & Unit : Inspection.vUnits)
        for (sInspectedEntry const & Entry : Unit.vEntries)
            ullBytes += Entry.ucDirectory == 0 ? Entry.ulSize : 0;
    std::printf("%s: OK, %zu units, %llu files, %llu bytes of file data\n", sFile.c_str(),
                Inspection.vUnits.size(), static_cast<unsigned long long>(FileCount(Inspection)),
                static_cast<unsigned long long>(ullBytes));
    return 0;
}
