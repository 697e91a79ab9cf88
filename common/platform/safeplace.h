// Writing below a directory without leaving it: entering a directory that is not a
// symbolic link (or, on Windows, any reparse point), creating a file only under a name
// nobody uses, and otherwise putting a file in place under its final name only once it
// is complete. Paths are those of the original platform
// (backslashes become slashes); all names are relative to the current directory.
#pragma once

#include <cstddef>

// Changes into szPath only when it is a real directory, not a link to one; 0 on
// success, -1 on failure.
int PLATFORM_EnterOwnDirectory(char const * szPath);
// Creates szPath for writing only when nothing has that name, a link or a directory
// included, so that nothing that was there is opened or lost. The descriptor, or -1 when
// it can't be created; bTaken tells whether the name was in use.
int PLATFORM_CreateNewFile(char const * szPath, bool & bTaken);
// Creates a new, empty file of a name nobody has, beside szBeside, for writing; its
// name goes into szName (nSize bytes). The descriptor, or -1 when it can't be created.
int PLATFORM_CreateUniqueFile(char const * szBeside, char * szName, std::size_t nSize);
// Gives szFrom the name szTo, replacing a file (or a link itself, never what it points
// to) of that name; false when it can't, a directory of that name among the reasons.
bool PLATFORM_ReplaceFile(char const * szFrom, char const * szTo);
// Removes a file; false when it can't.
bool PLATFORM_RemoveFile(char const * szPath);
