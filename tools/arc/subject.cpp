#include "subject.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "common/file/extendedfilesystem.h"
#include "shownname.h"

namespace fs = std::filesystem;

namespace
{
bool IsReadError(std::uint32_t ulCode)
{
    return ulCode == 4006 || ulCode == 4010;
}

bool IsArchiveWriteError(std::uint32_t ulCode)
{
    return ulCode == 4007 || ulCode == 4012 || ulCode == 4013;
}
} // namespace

CPackSubject::CPackSubject(sSourceCheck const & Check, std::string const & sShown,
                           std::string const & sArchiveFile)
    : m_Check(Check), m_sShown(sShown), m_sArchiveFile(sArchiveFile)
{
}

void CPackSubject::Attach(CExtendedFileSystem & FileSystem)
{
    FileSystem.AddCallback(OnEvent, reinterpret_cast<ZR_ULONG_PTR>(this));
}

void CPackSubject::OnEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR ulUser)
{
    auto const * pEvent = reinterpret_cast<CExtendedFileSystem::sArchiveFileEvent const *>(ulArg1);
    reinterpret_cast<CPackSubject *>(ulUser)->Take(nCode, pEvent->m_szDirectory,
                                                   pEvent->m_szFileName);
}

void CPackSubject::SkipDone()
{
    while (m_nUnit < m_Check.vUnits.size() &&
           m_nSeen == m_Check.vUnits[m_nUnit].nEntries + m_Check.vUnits[m_nUnit].nFiles)
    {
        ++m_nUnit;
        m_nSeen = 0;
    }
}

void CPackSubject::Take(int nCode, char const * szDirectory, char const * szName)
{
    // Filled in place, since this runs twice for every file packed.
    m_sLastEvent.assign(szDirectory).append("/").append(szName);
    if (m_bLost)
        return;
    SkipDone();
    if (m_nUnit == m_Check.vUnits.size())
    {
        m_bLost = true;
        return;
    }
    sSourceUnit const & Unit = m_Check.vUnits[m_nUnit];
    bool const bCounting = m_nSeen < Unit.nEntries;
    bool bExpected = nCode == (bCounting ? XFS_NOTIFY_FOUND : XFS_NOTIFY_ADDFILE);
    if (bExpected && !bCounting)
        bExpected =
            std::strcmp(m_Check.FileName(Unit.nFirstFile + m_nSeen - Unit.nEntries), szName) == 0;
    m_bLost = !bExpected;
    ++m_nSeen;
}

std::string CPackSubject::Describe(std::uint32_t ulCode) const
{
    if (IsArchiveWriteError(ulCode))
        return "writing " + Escaped(m_sArchiveFile) + " (is the disk full?)";
    if (m_bLost)
        return Escaped(m_sShown) + " (it changed while it was packed; the last name seen was " +
               Escaped(m_sLastEvent) + ")";
    if (IsReadError(ulCode) && m_nUnit < m_Check.vUnits.size())
    {
        sSourceUnit const & Unit = m_Check.vUnits[m_nUnit];
        if (m_nSeen >= Unit.nEntries && m_nSeen < Unit.nEntries + Unit.nFiles)
            return DescribeFile(Unit, Unit.nFirstFile + m_nSeen - Unit.nEntries);
    }
    if (ulCode == 4016)
        return DescribeDirectory();
    if (ulCode == 4010 && m_nUnit == 0 && m_nSeen == 0)
        return Escaped(m_sArchiveFile);
    return Escaped(m_sShown);
}

std::string CPackSubject::DescribeFile(sSourceUnit const & Unit, std::size_t nFile) const
{
    sSourceFile const & File = m_Check.vFiles[nFile];
    std::string const sPath = JoinPath(m_sShown, m_Check.FilePath(Unit, nFile));
    std::string const sShown = Escaped(sPath);
    std::error_code Error;
    if (!fs::exists(fs::symlink_status(sPath, Error)))
        return sShown + " (it vanished while the tree was packed)";
    std::uint64_t const ullNow = fs::file_size(sPath, Error);
    if (!Error && ullNow != File.ullSize)
        return sShown + " (it changed while the tree was packed: " + std::to_string(File.ullSize) +
               " bytes before, " + std::to_string(ullNow) + " now)";
    if (!std::ifstream(sPath, std::ios::binary))
        return sShown + " (it can't be read)";
    return sShown;
}

// The directory the walk was about to enter: the first unit after the last one that
// raised events, up to the next one that raises any (units with no entries raise none).
// Of those, the first that can't be listed now.
std::string CPackSubject::DescribeDirectory() const
{
    if (m_nUnit >= m_Check.vUnits.size())
        return Escaped(m_sShown);
    sSourceUnit const & Unit = m_Check.vUnits[m_nUnit];
    // A directory left in the middle of its own events: going back to it failed.
    if (m_nSeen > 0 && m_nSeen < Unit.nEntries + Unit.nFiles)
        return ShownPath(m_sShown, Unit.sPath);
    std::size_t const nFirst = m_nSeen > 0 ? m_nUnit + 1 : m_nUnit;
    for (std::size_t nUnit = nFirst; nUnit < m_Check.vUnits.size(); ++nUnit)
    {
        std::string const sPath = JoinPath(m_sShown, m_Check.vUnits[nUnit].sPath);
        std::error_code Error;
        fs::directory_iterator const Probe(sPath, Error);
        if (Error)
            return Escaped(sPath) + " (" + Error.message() + ")";
        if (m_Check.vUnits[nUnit].nEntries > 0)
            break;
    }
    return nFirst < m_Check.vUnits.size() ? ShownPath(m_sShown, m_Check.vUnits[nFirst].sPath)
                                          : Escaped(m_sShown);
}

CExtractSubject::CExtractSubject(sInspection const & Inspection, std::string const & sArchiveName)
{
    if (!Inspection.vUnits.empty())
        AddUnit(Inspection, 0, sArchiveName + "/");
}

void CExtractSubject::AddUnit(sInspection const & Inspection, std::size_t nUnit,
                              std::string const & sPath)
{
    m_vSteps.push_back(sPath);
    for (sInspectedEntry const & Entry : Inspection.vUnits[nUnit].vEntries)
        if (Entry.ucDirectory == 0)
            m_vSteps.push_back(sPath + Entry.sName);
    for (sInspectedEntry const & Entry : Inspection.vUnits[nUnit].vEntries)
        if (Entry.ucDirectory != 0 && Entry.nUnit >= 0)
            AddUnit(Inspection, static_cast<std::size_t>(Entry.nUnit), sPath + Entry.sName + "/");
}

void CExtractSubject::Attach(CExtendedFileSystem & FileSystem)
{
    FileSystem.AddCallback(OnEvent, reinterpret_cast<ZR_ULONG_PTR>(this));
}

void CExtractSubject::OnEvent(int nCode, ZR_ULONG_PTR, ZR_ULONG_PTR, ZR_ULONG_PTR ulUser)
{
    if (nCode == XFS_NOTIFY_MAKEDIR || nCode == XFS_NOTIFY_EXTRACTFILE)
        ++reinterpret_cast<CExtractSubject *>(ulUser)->m_nSeen;
}

std::string CExtractSubject::Describe() const
{
    if (m_nSeen == 0 || m_vSteps.empty())
        return "";
    return m_vSteps[std::min(m_nSeen, m_vSteps.size()) - 1];
}
