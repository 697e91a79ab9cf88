// What a test needs of the operating system beyond the library, for the few tests that
// exercise a system's own features. One source per system, in posix/ and win32/.
#pragma once

#include <cstdint>
#include <string>

// Makes a named pipe at szPath; false where the file system has none (Windows).
bool TEST_MakePipe(char const * szPath);
// Whether std::filesystem::permissions can lock this process out of a directory: true
// on POSIX (after TEST_DropRootRights), false on Windows, where it sets only the
// read-only attribute.
bool TEST_PermissionsLockOut();
// A process running as root becomes "nobody", so that permissions bind it; false when
// that fails.
bool TEST_DropRootRights();
// The machine's name as the system gives it to programs.
std::string TEST_ComputerName();
// The user id of the process as a mailslot server learns it; 0 where there is none.
std::uint32_t TEST_UserId();
// Whether a mailslot server learns who sent a message (not on Windows).
bool TEST_MailSlotTellsSender();
// The id of this process.
std::uint32_t TEST_ProcessId();
