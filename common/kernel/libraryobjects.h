// The library-wide objects that live from load to unload. They are defined together
// in libraryobjects.cpp, so that they come up in the order of declaration there and
// go down in reverse. None is exported; each is reached only by the module using it.
#pragma once

#include "common/file/extendedfilesystem.h"
#include "common/processcontrol/zrmutex.h"

// The file system behind every CFileIO; set up on demand by the first stream operation.
extern CExtendedFileSystem g_FileSystem;
// Guards the format buffer of CZRString::FormatV.
extern CZRMutex g_FormatMutex;
