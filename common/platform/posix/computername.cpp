#include "common/platform/computername.h"

#include <climits>
#include <cstring>
#include <unistd.h>

void PLATFORM_GetComputerName(char * szBuffer, int nSize)
{
    szBuffer[0] = '\0';
    char szName[HOST_NAME_MAX + 1];
    if (::gethostname(szName, sizeof(szName)) != 0)
        return;
    // gethostname need not terminate a name that fills the buffer.
    szName[sizeof(szName) - 1] = '\0';
    std::size_t const nLength = std::strlen(szName);
    std::size_t const nCopy = nLength < static_cast<std::size_t>(nSize - 1)
                                  ? nLength
                                  : static_cast<std::size_t>(nSize - 1);
    std::memcpy(szBuffer, szName, nCopy);
    szBuffer[nCopy] = '\0';
}
