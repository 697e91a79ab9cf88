// What a test needs of the operating system beyond the library, for the few tests that
// exercise a system's own features. One source per system, in posix/ and win32/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

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
// Whether a mailslot's queue can fill up (not on Windows, which keeps no bound).
bool TEST_MailSlotQueueIsBounded();
// The id of this process.
std::uint32_t TEST_ProcessId();

// A program the build made below COMMON_TEST_TOOLS_DIR ("arc/arc"), with the system's
// suffix for programs.
std::string TEST_ToolPath(std::string const & sRelative);
// Runs vCommand (the program first) in the directory sWhere, with an empty stdin and
// its stdout and stderr written to the files sOut and sErr; when bUnprivileged, without
// root's rights (as "nobody" when this process is root). Its exit code, or -1 when it
// couldn't be started or didn't end by itself.
int TEST_RunProgram(std::vector<std::string> const & vCommand, std::string const & sWhere,
                    std::string const & sOut, std::string const & sErr, bool bUnprivileged = false);
// Runs vCommand in sWhere with stderr on a terminal of its own and stdout going
// nowhere: what the terminal showed and the exit code. False where this process can't
// make a terminal for it (Windows).
bool TEST_RunOnTerminal(std::vector<std::string> const & vCommand, std::string const & sWhere,
                        std::string & sShown, int & nExit);
// Makes sLink a symbolic link to sTarget (a directory when bDirectory); false when the
// system or the user may not make one.
bool TEST_MakeLink(std::string const & sTarget, std::string const & sLink, bool bDirectory);

// A program running beside the test, its stdin, stdout and stderr on pipes of the
// test's; killed at the end unless it ended before.
class CTestProcess
{
public:
    CTestProcess() = default;
    ~CTestProcess();
    CTestProcess(CTestProcess const &) = delete;
    CTestProcess & operator=(CTestProcess const &) = delete;

    // Starts vCommand (the program first); false when it can't be started. The pipe of
    // its stdout holds a megabyte, so that the program seldom waits for the test.
    bool Start(std::vector<std::string> const & vCommand);
    std::uint32_t Id() const;
    // Writes to its stdin; false when it can't be written.
    bool Write(std::string const & sText);
    void CloseInput();
    // The next whole line of its stdout (1) or stderr (2) without the line end; false
    // when the stream ended or nothing came within nMilliseconds.
    bool ReadLine(int nStream, std::string & sLine, int nMilliseconds);
    // Stops it running and lets it run on, as a debugger would.
    bool Pause();
    bool Resume();
    // Asks it to end as Ctrl-C does, then waits for it: its exit code, -1 when it did
    // not end by itself. See TEST_CanInterrupt.
    int Interrupt();
    // Waits for it to end: its exit code, -1 when it did not end by itself.
    int Wait();

private:
    // Up to nSize bytes of stdout (1) or stderr (2); 0 at the end of the stream, -1
    // when nothing came within nMilliseconds.
    long ReadSome(int nStream, char * pBuffer, std::size_t nSize, int nMilliseconds);
    void CloseAll();

    // The process and its pipes as the system names them (ids, descriptors, handles).
    std::uintptr_t m_Process = 0;
    std::uintptr_t m_Thread = 0;
    std::uintptr_t m_aPipes[3] = {};
    bool m_bRunning = false;
    std::uint32_t m_ulId = 0;
    std::string m_asBuffer[3];
};

inline bool CTestProcess::ReadLine(int nStream, std::string & sLine, int nMilliseconds)
{
    std::string & sBuffer = m_asBuffer[nStream];
    while (sBuffer.find('\n') == std::string::npos)
    {
        char achChunk[4096];
        long const lRead = ReadSome(nStream, achChunk, sizeof(achChunk), nMilliseconds);
        if (lRead <= 0)
            return false;
        sBuffer.append(achChunk, static_cast<std::size_t>(lRead));
    }
    std::size_t const nEnd = sBuffer.find('\n');
    // Windows programs end their lines with "\r\n" in text mode.
    sLine = sBuffer.substr(0, nEnd > 0 && sBuffer[nEnd - 1] == '\r' ? nEnd - 1 : nEnd);
    sBuffer.erase(0, nEnd + 1);
    return true;
}

// The address of a symbol the library exports, by its (mangled) name; null when the
// library has none of that name.
void * TEST_LibrarySymbol(char const * szName);
// Runs fnRun in a child process without root's rights (as "nobody" when this process is
// root) and gives its exit code, -1 when it ended otherwise. Windows users have no root
// to drop: there fnRun runs in this process.
int TEST_RunUnprivileged(std::function<int()> const & fnRun);
// Mounts a file system of 64 KiB on the directory sWhere, which must exist; false where
// this process may not (it needs root on Linux, and Windows has no such mount).
bool TEST_MountSmallDisk(std::string const & sWhere);
void TEST_UnmountSmallDisk(std::string const & sWhere);
// Whether CTestProcess::Interrupt can reach a program: on Windows, Ctrl-C travels
// through the console this process is attached to, and wine run without one has none.
bool TEST_CanInterrupt();
// How many descriptors (handles on Windows) this process has open.
std::size_t TEST_OpenHandles();
// The longest path, in bytes, that the system's file calls take as the library makes
// them (259 on Windows, where the ANSI calls stop at MAX_PATH).
std::size_t TEST_LongestPath();
// A file whose writes always fail with a full disk ("/dev/full"); null where there is none.
char const * TEST_FullDevice();
// Whether a file name may hold a backslash (POSIX); on Windows it separates directories.
bool TEST_NamesHoldBackslashes();
// Whether the program runs under wine rather than on the system it was built for.
bool TEST_UnderWine();
