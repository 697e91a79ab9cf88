#include "common/platform/debugchannel.h"

#include <cstring>

#include <io.h>
#include <windows.h>

void PLATFORM_WriteDebugText(char const * szText)
{
    ::OutputDebugStringA(szText);
    // The same bytes to the standard error handle, past the C library's text mode, so
    // that no line end is rewritten; the handle is looked up each time, as a host may
    // redirect descriptor 2.
    HANDLE const hError = reinterpret_cast<HANDLE>(::_get_osfhandle(2));
    if (hError == INVALID_HANDLE_VALUE || hError == nullptr)
        return;
    std::size_t nLeft = std::strlen(szText);
    while (nLeft > 0)
    {
        DWORD const dwChunk = nLeft > 0x10000000 ? 0x10000000 : static_cast<DWORD>(nLeft);
        DWORD dwWritten = 0;
        if (!::WriteFile(hError, szText, dwChunk, &dwWritten, nullptr) || dwWritten == 0)
            return;
        szText += dwWritten;
        nLeft -= dwWritten;
    }
}
