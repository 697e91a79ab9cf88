#include "common/platform/dirsearch.h"

#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{
struct sDirSearch
{
    DIR * pDir;
    std::string sMask;
    char const * szName; // the current name, inside the DIR's own entry
    bool bDirectory;
    bool bHit; // the current name is a hit, not one left out
    bool bSizeKnown;
    std::uint64_t ullSize; // of the current hit, when bSizeKnown
};

// Whether a name is a hit, and as what: directories and regular files only, and a
// symbolic link only when it leads to a regular file. Where that takes a look at the
// file itself (a link, or a file system without types in its directories), the size
// comes with it, and asking for it costs no second look.
bool ClassifyEntry(sDirSearch & Search, dirent const * pEntry)
{
    int const nDirectory = ::dirfd(Search.pDir);
    unsigned char ucType = pEntry->d_type;
    struct stat Status;
    bool bLooked = false; // Status tells of what the name leads to
    if (ucType == DT_UNKNOWN)
    {
        if (::fstatat(nDirectory, pEntry->d_name, &Status, AT_SYMLINK_NOFOLLOW) != 0)
            return false;
        ucType = S_ISDIR(Status.st_mode)   ? DT_DIR
                 : S_ISREG(Status.st_mode) ? DT_REG
                 : S_ISLNK(Status.st_mode) ? DT_LNK
                                           : DT_UNKNOWN;
        bLooked = true;
    }
    if (ucType == DT_LNK)
    {
        if (::fstatat(nDirectory, pEntry->d_name, &Status, 0) != 0 || !S_ISREG(Status.st_mode))
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
    return new sDirSearch{pDir, szMask, nullptr, false, false, false, 0};
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
    while (dirent const * const pEntry = ::readdir(pSearch->pDir))
    {
        if (!PLATFORM_MatchesMask(pEntry->d_name, pSearch->sMask.c_str()))
            continue;
        pSearch->bDirectory = false;
        pSearch->bSizeKnown = false;
        pSearch->bHit = ClassifyEntry(*pSearch, pEntry);
        pSearch->szName = pEntry->d_name;
        szName = pSearch->szName;
        bDirectory = pSearch->bDirectory;
        bHit = pSearch->bHit;
        return true;
    }
    pSearch->szName = nullptr;
    return false;
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
