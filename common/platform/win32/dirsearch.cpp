// Two searches of the system stand behind one interface: _findfirst for a directory
// and a mask, FindFirstFileA for the text that FindFirstFile takes. Both are asked for
// every name ("*") and the mask is applied here, so that the rules are the same as on
// every other system (FindFirstFile also matches a mask against the short 8.3 names).
#include "common/platform/dirsearch.h"

#include <cstring>
#include <string>

#include <io.h>
#include <windows.h>

namespace
{
struct sDirSearch
{
    bool bRunTime;             // _findfirst, else FindFirstFileA
    intptr_t nRunTimeSearch;   // of _findfirst
    __finddata64_t RunTimeHit; // of _findfirst
    HANDLE hFind;              // of FindFirstFileA
    WIN32_FIND_DATAA FindHit;  // of FindFirstFileA
    bool bPending;             // the hit that opened the search is still to be reported
    std::string sDirectory;    // with a final separator, or empty for the current one
    std::string sMask;
    char const * szName; // the current hit
    std::uint64_t ullSize;
    bool bDirectory;
};

bool IsSeparator(char cChar)
{
    return cChar == '\\' || cChar == '/';
}

// A directory that is a link (a reparse point) is not reported, so that no walk can
// loop; devices and other odd entries are not reported either.
bool Classify(DWORD dwAttributes, bool & bDirectory)
{
    if ((dwAttributes & FILE_ATTRIBUTE_DEVICE) != 0)
        return false;
    bDirectory = (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return !(bDirectory && (dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0);
}

// The run-time search does not tell links apart; the name is asked once more.
DWORD RunTimeAttributes(sDirSearch const & Search)
{
    DWORD dwAttributes = (Search.RunTimeHit.attrib & _A_SUBDIR) != 0 ? FILE_ATTRIBUTE_DIRECTORY : 0;
    if (dwAttributes != 0 && std::strcmp(Search.RunTimeHit.name, ".") != 0 &&
        std::strcmp(Search.RunTimeHit.name, "..") != 0)
    {
        std::string const sPath = Search.sDirectory + Search.RunTimeHit.name;
        DWORD const dwOwn = ::GetFileAttributesA(sPath.c_str());
        if (dwOwn != INVALID_FILE_ATTRIBUTES)
            dwAttributes = dwOwn;
    }
    return dwAttributes;
}

bool Advance(sDirSearch & Search)
{
    if (Search.bPending)
    {
        Search.bPending = false;
        return true;
    }
    if (Search.bRunTime)
        return ::_findnext64(Search.nRunTimeSearch, &Search.RunTimeHit) == 0;
    return ::FindNextFileA(Search.hFind, &Search.FindHit) != FALSE;
}

sDirSearch * NewSearch(std::string const & sDirectory, char const * szMask)
{
    sDirSearch * const pSearch = new sDirSearch{};
    pSearch->nRunTimeSearch = -1;
    pSearch->hFind = INVALID_HANDLE_VALUE;
    pSearch->bPending = true;
    pSearch->sDirectory = sDirectory;
    if (!pSearch->sDirectory.empty() && !IsSeparator(pSearch->sDirectory.back()))
        pSearch->sDirectory += '\\';
    pSearch->sMask = szMask;
    return pSearch;
}
} // namespace

void * PLATFORM_OpenDirSearch(char const * szDirectory, char const * szMask)
{
    sDirSearch * const pSearch = NewSearch(szDirectory, szMask);
    pSearch->bRunTime = true;
    std::string const sPattern = pSearch->sDirectory + "*";
    pSearch->nRunTimeSearch = ::_findfirst64(sPattern.c_str(), &pSearch->RunTimeHit);
    if (pSearch->nRunTimeSearch == -1)
    {
        delete pSearch;
        return nullptr;
    }
    return pSearch;
}

void * PLATFORM_OpenPathSearch(char const * szSearchPath)
{
    char const * szMask = szSearchPath;
    for (char const * szChar = szSearchPath; *szChar != '\0'; ++szChar)
        if (IsSeparator(*szChar))
            szMask = szChar + 1;
    sDirSearch * const pSearch = NewSearch(
        std::string(szSearchPath, static_cast<std::size_t>(szMask - szSearchPath)), szMask);
    pSearch->bRunTime = false;
    std::string const sPattern = pSearch->sDirectory + "*";
    pSearch->hFind = ::FindFirstFileA(sPattern.c_str(), &pSearch->FindHit);
    if (pSearch->hFind == INVALID_HANDLE_VALUE)
    {
        delete pSearch;
        return nullptr;
    }
    return pSearch;
}

bool PLATFORM_NextDirSearchEntry(void * hSearch, char const *& szName, bool & bDirectory,
                                 bool & bHit)
{
    sDirSearch * const pSearch = static_cast<sDirSearch *>(hSearch);
    if (pSearch == nullptr)
        return false;
    while (Advance(*pSearch))
    {
        char const * const szEntry =
            pSearch->bRunTime ? pSearch->RunTimeHit.name : pSearch->FindHit.cFileName;
        if (!PLATFORM_MatchesMask(szEntry, pSearch->sMask.c_str()))
            continue;
        DWORD const dwAttributes =
            pSearch->bRunTime ? RunTimeAttributes(*pSearch) : pSearch->FindHit.dwFileAttributes;
        pSearch->bDirectory = false;
        bHit = Classify(dwAttributes, pSearch->bDirectory);
        pSearch->bDirectory = pSearch->bDirectory && bHit;
        if (pSearch->bDirectory || !bHit)
            pSearch->ullSize = 0;
        else if (pSearch->bRunTime)
            pSearch->ullSize = static_cast<std::uint64_t>(pSearch->RunTimeHit.size);
        else
            pSearch->ullSize = (static_cast<std::uint64_t>(pSearch->FindHit.nFileSizeHigh) << 32) |
                               pSearch->FindHit.nFileSizeLow;
        pSearch->szName = szEntry;
        szName = szEntry;
        bDirectory = pSearch->bDirectory;
        return true;
    }
    pSearch->szName = nullptr;
    return false;
}

std::uint64_t PLATFORM_GetDirSearchHitSize(void * hSearch)
{
    sDirSearch const * const pSearch = static_cast<sDirSearch *>(hSearch);
    if (pSearch == nullptr || pSearch->szName == nullptr)
        return 0;
    return pSearch->ullSize;
}

void PLATFORM_CloseDirSearch(void * hSearch)
{
    sDirSearch * const pSearch = static_cast<sDirSearch *>(hSearch);
    if (pSearch == nullptr)
        return;
    if (pSearch->bRunTime)
        ::_findclose(pSearch->nRunTimeSearch);
    else
        ::FindClose(pSearch->hFind);
    delete pSearch;
}
