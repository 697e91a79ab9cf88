#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "archivemap.h"
#include "common/exception/zrexception.h"
#include "common/file/extendedfilesystem.h"
#include "common/file/fileio.h"
#include "common/kernel/text.h"
#include "common/platform/console.h"
#include "progress.h"
#include "shownname.h"
#include "sourcecheck.h"
#include "subject.h"

namespace fs = std::filesystem;

namespace
{
// The file system registers at most this many units, top-level and nested together.
constexpr std::size_t UNIT_LIMIT = 256;

// The library's paths live in buffers of this many bytes, the terminator included.
constexpr std::size_t PATH_BUFFER = 1024;
constexpr std::size_t NAMES_SHOWN = 5;

int Fail(std::string const & sText)
{
    std::fprintf(stderr, "arc: %s\n", sText.c_str());
    return 1;
}

// An error of the library, told with what it was about.
int FailOn(std::string const & sSubject, CZRException const & Error,
           std::string const & sAfter = "")
{
    return Fail(sSubject + ": " + Error.GetErrorString() + " (error " +
                std::to_string(Error.GetErrorCode()) + ")" + sAfter);
}

// Prints a rule that keeps an archive from being read back whole: the rule, the first
// few names, how many more, and what to do.
void PrintBreach(sBreach const & Breach)
{
    std::fprintf(stderr, "arc: %s:\n", Breach.sRule.c_str());
    for (std::string const & sName : Breach.vNames)
        std::fprintf(stderr, "arc:   %s\n", sName.c_str());
    if (Breach.nNames > Breach.vNames.size())
        std::fprintf(stderr, "arc:   and %zu more\n", Breach.nNames - Breach.vNames.size());
    std::fprintf(stderr, "arc:   %s\n", Breach.sAdvice.c_str());
}

// What is left under the archive's name: its size and time before the work, so that a
// failed pack can tell an archive it cut off from one it didn't touch.
struct sArchiveState
{
    bool bExists = false;
    std::uintmax_t ullSize = 0;
    fs::file_time_type Time;
};

sArchiveState StateOf(std::string const & sFile)
{
    sArchiveState State;
    std::error_code Error;
    if (!fs::is_regular_file(fs::symlink_status(sFile, Error)))
        return State;
    State.ullSize = fs::file_size(sFile, Error);
    State.Time = fs::last_write_time(sFile, Error);
    State.bExists = !Error;
    return State;
}

// Removes what a failed pack left under the archive's name, unless it is the file that
// stood there before, untouched; says what became of the name.
std::string ClearFailedArchive(std::string const & sFile, sArchiveState const & Before)
{
    sArchiveState const After = StateOf(sFile);
    if (!After.bExists)
        return "; no archive was written";
    if (Before.bExists && After.ullSize == Before.ullSize && After.Time == Before.Time)
        return "; " + sFile + " was left as it was";
    std::error_code Error;
    fs::remove(sFile, Error);
    return Error ? "; the cut-off archive " + sFile + " could not be removed"
                 : "; the cut-off archive was removed";
}

// The archive's file as the library names it: ".arc" added unless that is the extension.
std::string ArchiveFileName(std::string const & sArchive)
{
    std::size_t const nPart = sArchive.find_last_of("/\\");
    std::size_t const nDot = sArchive.rfind('.');
    bool const bHasArc = nDot != std::string::npos &&
                         (nPart == std::string::npos || nDot > nPart) &&
                         STR_stricmp(sArchive.c_str() + nDot, ".arc") == 0;
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
               bool bLong, bool bRaw)
{
    for (sInspectedEntry const & Entry : Inspection.vUnits[nUnit].vEntries)
    {
        std::string const sName = bRaw ? Entry.sName : Escaped(Entry.sName);
        char const * szName = sName.c_str();
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
            PrintUnit(Inspection, static_cast<std::size_t>(Entry.nUnit), sIndent + "  ", bLong,
                      bRaw);
    }
}

void ReportProblems(std::string const & sFile, sInspection const & Inspection, std::FILE * pOut)
{
    for (std::string const & sProblem : Inspection.vProblems)
        std::fprintf(pOut, "%s: %s\n", sFile.c_str(), sProblem.c_str());
}

// Names equal without case in one unit: the library reads only the first of them, and
// extraction would fill one directory from the other.
sBreach CaseBreach(sInspection const & Inspection)
{
    sBreach Breach;
    for (sInspectedUnit const & Unit : Inspection.vUnits)
    {
        std::vector<std::string> vNames;
        for (sInspectedEntry const & Entry : Unit.vEntries)
            vNames.push_back(Entry.sName);
        std::sort(vNames.begin(), vNames.end(),
                  [](std::string const & sLeft, std::string const & sRight)
                  { return STR_stricmp(sLeft.c_str(), sRight.c_str()) < 0; });
        for (std::size_t nName = 1; nName < vNames.size(); ++nName)
        {
            if (STR_stricmp(vNames[nName - 1].c_str(), vNames[nName].c_str()) != 0)
                continue;
            if (Breach.vNames.size() < NAMES_SHOWN)
                Breach.vNames.push_back(Escaped(Unit.sPath + vNames[nName - 1]) + " and " +
                                        Escaped(vNames[nName]));
            ++Breach.nNames;
        }
    }
    Breach.sRule = std::to_string(Breach.nNames) + (Breach.nNames == 1 ? " pair" : " pairs") +
                   " of names equal without case in one directory; the library reads only the "
                   "first of each pair";
    Breach.sAdvice = "pack the tree again with the names made different";
    return Breach;
}

// Resulting paths that the library's path buffers can't hold, the longest first.
sBreach PathBreach(sInspection const & Inspection, std::string const & sBase)
{
    sBreach Breach;
    std::string sLongest;
    for (sInspectedUnit const & Unit : Inspection.vUnits)
        for (sInspectedEntry const & Entry : Unit.vEntries)
        {
            std::string const sPath = sBase + Unit.sPath + Entry.sName;
            if (sPath.size() < PATH_BUFFER)
                continue;
            ++Breach.nNames;
            if (sPath.size() > sLongest.size())
                sLongest = sPath;
        }
    if (Breach.nNames == 0)
        return Breach;
    Breach.sRule = std::to_string(Breach.nNames) + (Breach.nNames == 1 ? " path" : " paths") +
                   " would have 1024 bytes or more, which the library's path buffers don't "
                   "hold; the deepest member";
    Breach.vNames.push_back(Escaped(sLongest) + " (" + std::to_string(sLongest.size()) + " bytes)");
    Breach.nNames = 1; // the count stands in the rule
    Breach.sAdvice = "extract into a directory with a shorter path";
    return Breach;
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
    std::string const sFile = ArchiveFileName(sArchive);
    std::string const sSource = SourceForm(sDirectory);
    fs::path const Saved = fs::current_path();
    sSourceCheck Check;
    try
    {
        CheckSource(sArchive, sSource, sDirectory, fs::canonical(sDirectory), sFile, Check);
    }
    catch (CZRException const & Error)
    {
        fs::current_path(Saved);
        return FailOn(sDirectory, Error, "; nothing was written");
    }
    for (std::string const & sLeftOut : Check.vLeftOut)
        std::fprintf(stderr, "arc: warning: leaving out %s\n", sLeftOut.c_str());
    if (!Check.vBreaches.empty())
    {
        std::fprintf(stderr,
                     "arc: %s can't be packed so that it reads back whole; nothing was written\n",
                     sDirectory.c_str());
        for (sBreach const & Breach : Check.vBreaches)
            PrintBreach(Breach);
        return 1;
    }

    auto pFileSystem = std::make_unique<CExtendedFileSystem>();
    CPackSubject Subject(Check, sDirectory, sFile);
    Subject.Attach(*pFileSystem);
    sArchiveState const Before = StateOf(sFile);
    try
    {
        CProgress Progress(!bQuiet && StderrIsTerminal(), "packing");
        Progress.SetTotal(Check.vFiles.size());
        Progress.Attach(*pFileSystem);
        pFileSystem->CreateArchive(sArchive.c_str(), sSource.c_str());
    }
    catch (CZRException const & Error)
    {
        // The walk leaves the current directory where it failed.
        fs::current_path(Saved);
        std::string const sSubject = Subject.Describe(Error.GetErrorCode());
        return FailOn(sSubject, Error, ClearFailedArchive(sFile, Before));
    }
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
                    " directories; extraction unpacks at most " + std::to_string(UNIT_LIMIT) +
                    ", since the library's file system registers at most " +
                    std::to_string(UNIT_LIMIT) + " units per process");
    if (!fs::is_directory(sTarget))
        return Fail("no such directory: " + sTarget);
    std::string const sTargetForm = TargetForm(sTarget);
    std::string const sName = fs::path(sFile).stem().string();
    for (sBreach const & Breach :
         {CaseBreach(Inspection), PathBreach(Inspection, sTargetForm + sName + "/")})
    {
        if (Breach.nNames == 0)
            continue;
        std::fprintf(stderr, "arc: %s can't be extracted into %s; nothing was written\n",
                     sFile.c_str(), sTarget.c_str());
        PrintBreach(Breach);
        return 1;
    }
    auto pFileSystem = std::make_unique<CExtendedFileSystem>();
    CExtractSubject Subject(Inspection, sName);
    Subject.Attach(*pFileSystem);
    fs::path const Saved = fs::current_path();
    try
    {
        CProgress Progress(!bQuiet && StderrIsTerminal(), "unpacking");
        Progress.SetTotal(FileCount(Inspection));
        Progress.Attach(*pFileSystem);
        if (!pFileSystem->ExtractArchive(sFile.c_str(), sTargetForm.c_str()))
            return Fail("cannot open archive: " + sFile);
    }
    catch (CZRException const & Error)
    {
        fs::current_path(Saved);
        std::string const sMember = Subject.Describe();
        return FailOn(sMember.empty() ? sFile : Escaped(sMember) + " (from " + sFile + ")", Error);
    }
    return 0;
}

int CommandList(std::string const & sArchive, bool bLong, bool bRaw)
{
    std::string const sFile = ArchiveFileName(sArchive);
    sInspection Inspection;
    if (!InspectArchive(sFile, Inspection))
        return Fail("cannot open archive: " + sFile);
    if (!Inspection.vUnits.empty())
    {
        if (bLong)
            std::printf("%s  unit %u  @0\n", (bRaw ? sFile : Escaped(sFile)).c_str(),
                        Inspection.vUnits[0].ulSize);
        PrintUnit(Inspection, 0, "", bLong, bRaw);
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
    // A member's bytes go out as they are, binary or not.
    PLATFORM_MakeStdoutBinary();

    // The walk into archives starts in the current directory, at the archive's name.
    fs::path const Archive = fs::absolute(sFile);
    std::string sWalk = Archive.filename().string() + "/" + sPath;
    std::replace(sWalk.begin(), sWalk.end(), '/', '\\');
    CDirectoryChange const Change(Archive.parent_path());
    CFileIO File;
    try
    {
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
    }
    catch (CZRException const & Error)
    {
        return FailOn(Escaped(sMember) + " in " + sFile, Error);
    }
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
