// Paths of the original platform on this disk: backslashes, which that platform takes
// as well as slashes, become slashes before any path reaches the OS.
#pragma once

#include <cstddef>
#include <string>

// The path with every backslash turned into a slash; null gives an empty path.
std::string PLATFORM_DiskPath(char const * szPath);
// The same into szBuffer of nSize bytes, without an allocation; false when it doesn't fit.
bool PLATFORM_DiskPathInto(char const * szPath, char * szBuffer, std::size_t nSize);
