// Files through plain descriptors, for copying whole files in and out of archives: no
// stream buffer stands in between, so a file's bytes move in one system call each way.
// Paths are those of the original platform (backslashes become slashes). Opening for
// reading takes regular files only, as PLATFORM_OpenFile does. A descriptor is its
// owner's; any thread.
#pragma once

#include <cstddef>
#include <cstdint>

// Opens a regular file for reading and reports its size; -1 when it can't be opened.
int PLATFORM_OpenFileForReading(char const * szPath, std::uint64_t & ullSize);
// Creates or empties a file for writing, as fopen with "wb" does; -1 when it can't.
int PLATFORM_CreateFileForWriting(char const * szPath);
// Reads nSize bytes from ullOffset; false when fewer can be had.
bool PLATFORM_ReadFileAt(int nFile, void * pBuffer, std::size_t nSize, std::uint64_t ullOffset);
// Writes nSize bytes at the file's position; false when not all of them are written.
bool PLATFORM_WriteFileData(int nFile, void const * pBuffer, std::size_t nSize);
// Closes the descriptor; false when the system reports that written data was lost.
bool PLATFORM_CloseFileDescriptor(int nFile);

// How a copy between files ended.
enum eFileCopy
{
    FILECOPY_DONE,
    FILECOPY_SHORT_READ,   // the source ended or failed before all the bytes were read
    FILECOPY_WRITE_FAILED, // the target took fewer bytes than were read
};
// Copies nSize bytes from ullOffset of nFrom to the position of nTo, which moves past
// them. The system copies between the files itself where it can, so that the bytes
// never pass through the process; else they go through a buffer of at most a megabyte.
// ullCopied is what reached nTo.
eFileCopy PLATFORM_CopyFileData(int nFrom, std::uint64_t ullOffset, std::uint64_t ullSize, int nTo,
                                std::uint64_t & ullCopied);
