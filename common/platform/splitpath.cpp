// The cut of a path done by hand, the same on every system.
#include "common/platform/splitpath.h"

#include <cstring>

namespace
{
void CopyPart(char * szTarget, int nSize, char const * pBegin, char const * pEnd)
{
    if (szTarget == nullptr)
        return;
    std::size_t nLength = static_cast<std::size_t>(pEnd - pBegin);
    if (nLength > static_cast<std::size_t>(nSize - 1))
        nLength = static_cast<std::size_t>(nSize - 1);
    std::memcpy(szTarget, pBegin, nLength);
    szTarget[nLength] = '\0';
}
} // namespace

void PLATFORM_SplitAnyPath(char const * szPath, char * szDrive, char * szDirectory,
                           char * szFileName, char * szExtension)
{
    char const * pCursor = szPath;
    char const * const pEnd = szPath + std::strlen(szPath);

    char const * pDriveEnd = pCursor;
    if (pEnd - pCursor >= 2 && pCursor[1] == ':')
        pDriveEnd = pCursor + 2;
    CopyPart(szDrive, PLATFORM_MAX_DRIVE, pCursor, pDriveEnd);
    pCursor = pDriveEnd;

    char const * pFilePart = pCursor;
    for (char const * p = pCursor; p < pEnd; ++p)
    {
        if (*p == '/' || *p == '\\')
            pFilePart = p + 1;
    }
    CopyPart(szDirectory, PLATFORM_MAX_DIR, pCursor, pFilePart);

    char const * pDot = pEnd;
    for (char const * p = pFilePart; p < pEnd; ++p)
    {
        if (*p == '.')
            pDot = p;
    }
    CopyPart(szFileName, PLATFORM_MAX_FNAME, pFilePart, pDot);
    CopyPart(szExtension, PLATFORM_MAX_EXT, pDot, pEnd);
}
