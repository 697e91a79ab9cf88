#include "common/platform/splitpath.h"

void PLATFORM_SplitPath(char const * szPath, char * szDrive, char * szDirectory, char * szFileName,
                        char * szExtension)
{
    PLATFORM_SplitAnyPath(szPath, szDrive, szDirectory, szFileName, szExtension);
}
