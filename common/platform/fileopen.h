// fopen for paths of the original platform: backslashes become slashes, and a mode
// that reads opens regular files only, so that a directory fails to open as it does
// there. The stream is an ordinary C stream, closed with fclose.
#pragma once

#include <cstdio>

std::FILE * PLATFORM_OpenFile(char const * szPath, char const * szMode);
