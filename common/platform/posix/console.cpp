#include "common/platform/console.h"

#include <unistd.h>

bool PLATFORM_StderrIsTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

// POSIX streams have no text mode.
void PLATFORM_MakeStdoutBinary() {}
