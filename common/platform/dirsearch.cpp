// What the directory search does alike on every system: the mask rules, and hits as
// the entries that are not left out.
#include "common/platform/dirsearch.h"

#include <cstring>

namespace
{
char FoldCase(char cChar)
{
    return (cChar >= 'A' && cChar <= 'Z') ? static_cast<char>(cChar - 'A' + 'a') : cChar;
}
} // namespace

bool PLATFORM_MatchesMask(char const * szName, char const * szMask)
{
    if (std::strcmp(szMask, "*.*") == 0)
        return true;
    // Greedy matching that returns to the last '*' on a mismatch: linear in practice,
    // at worst name length times mask length, never recursive.
    char const * szStarMask = nullptr;
    char const * szStarName = nullptr;
    while (*szName != '\0')
    {
        if (*szMask == '*')
        {
            szStarMask = ++szMask;
            szStarName = szName;
        }
        else if (*szMask != '\0' && (*szMask == '?' || FoldCase(*szMask) == FoldCase(*szName)))
        {
            ++szMask;
            ++szName;
        }
        else if (szStarMask != nullptr)
        {
            szMask = szStarMask;
            szName = ++szStarName;
        }
        else
        {
            return false;
        }
    }
    while (*szMask == '*')
        ++szMask;
    return *szMask == '\0';
}

bool PLATFORM_NextDirSearchHit(void * hSearch, char const *& szName, bool & bDirectory)
{
    bool bHit = false;
    while (PLATFORM_NextDirSearchEntry(hSearch, szName, bDirectory, bHit))
        if (bHit)
            return true;
    return false;
}
