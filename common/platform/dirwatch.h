// Watching directories for changes of their entries, so that files can be reloaded as
// they are saved, without a thread and without waiting: the system collects the
// changes (inotify here, ReadDirectoryChangesW on Windows) and they are taken when
// asked for. A change names the id of its directory and the entry that was written,
// created, deleted, or renamed to or from that name; where the system tells when a
// writer closes a file (here), a write counts then. An empty name stands for every
// entry of the directory: it went away, or changes were lost. A set of watches is
// used by one thread at a time.
#pragma once

// A new, empty set of watches; null when the system offers none.
void * PLATFORM_OpenDirWatch();
// Ends every watch of the set and frees it; null is allowed.
void PLATFORM_CloseDirWatch(void * hWatch);
// Starts watching the directory szDirectory (backslashes count as slashes): its id, 0
// or more, or -1 when it can't be watched. A directory watched already may give the
// id it has.
int PLATFORM_AddWatchedDirectory(void * hWatch, char const * szDirectory);
// Ends the watch of one directory; later changes of it are no longer reported.
void PLATFORM_RemoveWatchedDirectory(void * hWatch, int nId);
// Takes the next change that has arrived, without waiting; false when none has. An id
// of -1, with an empty name, means that changes were lost in every directory. The name
// stays valid until the next call.
bool PLATFORM_NextDirChange(void * hWatch, int & nId, char const *& szName);
