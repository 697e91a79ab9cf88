// The directory is read whole when the search opens and its names sorted into NTFS's
// order (see the header), so that archives, scans and listings come out the same on
// every system and in every run, whatever order the file system keeps. Bytes above 127
// are compared as they are, without case.
#include "common/platform/dirsearch.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{
struct sEntry
{
    std::size_t nName; // offset of the name in sNames
    unsigned char ucType;
};

struct sDirSearch
{
    DIR * pDir;         // kept open for its descriptor: names are looked at relative to it
    std::string sNames; // the names that match the mask, each ending in a null
    std::vector<sEntry> vEntries;
    std::size_t nNext;
    char const * szName; // the current name, inside sNames
    bool bDirectory;
    bool bHit; // the current name is a hit, not one left out
    bool bSizeKnown;
    std::uint64_t ullSize; // of the current hit, when bSizeKnown
};

unsigned char UpperCase(unsigned char ucChar)
{
    return (ucChar >= 'a' && ucChar <= 'z') ? static_cast<unsigned char>(ucChar - 'a' + 'A')
                                            : ucChar;
}

// "." first, ".." second, whatever bytes other names begin with.
int DotRank(char const * szName)
{
    if (std::strcmp(szName, ".") == 0)
        return 0;
    return std::strcmp(szName, "..") == 0 ? 1 : 2;
}

bool ComesBefore(char const * szLeft, char const * szRight)
{
    int const nLeftRank = DotRank(szLeft);
    int const nRightRank = DotRank(szRight);
    if (nLeftRank != nRightRank)
        return nLeftRank < nRightRank;
    int nCaseOrder = 0; // of the first byte that differs only in case
    for (;; ++szLeft, ++szRight)
    {
        unsigned char const ucLeft = static_cast<unsigned char>(*szLeft);
        unsigned char const ucRight = static_cast<unsigned char>(*szRight);
        if (UpperCase(ucLeft) != UpperCase(ucRight))
            return UpperCase(ucLeft) < UpperCase(ucRight);
        if (ucLeft == '\0')
            return nCaseOrder < 0;
        if (nCaseOrder == 0 && ucLeft != ucRight)
            nCaseOrder = ucLeft < ucRight ? -1 : 1;
    }
}

// Whether a name is a hit, and as what: directories and regular files only, and a
// symbolic link only when it leads to a regular file. Where that takes a look at the
// file itself (a link, or a file system without types in its directories), the size
// comes with it, and asking for it costs no second look.
bool ClassifyEntry(sDirSearch & Search, char const * szName, unsigned char ucType)
{
    int const nDirectory = ::dirfd(Search.pDir);
    struct stat Status;
    bool bLooked = false; // Status tells of what the name leads to
    if (ucType == DT_UNKNOWN)
    {
        if (::fstatat(nDirectory, szName, &Status, AT_SYMLINK_NOFOLLOW) != 0)
            return false;
        ucType = S_ISDIR(Status.st_mode)   ? DT_DIR
                 : S_ISREG(Status.st_mode) ? DT_REG
                 : S_ISLNK(Status.st_mode) ? DT_LNK
                                           : DT_UNKNOWN;
        bLooked = true;
    }
    if (ucType == DT_LNK)
    {
        if (::fstatat(nDirectory, szName, &Status, 0) != 0 || !S_ISREG(Status.st_mode))
            return false;
        ucType = DT_REG;
        bLooked = true;
    }
    if (ucType != DT_DIR && ucType != DT_REG)
        return false;
    Search.bDirectory = ucType == DT_DIR;
    Search.bSizeKnown = bLooked && ucType == DT_REG;
    if (Search.bSizeKnown)
        Search.ullSize = static_cast<std::uint64_t>(Status.st_size);
    return true;
}

void ReadSorted(sDirSearch & Search, char const * szMask)
{
    while (dirent const * const pEntry = ::readdir(Search.pDir))
    {
        if (!PLATFORM_MatchesMask(pEntry->d_name, szMask))
            continue;
        Search.vEntries.push_back(sEntry{Search.sNames.size(), pEntry->d_type});
        Search.sNames.append(pEntry->d_name, std::strlen(pEntry->d_name) + 1);
    }
    char const * const szNames = Search.sNames.data();
    std::sort(Search.vEntries.begin(), Search.vEntries.end(),
              [szNames](sEntry const & Left, sEntry const & Right)
              { return ComesBefore(szNames + Left.nName, szNames + Right.nName); });
}
} // namespace

void * PLATFORM_OpenDirSearch(char const * szDirectory, char const * szMask)
{
    std::string sDirectory = szDirectory;
    for (char & cChar : sDirectory)
        if (cChar == '\\')
            cChar = '/';
    if (sDirectory.empty())
        sDirectory = ".";
    DIR * const pDir = ::opendir(sDirectory.c_str());
    if (pDir == nullptr)
        return nullptr;
    sDirSearch * const pSearch = new sDirSearch{pDir, {}, {}, 0, nullptr, false, false, false, 0};
    ReadSorted(*pSearch, szMask);
    return pSearch;
}

void * PLATFORM_OpenPathSearch(char const * szSearchPath)
{
    char const * szMask = szSearchPath;
    for (char const * szChar = szSearchPath; *szChar != '\0'; ++szChar)
        if (*szChar == '\\' || *szChar == '/')
            szMask = szChar + 1;
    if (szMask == szSearchPath)
        return PLATFORM_OpenDirSearch("", szMask);
    if (szMask == szSearchPath + 1)
        return PLATFORM_OpenDirSearch("/", szMask);
    std::string const sDirectory(szSearchPath, static_cast<size_t>(szMask - 1 - szSearchPath));
    return PLATFORM_OpenDirSearch(sDirectory.c_str(), szMask);
}

bool PLATFORM_NextDirSearchEntry(void * hSearch, char const *& szName, bool & bDirectory,
                                 bool & bHit)
{
    sDirSearch * const pSearch = static_cast<sDirSearch *>(hSearch);
    if (pSearch == nullptr)
        return false;
    if (pSearch->nNext == pSearch->vEntries.size())
    {
        pSearch->szName = nullptr;
        return false;
    }
    sEntry const & Entry = pSearch->vEntries[pSearch->nNext++];
    pSearch->szName = pSearch->sNames.data() + Entry.nName;
    pSearch->bDirectory = false;
    pSearch->bSizeKnown = false;
    pSearch->bHit = ClassifyEntry(*pSearch, pSearch->szName, Entry.ucType);
    szName = pSearch->szName;
    bDirectory = pSearch->bDirectory;
    bHit = pSearch->bHit;
    return true;
}

std::uint64_t PLATFORM_GetDirSearchHitSize(void * hSearch)
{
    sDirSearch const * const pSearch = static_cast<sDirSearch *>(hSearch);
    if (pSearch == nullptr || pSearch->szName == nullptr || pSearch->bDirectory || !pSearch->bHit)
        return 0;
    if (pSearch->bSizeKnown)
        return pSearch->ullSize;
    struct stat Status;
    if (::fstatat(::dirfd(pSearch->pDir), pSearch->szName, &Status, 0) != 0)
        return 0;
    return static_cast<std::uint64_t>(Status.st_size);
}

void PLATFORM_CloseDirSearch(void * hSearch)
{
    sDirSearch * const pSearch = static_cast<sDirSearch *>(hSearch);
    if (pSearch == nullptr)
        return;
    ::closedir(pSearch->pDir);
    delete pSearch;
}
