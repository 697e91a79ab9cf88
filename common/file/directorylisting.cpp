// Listing a directory across the sources of the search. OpenFile tries a name on disk,
// then through archives, first bare, then under each root in turn; ListDirectory
// reads the same sources in the same order and keeps each name from the first source
// that has it. On disk that is the directory itself; through archives it is the unit
// that the whole directory path walks to, and at the top also every archive in the
// current directory that a bare first part reaches ("maps" for maps.arc). Names inside
// archives compare without regard to case, as the walk looks them up; names on disk
// compare as the disk does.
#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_set>

#include "common/file/extendedfilesystem.h"
#include "common/kernel/text.h"
#include "common/platform/dirsearch.h"
#include "common/platform/diskname.h"

namespace
{
constexpr std::size_t NAME_BUFFER = 1024;
char const s_szArchiveExtension[] = ".arc";

std::string FoldedName(char const * szName)
{
    std::string sFolded = szName;
    for (char & cChar : sFolded)
        if (cChar >= 'A' && cChar <= 'Z')
            cChar = static_cast<char>(cChar - 'A' + 'a');
    return sFolded;
}

struct sListedName
{
    CZRString sName;
    bool bDirectory;
};

// The names taken so far, and whether a new one is hidden by them.
class CNameMerge
{
public:
    explicit CNameMerge(char const * szMask) : m_szMask(szMask) {}

    // A name of an archive is hidden by any earlier name equal to it without case.
    void AddFromArchive(char const * szName, bool bDirectory)
    {
        if (!Matches(szName))
            return;
        std::string sFolded = FoldedName(szName);
        if (m_FoldedAll.count(sFolded) != 0)
            return;
        m_FoldedArchive.insert(sFolded);
        Take(szName, std::move(sFolded), bDirectory);
    }

    // A name on disk is hidden by an earlier name of an archive equal to it without
    // case, and by an earlier one on disk equal to it as the disk compares names.
    void AddFromDisk(char const * szName, bool bDirectory)
    {
        if (!Matches(szName))
            return;
        std::string sFolded = FoldedName(szName);
        if (m_FoldedArchive.count(sFolded) != 0)
            return;
        if (PLATFORM_DiskNamesFoldCase() ? m_FoldedAll.count(sFolded) != 0
                                         : m_Exact.count(szName) != 0)
            return;
        Take(szName, std::move(sFolded), bDirectory);
    }

    std::vector<sListedName> & Names() { return m_vNames; }

private:
    bool Matches(char const * szName) const
    {
        return m_szMask == nullptr || PLATFORM_MatchesMask(szName, m_szMask);
    }

    void Take(char const * szName, std::string sFolded, bool bDirectory)
    {
        m_Exact.insert(szName);
        m_FoldedAll.insert(std::move(sFolded));
        m_vNames.push_back(sListedName{CZRString(szName), bDirectory});
    }

    char const * m_szMask;
    std::unordered_set<std::string> m_Exact;
    std::unordered_set<std::string> m_FoldedAll;
    std::unordered_set<std::string> m_FoldedArchive;
    std::vector<sListedName> m_vNames;
};

// A name that a path can reach: paths split at backslashes, and "." and ".." name no
// entry of their own.
bool IsReachableMember(char const * szName)
{
    return szName[0] != '\0' && std::strcmp(szName, ".") != 0 && std::strcmp(szName, "..") != 0 &&
           STR_strchr(szName, '\\') == nullptr;
}

// The directory that a bare first part names when a file szName of the current
// directory is an archive the walk reaches: "maps" for "maps.arc". The walk adds the
// extension only to a part without a dot, so the stem has none. Empty when none.
std::string ArchiveStem(char const * szName)
{
    std::size_t const nLength = std::strlen(szName);
    std::size_t const nExtension = sizeof(s_szArchiveExtension) - 1;
    if (nLength <= nExtension)
        return std::string();
    std::string const sStem(szName, nLength - nExtension);
    std::string const sExtension(szName + nLength - nExtension);
    bool const bArchive = PLATFORM_DiskNamesFoldCase()
                              ? FoldedName(sExtension.c_str()) == s_szArchiveExtension
                              : sExtension == s_szArchiveExtension;
    if (!bArchive || sStem.find('.') != std::string::npos)
        return std::string();
    return sStem;
}

// The names of the directory szPath on disk; at the top of the bare search also the
// archives of the current directory, as the source that comes next.
void ListDisk(char const * szPath, bool bTopLevel, CNameMerge & Merge)
{
    std::vector<std::string> vArchives;
    void * hSearch = PLATFORM_OpenDirSearch(szPath, "*.*");
    char const * szName = nullptr;
    bool bDirectory = false;
    while (PLATFORM_NextDirSearchHit(hSearch, szName, bDirectory))
    {
        // A backslash in a name on disk would be a separator in every path to it.
        if (!IsReachableMember(szName))
            continue;
        Merge.AddFromDisk(szName, bDirectory);
        if (bTopLevel && !bDirectory)
        {
            std::string sStem = ArchiveStem(szName);
            if (!sStem.empty())
                vArchives.push_back(std::move(sStem));
        }
    }
    PLATFORM_CloseDirSearch(hSearch);
    for (std::string const & sStem : vArchives)
        Merge.AddFromArchive(sStem.c_str(), true);
}

bool ListOrder(sListedName const & Left, sListedName const & Right)
{
    int const nOrder = STR_stricmp(Left.sName.GetString(), Right.sName.GetString());
    if (nOrder != 0)
        return nOrder < 0;
    return std::strcmp(Left.sName.GetString(), Right.sName.GetString()) < 0;
}
} // namespace

CExtendedFileSystem::sArchiveInfo * CExtendedFileSystem::WalkToUnit(char const * szPath)
{
    char szBuffer[NAME_BUFFER];
    std::size_t const nLength = std::strlen(szPath);
    if (nLength == 0 || nLength >= NAME_BUFFER)
        return nullptr;
    std::memcpy(szBuffer, szPath, nLength + 1);
    sArchiveInfo * pUnit = nullptr;
    char * szPart = szBuffer;
    while (true)
    {
        char * pSeparator = STR_strchr(szPart, '\\');
        if (pSeparator != nullptr)
            *pSeparator = '\0';
        if (*szPart == '\0')
            return nullptr;
        pUnit = RegisterArchive(pUnit, szPart);
        if (pUnit == nullptr || pSeparator == nullptr)
            return pUnit;
        szPart = pSeparator + 1;
    }
}

std::int32_t CExtendedFileSystem::ListDirectory(char const * szDirectory, char const * szMask,
                                                std::vector<CZRString> & vFiles,
                                                std::vector<CZRString> & vDirectories)
{
    CNameMerge Merge(szMask != nullptr && std::strcmp(szMask, "*.*") != 0 ? szMask : nullptr);
    if (szDirectory != nullptr)
    {
        // The bare search first, then each root: the texts that OpenFile hands to the
        // walk for a name N are the directory's text, a backslash and N.
        std::vector<std::string> vPaths{szDirectory};
        for (CZRString const & sRoot : m_vRoots)
            vPaths.push_back(std::string(sRoot.GetString()) + (szDirectory[0] != '\0' ? "\\" : "") +
                             szDirectory);
        for (std::size_t nSource = 0; nSource < vPaths.size(); ++nSource)
        {
            char const * szPath = vPaths[nSource].c_str();
            ListDisk(szPath, nSource == 0 && szDirectory[0] == '\0', Merge);
            sArchiveInfo const * pUnit = WalkToUnit(szPath);
            if (pUnit == nullptr || pUnit->m_pEntries == nullptr)
                continue;
            for (std::uint32_t ulEntry = 0; ulEntry < pUnit->m_sHeader.m_ulEntryCount; ++ulEntry)
            {
                sArchiveEntry const & Entry = pUnit->m_pEntries[ulEntry];
                if (IsReachableMember(Entry.m_szName))
                    Merge.AddFromArchive(Entry.m_szName, Entry.m_bDirectory != 0);
            }
        }
    }

    std::vector<sListedName> & vNames = Merge.Names();
    std::sort(vNames.begin(), vNames.end(), ListOrder);
    vFiles.clear();
    vDirectories.clear();
    for (sListedName const & Name : vNames)
        (Name.bDirectory ? vDirectories : vFiles).push_back(Name.sName);
    return static_cast<std::int32_t>(vNames.size());
}
