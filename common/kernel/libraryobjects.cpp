// Order matters: the objects are constructed top to bottom at load and destroyed in
// reverse at unload.
#include "common/kernel/libraryobjects.h"

CExtendedFileSystem g_FileSystem;
CZRMutex g_FormatMutex;
