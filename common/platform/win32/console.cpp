#include "common/platform/console.h"

#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

// _isatty holds the NUL device for a terminal too; only a console has a console mode.
bool PLATFORM_StderrIsTerminal()
{
    DWORD dwMode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &dwMode) != 0;
}

void PLATFORM_MakeStdoutBinary()
{
    std::fflush(stdout);
    ::_setmode(::_fileno(stdout), _O_BINARY);
}
