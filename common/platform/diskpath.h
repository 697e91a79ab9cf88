// Paths of the original platform on this disk: backslashes, which that platform takes
// as well as slashes, become slashes before any path reaches the OS.
#pragma once

#include <string>

// The path with every backslash turned into a slash; null gives an empty path.
std::string PLATFORM_DiskPath(char const * szPath);
