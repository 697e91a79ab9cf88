#include "common/platform/debugchannel.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

void PLATFORM_WriteDebugText(char const * szText)
{
    size_t nLeft = std::strlen(szText);
    while (nLeft > 0)
    {
        ssize_t const nWritten = ::write(STDERR_FILENO, szText, nLeft);
        if (nWritten < 0)
        {
            if (errno == EINTR)
                continue;
            return;
        }
        szText += nWritten;
        nLeft -= static_cast<size_t>(nWritten);
    }
}
