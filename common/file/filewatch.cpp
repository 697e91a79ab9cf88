// Watching the files that names open, for reloading them as they change. A name is
// resolved once, by the search of OpenFile, to a file on disk or to a member of an
// archive; what is watched is the directory holding that file or archive, so that a
// save that writes a new file and renames it over the old one is seen as well. No
// thread and no polling of file times: the system collects the changes, and
// PollChanges takes them without waiting. A member of an archive counts as changed only
// when its bytes differ from those seen last, which is known from their size and a
// hash; an archive that changed is read anew so that its members open as they are now.
#include <algorithm>
#include <cstring>
#include <string>

#include "common/exception/zrexception.h"
#include "common/file/archivepath.h"
#include "common/file/extendedfilesystem.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"
#include "common/platform/dirwatch.h"
#include "common/platform/diskname.h"
#include "common/platform/fileopen.h"
#include "common/platform/fullpath.h"

namespace
{
constexpr std::size_t NAME_BUFFER = 1024;

// The bytes of an archive member as last seen; a member that can't be read is absent.
struct sMemberState
{
    bool bPresent;
    std::uint32_t ulSize;
    std::uint64_t ullHash;

    bool operator!=(sMemberState const & Other) const
    {
        return bPresent != Other.bPresent || ulSize != Other.ulSize || ullHash != Other.ullHash;
    }
};

struct sWatchedName
{
    CZRString sName;    // as given to Watch
    int nDirectory;     // the system's id of the directory watched for it
    std::string sEntry; // the file's name in that directory: the file, or its archive
    CExtendedFileSystem::sArchiveInfo * pUnit; // the member's unit; null for a file on disk
    CExtendedFileSystem::sArchiveInfo * pTop;  // the unit's top-level archive
    std::string sMember;                       // the member's name in its unit
    sMemberState State;
    bool bChanged; // to be reported at the next poll
};

struct sWatchedDirectory
{
    int nId;
    std::string sPath; // full path
    int nNames;        // watched names in it
};

bool SameEntryName(char const * szLeft, char const * szRight)
{
    return PLATFORM_DiskNamesFoldCase() ? STR_stricmp(szLeft, szRight) == 0
                                        : std::strcmp(szLeft, szRight) == 0;
}

std::uint64_t HashBytes(std::uint64_t ullHash, unsigned char const * pBytes, std::size_t nSize)
{
    for (std::size_t nIndex = 0; nIndex < nSize; ++nIndex)
        ullHash = (ullHash ^ pBytes[nIndex]) * 1099511628211ull;
    return ullHash;
}

// The directory part of szPath as a full path, and its file part.
bool SplitWatchedPath(char const * szPath, std::string & sDirectory, std::string & sEntry)
{
    char szPart[NAME_BUFFER];
    char szFull[NAME_BUFFER];
    if (!ARCHIVE_DirectoryPart(szPath, szPart, sizeof(szPart)) ||
        PLATFORM_GetFullDirectoryPath(szPart, szFull, sizeof(szFull)) == nullptr)
        return false;
    sDirectory = szFull;
    sEntry = szPath + std::strlen(szPart);
    return !sEntry.empty();
}
} // namespace

class CFileWatch
{
public:
    explicit CFileWatch(void * hWatch) : m_hWatch(hWatch) {}
    ~CFileWatch() { PLATFORM_CloseDirWatch(m_hWatch); }
    CFileWatch(CFileWatch const &) = delete;
    CFileWatch & operator=(CFileWatch const &) = delete;

    // The id of the directory szDirectory, watched from now on; -1 when it can't be.
    int AddDirectory(char const * szDirectory);
    void RemoveName(std::size_t nIndex);
    // Marks the names that a change of the entry szName (empty: of every entry) in the
    // directory nId (-1: in every directory) touches. A file on disk has changed; an
    // archive goes onto the list of those to be read anew.
    void Touch(int nId, char const * szName);

    static sMemberState ReadMember(CExtendedFileSystem::sArchiveInfo * pUnit,
                                   char const * szMember);
    static CExtendedFileSystem::sArchiveInfo * TopOf(CExtendedFileSystem & Xfs,
                                                     CExtendedFileSystem::sArchiveInfo * pUnit);

    void * m_hWatch;
    std::vector<sWatchedDirectory> m_vDirectories;
    std::vector<sWatchedName> m_vNames;
    std::vector<CExtendedFileSystem::sArchiveInfo *> m_vTouchedArchives;
    bool m_bAnyChanged = false; // some name waits to be reported
};

int CFileWatch::AddDirectory(char const * szDirectory)
{
    for (sWatchedDirectory & Directory : m_vDirectories)
    {
        if (Directory.sPath == szDirectory)
        {
            ++Directory.nNames;
            return Directory.nId;
        }
    }
    int const nId = PLATFORM_AddWatchedDirectory(m_hWatch, szDirectory);
    if (nId < 0)
        return -1;
    // Two paths of one directory may give one id: the directory counts once.
    for (sWatchedDirectory & Directory : m_vDirectories)
    {
        if (Directory.nId == nId)
        {
            ++Directory.nNames;
            return nId;
        }
    }
    m_vDirectories.push_back(sWatchedDirectory{nId, szDirectory, 1});
    return nId;
}

void CFileWatch::RemoveName(std::size_t nIndex)
{
    int const nId = m_vNames[nIndex].nDirectory;
    m_vNames.erase(m_vNames.begin() + static_cast<std::ptrdiff_t>(nIndex));
    for (std::size_t nDirectory = 0; nDirectory < m_vDirectories.size(); ++nDirectory)
    {
        if (m_vDirectories[nDirectory].nId != nId || --m_vDirectories[nDirectory].nNames > 0)
            continue;
        PLATFORM_RemoveWatchedDirectory(m_hWatch, nId);
        m_vDirectories.erase(m_vDirectories.begin() + static_cast<std::ptrdiff_t>(nDirectory));
        return;
    }
}

void CFileWatch::Touch(int nId, char const * szName)
{
    for (sWatchedName & Name : m_vNames)
    {
        if (nId != -1 && (Name.nDirectory != nId ||
                          (szName[0] != '\0' && !SameEntryName(szName, Name.sEntry.c_str()))))
            continue;
        if (Name.pUnit == nullptr)
            Name.bChanged = m_bAnyChanged = true;
        else if (std::find(m_vTouchedArchives.begin(), m_vTouchedArchives.end(), Name.pTop) ==
                 m_vTouchedArchives.end())
            m_vTouchedArchives.push_back(Name.pTop);
    }
}

sMemberState CFileWatch::ReadMember(CExtendedFileSystem::sArchiveInfo * pUnit,
                                    char const * szMember)
{
    sMemberState State{false, 0, 14695981039346656037ull};
    if (pUnit->m_pEntries == nullptr)
        return State;
    CExtendedFileSystem::sArchiveEntry const * pEntry = nullptr;
    for (std::uint32_t ulEntry = 0; ulEntry < pUnit->m_sHeader.m_ulEntryCount; ++ulEntry)
    {
        if (STR_stricmp(pUnit->m_pEntries[ulEntry].m_szName, szMember) == 0)
        {
            pEntry = &pUnit->m_pEntries[ulEntry];
            break;
        }
    }
    if (pEntry == nullptr)
        return State;
    std::uint64_t const ullStart =
        static_cast<std::uint64_t>(pUnit->m_ulBaseOffset) + pEntry->m_ulOffset;
    std::uint64_t ullSize = 0;
    std::FILE * pFile = PLATFORM_OpenFileToRead(pUnit->m_szPath, ullStart, nullptr, 0, &ullSize);
    if (pFile == nullptr)
        return State;
    unsigned char aBuffer[16384];
    std::uint32_t ulLeft = pEntry->m_ulSize;
    while (ulLeft > 0)
    {
        std::size_t const nChunk = ulLeft < sizeof(aBuffer) ? ulLeft : sizeof(aBuffer);
        if (std::fread(aBuffer, 1, nChunk, pFile) != nChunk)
            break;
        State.ullHash = HashBytes(State.ullHash, aBuffer, nChunk);
        ulLeft -= static_cast<std::uint32_t>(nChunk);
    }
    std::fclose(pFile);
    // A member that reaches beyond the file reads short, as it would through OpenFile.
    State.bPresent = ulLeft == 0;
    State.ulSize = pEntry->m_ulSize;
    return State;
}

CExtendedFileSystem::sArchiveInfo * CFileWatch::TopOf(CExtendedFileSystem & Xfs,
                                                      CExtendedFileSystem::sArchiveInfo * pUnit)
{
    // Every unit's path is the name of its top-level record.
    std::size_t const nIndex =
        static_cast<std::size_t>(pUnit->m_szPath - Xfs.m_aArchives[0].m_szName) /
        sizeof(CExtendedFileSystem::sArchiveInfo);
    return &Xfs.m_aArchives[nIndex];
}

bool CExtendedFileSystem::Watch(char const * szName)
{
    if (szName == nullptr)
        return false;
    if (m_pWatch != nullptr)
        for (sWatchedName const & Name : m_pWatch->m_vNames)
            if (std::strcmp(Name.sName.GetString(), szName) == 0)
                return true;

    // The search of OpenFile, noting where the file is instead of opening it.
    sWatchedName Watched{
        CZRString(szName),         -1,   std::string(), nullptr, nullptr, std::string(),
        sMemberState{false, 0, 0}, false};
    std::string sFile;
    std::vector<CZRString> vTexts{CZRString(szName)};
    for (CZRString const & sRoot : m_vRoots)
        vTexts.push_back(sRoot + '\\' + szName);
    for (CZRString const & sText : vTexts)
    {
        std::FILE * pFile = PLATFORM_OpenFile(sText.GetString(), "rb");
        if (pFile != nullptr)
        {
            std::fclose(pFile);
            sFile = sText.GetString();
            break;
        }
        char const * pSeparator = STR_strrchr(sText.GetString(), '\\');
        if (pSeparator == nullptr || sText.GetLength() >= static_cast<std::int32_t>(NAME_BUFFER))
            continue;
        std::string const sUnit(sText.GetString(), pSeparator);
        sArchiveInfo * pUnit = WalkToUnit(sUnit.c_str());
        if (pUnit == nullptr || FindArchiveEntry(pUnit, pSeparator + 1) == nullptr)
            continue;
        Watched.pUnit = pUnit;
        Watched.pTop = CFileWatch::TopOf(*this, pUnit);
        Watched.sMember = pSeparator + 1;
        sFile = pUnit->m_szPath;
        break;
    }
    std::string sDirectory;
    if (sFile.empty() || !SplitWatchedPath(sFile.c_str(), sDirectory, Watched.sEntry))
        return false;

    if (m_pWatch == nullptr)
    {
        void * hWatch = PLATFORM_OpenDirWatch();
        if (hWatch == nullptr)
            return false;
        m_pWatch = new CFileWatch(hWatch);
    }
    Watched.nDirectory = m_pWatch->AddDirectory(sDirectory.c_str());
    if (Watched.nDirectory < 0)
        return false;
    if (Watched.pUnit != nullptr)
        Watched.State = CFileWatch::ReadMember(Watched.pUnit, Watched.sMember.c_str());
    m_pWatch->m_vNames.push_back(Watched);
    return true;
}

void CExtendedFileSystem::Unwatch(char const * szName)
{
    if (m_pWatch == nullptr || szName == nullptr)
        return;
    for (std::size_t nIndex = 0; nIndex < m_pWatch->m_vNames.size(); ++nIndex)
    {
        if (std::strcmp(m_pWatch->m_vNames[nIndex].sName.GetString(), szName) == 0)
        {
            m_pWatch->RemoveName(nIndex);
            return;
        }
    }
}

std::int32_t CExtendedFileSystem::PollChanges(std::vector<CZRString> & vChanged)
{
    vChanged.clear();
    if (m_pWatch == nullptr || m_pWatch->m_vNames.empty())
        return 0;
    int nId = 0;
    char const * szEntry = nullptr;
    while (PLATFORM_NextDirChange(m_pWatch->m_hWatch, nId, szEntry))
        m_pWatch->Touch(nId, szEntry);

    for (sArchiveInfo * pTop : m_pWatch->m_vTouchedArchives)
    {
        ReloadArchive(pTop);
        for (sWatchedName & Name : m_pWatch->m_vNames)
        {
            if (Name.pTop != pTop)
                continue;
            sMemberState const State = CFileWatch::ReadMember(Name.pUnit, Name.sMember.c_str());
            if (State != Name.State)
                Name.bChanged = m_pWatch->m_bAnyChanged = true;
            Name.State = State;
        }
    }
    m_pWatch->m_vTouchedArchives.clear();
    if (!m_pWatch->m_bAnyChanged)
        return 0;
    m_pWatch->m_bAnyChanged = false;
    for (sWatchedName & Name : m_pWatch->m_vNames)
    {
        if (Name.bChanged)
            vChanged.push_back(Name.sName);
        Name.bChanged = false;
    }
    return static_cast<std::int32_t>(vChanged.size());
}

void CExtendedFileSystem::ReloadArchive(sArchiveInfo * pTop)
{
    ReloadUnit(pTop, 0);
}

void CExtendedFileSystem::ReloadUnit(sArchiveInfo * pUnit, std::uint64_t ullBase)
{
    sArchiveInfo Fresh;
    std::memset(&Fresh, 0, sizeof(Fresh));
    bool bRead = false;
    std::uint64_t ullSize = 0;
    std::FILE * pStream = ullBase <= 0xFFFFFFFFu ? PLATFORM_OpenFileToRead(pUnit->m_szPath, ullBase,
                                                                           nullptr, 0, &ullSize)
                                                 : nullptr;
    if (pStream != nullptr)
    {
        // A unit that can't be read now (the archive is being written, say) is left
        // without entries: nothing opens from it until it is sound again.
        try
        {
            ReadArchiveUnit(&Fresh, pStream);
            std::fclose(pStream);
            bRead = true;
        }
        catch (CXfsException const &)
        {
        }
    }
    if (pUnit->m_pEntries != nullptr)
        MEM_Free(pUnit->m_pEntries);
    pUnit->m_pEntries = Fresh.m_pEntries;
    if (bRead)
    {
        pUnit->m_ulBaseOffset = Fresh.m_ulBaseOffset;
        pUnit->m_sHeader = Fresh.m_sHeader;
    }
    else
    {
        pUnit->m_sHeader.m_ulEntryCount = 0;
    }
    for (sArchiveInfo * pChild = pUnit->m_pFirstChild; pChild != nullptr;
         pChild = pChild->m_pNextSibling)
    {
        sArchiveEntry const * pEntry = bRead ? FindArchiveEntry(pUnit, pChild->m_szName) : nullptr;
        std::uint64_t const ullChild =
            (pEntry != nullptr && pEntry->m_bDirectory != 0)
                ? pUnit->m_ulBaseOffset + std::uint64_t{pEntry->m_ulOffset}
                : ~std::uint64_t{0};
        ReloadUnit(pChild, ullChild);
    }
}

void CExtendedFileSystem::EndWatches(CFileWatch *& pWatch)
{
    delete pWatch;
    pWatch = nullptr;
}
