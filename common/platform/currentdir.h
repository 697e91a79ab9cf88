// The current directory of the process, with the semantics of _getcwd, _chdir and
// _mkdir. Paths handed in may use backslashes; they become slashes first.
#pragma once

// Writes the current directory into szBuffer of nSize bytes and returns szBuffer; null
// when it doesn't fit or can't be had.
char * PLATFORM_GetCurrentDirectory(char * szBuffer, int nSize);
// 0 on success, -1 on failure.
int PLATFORM_ChangeDirectory(char const * szPath);
// Creates one directory; 0 on success, -1 on failure (also when it exists).
int PLATFORM_MakeDirectory(char const * szPath);
