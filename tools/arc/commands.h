// The commands of arc. Each takes the arguments as the user wrote them, turns them into
// the forms the library's operations take, and returns the exit code: 0 success, 1
// failure. Failures of the library arrive as CZRException and are reported by main.
#pragma once

#include <string>

int CommandCreate(std::string const & sArchive, std::string const & sDirectory, bool bQuiet);
int CommandExtract(std::string const & sArchive, std::string const & sTarget, bool bQuiet);
// Names are escaped as ls -b does unless bRaw.
int CommandList(std::string const & sArchive, bool bLong, bool bRaw);
int CommandCat(std::string const & sArchive, std::string const & sMember);
int CommandVerify(std::string const & sArchive);
