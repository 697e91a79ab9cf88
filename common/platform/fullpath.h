// Full paths and the identity of files on disk. A directory's full path is the one that
// _getcwd reports after a _chdir there (symbolic links resolved), so that both name the
// same archive alike. A file's identity (device and inode) tells whether two names, or a
// name and an open stream, are one file.
#pragma once

#include <cstdint>
#include <cstdio>

struct sFileIdentity
{
    std::uint64_t m_ullDevice;
    std::uint64_t m_ullInode;
};

// Writes the full path of szDirectory (backslashes count as slashes) into szBuffer of
// nSize bytes and returns szBuffer; null when it doesn't exist or doesn't fit.
char * PLATFORM_GetFullDirectoryPath(char const * szDirectory, char * szBuffer, int nSize);
// False when the stream's file can't be looked at.
bool PLATFORM_GetStreamIdentity(std::FILE * pStream, sFileIdentity & Identity);
// The identity of what szPath names, symbolic links followed; false when there is none.
bool PLATFORM_GetPathIdentity(char const * szPath, sFileIdentity & Identity);
