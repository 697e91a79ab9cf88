// What mailslots do alike on every system: the form of their names.
#include "common/platform/mailslot.h"

#include <cstring>

namespace
{
char LowerAscii(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool HasPrefixCaseBlind(char const * szText, char const * szPrefix)
{
    for (; *szPrefix != '\0'; ++szText, ++szPrefix)
    {
        if (LowerAscii(*szText) != LowerAscii(*szPrefix))
            return false;
    }
    return true;
}
} // namespace

bool PLATFORM_ParseMailSlotName(char const * szName, char & cHost, char const *& szBase)
{
    if (szName == nullptr || szName[0] != '\\' || szName[1] != '\\')
        return false;
    cHost = szName[2];
    if ((cHost != '.' && cHost != '*') || szName[3] != '\\')
        return false;
    char const * szSlot = szName + 4;
    if (!HasPrefixCaseBlind(szSlot, "mailslot\\"))
        return false;
    szBase = szSlot + std::strlen("mailslot\\");
    std::size_t const nBase = std::strlen(szBase);
    return nBase > 0 && nBase <= PLATFORM_MAILSLOT_MAX_NAME;
}
