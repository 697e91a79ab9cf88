// _splitpath: a path cut into drive ("c:"), directory (up to and including the last
// slash or backslash), file name and extension (from the last dot of the file part,
// dot included). Parts that are absent come out empty; a null target skips that part.
// Each part is cut to fit its buffer, whose sizes are the constants below.
#pragma once

constexpr int PLATFORM_MAX_DRIVE = 3;
constexpr int PLATFORM_MAX_DIR = 256;
constexpr int PLATFORM_MAX_FNAME = 256;
constexpr int PLATFORM_MAX_EXT = 256;

void PLATFORM_SplitPath(char const * szPath, char * szDrive, char * szDirectory, char * szFileName,
                        char * szExtension);
// The same cut done by hand, for a path of any length; on Windows the run-time function
// takes only paths that fit its buffers.
void PLATFORM_SplitAnyPath(char const * szPath, char * szDrive, char * szDirectory,
                           char * szFileName, char * szExtension);
