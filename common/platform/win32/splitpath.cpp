#include "common/platform/splitpath.h"

#include <cstdlib>
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

// The cut of _splitpath for a path whose parts may not fit their buffers, which the
// run-time function would overrun.
void SplitLongPath(char const * szPath, char * szDrive, char * szDirectory, char * szFileName,
                   char * szExtension)
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
} // namespace

void PLATFORM_SplitPath(char const * szPath, char * szDrive, char * szDirectory, char * szFileName,
                        char * szExtension)
{
    // A path shorter than the smallest of the path buffers fits each of them.
    if (std::strlen(szPath) < static_cast<std::size_t>(PLATFORM_MAX_DIR))
    {
        char szRunDrive[_MAX_DRIVE];
        char szRunDirectory[_MAX_DIR];
        char szRunFileName[_MAX_FNAME];
        char szRunExtension[_MAX_EXT];
        ::_splitpath(szPath, szRunDrive, szRunDirectory, szRunFileName, szRunExtension);
        CopyPart(szDrive, PLATFORM_MAX_DRIVE, szRunDrive, szRunDrive + std::strlen(szRunDrive));
        CopyPart(szDirectory, PLATFORM_MAX_DIR, szRunDirectory,
                 szRunDirectory + std::strlen(szRunDirectory));
        CopyPart(szFileName, PLATFORM_MAX_FNAME, szRunFileName,
                 szRunFileName + std::strlen(szRunFileName));
        CopyPart(szExtension, PLATFORM_MAX_EXT, szRunExtension,
                 szRunExtension + std::strlen(szRunExtension));
        return;
    }
    SplitLongPath(szPath, szDrive, szDirectory, szFileName, szExtension);
}
