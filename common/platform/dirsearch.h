// The directory search: the names in one directory that match a mask, with the Windows
// mask rules. '*' is any run of characters, '?' exactly one, case does not count, and
// "*.*" matches every name. "." and ".." are hits. Only directories and regular files
// are reported; a symbolic link counts as its target, except that a link to a directory
// is not reported at all, so that no walk can loop. The order is that of NTFS: ".", "..",
// then the names compared byte by byte with the ASCII letters in upper case, names equal
// but for case upper case first. Windows' own search gives it on NTFS (and under wine);
// elsewhere the directory is read whole and sorted so when the search opens.
#pragma once

#include <cstdint>

// Opens a search; the directory's backslashes count as slashes, and an empty directory
// is the current one. Null when the directory cannot be read: a search without hits.
void * PLATFORM_OpenDirSearch(char const * szDirectory, char const * szMask);
// Opens a search on a directory and a mask in one text, as FindFirstFile takes it: the
// text is split at its last slash or backslash; without one, the current directory is
// searched, and a leading one alone means the root.
void * PLATFORM_OpenPathSearch(char const * szSearchPath);
// Moves to the next hit; false when there is none. The name stays valid until the next
// call on the same search.
bool PLATFORM_NextDirSearchHit(void * hSearch, char const *& szName, bool & bDirectory);
// Moves to the next name that matches the mask, a hit or not: bHit is false for a name
// the search leaves out (a link to a directory, a dangling link, a FIFO, a socket, a
// device), so that a walk learns of them without reading the directory again. The
// hits come as PLATFORM_NextDirSearchHit gives them; false at the end.
bool PLATFORM_NextDirSearchEntry(void * hSearch, char const *& szName, bool & bDirectory,
                                 bool & bHit);
// The size in bytes of the current hit, 0 for a directory, a name left out, or when it
// cannot be read.
std::uint64_t PLATFORM_GetDirSearchHitSize(void * hSearch);
// Ends a search; null is allowed.
void PLATFORM_CloseDirSearch(void * hSearch);
// True when szName matches szMask under the rules above.
bool PLATFORM_MatchesMask(char const * szName, char const * szMask);
