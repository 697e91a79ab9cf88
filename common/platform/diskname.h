// How names in a directory on disk compare: on Windows two names that differ only in
// the case of their letters name one entry, here they name two.
#pragma once

// True when the disk folds the case of ASCII letters in names.
bool PLATFORM_DiskNamesFoldCase();
