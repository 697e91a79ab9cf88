// Order matters: the objects are constructed top to bottom at load and destroyed in
// reverse at unload.
#include "common/kernel/libraryobjects.h"

CZRMutex g_FormatMutex;
