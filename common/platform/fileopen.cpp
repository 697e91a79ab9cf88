#include "common/platform/fileopen.h"

#include <cerrno>
#include <sys/stat.h>

#include "common/platform/diskpath.h"

std::FILE * PLATFORM_OpenFile(char const * szPath, char const * szMode)
{
    std::string const sPath = PLATFORM_DiskPath(szPath);
    std::FILE * pFile = std::fopen(sPath.c_str(), szMode);
    if (pFile == nullptr || szMode[0] != 'r')
        return pFile;
    // Looked at on the open stream, not by name, so that nothing can swap the file.
    struct stat Status;
    if (::fstat(::fileno(pFile), &Status) != 0 || !S_ISREG(Status.st_mode))
    {
        std::fclose(pFile);
        errno = EISDIR;
        return nullptr;
    }
    return pFile;
}
