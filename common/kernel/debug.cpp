#include "common/kernel/debug.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "common/kernel/text.h"
#include "common/platform/debugchannel.h"

namespace
{
// Debug text is formatted into a buffer of this size on the caller's stack, so that
// threads do not share one; a longer text is formatted again into a heap block of its
// own size, so that nothing is cut and nothing is written behind a buffer.
constexpr int DEBUG_BUFFER_SIZE = 1024;

void SendFormatted(char const * szFormat, va_list pArgs)
{
    char szBuffer[DEBUG_BUFFER_SIZE];
    va_list pCopy;
    va_copy(pCopy, pArgs);
    int const nLength = std::vsnprintf(szBuffer, sizeof(szBuffer), szFormat, pCopy);
    va_end(pCopy);
    if (nLength < 0)
        return;
    if (nLength < DEBUG_BUFFER_SIZE)
    {
        PLATFORM_WriteDebugText(szBuffer);
        return;
    }
    char * szLarge = static_cast<char *>(std::malloc(static_cast<size_t>(nLength) + 1));
    if (szLarge == nullptr)
    {
        PLATFORM_WriteDebugText(szBuffer);
        return;
    }
    std::vsnprintf(szLarge, static_cast<size_t>(nLength) + 1, szFormat, pArgs);
    PLATFORM_WriteDebugText(szLarge);
    std::free(szLarge);
}
} // namespace

void Debug_Assert(char const * szExpression, char const * szFile, int nLine)
{
    Debug_Printf("*** TOLLENSTRAND ASSERTION ***\nexpression: %s\nfile: %s\nline: %d\n",
                 szExpression, szFile, nLine);
    std::abort();
}

void Debug_Printf(char const * szFormat, ...)
{
    va_list pArgs;
    va_start(pArgs, szFormat);
    SendFormatted(szFormat, pArgs);
    va_end(pArgs);
}

void Debug_Warning(char const * szFormat, ...)
{
    va_list pArgs;
    va_start(pArgs, szFormat);
    SendFormatted(szFormat, pArgs);
    va_end(pArgs);
}
