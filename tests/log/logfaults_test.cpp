// The file sink on a disk that is full for real: a small tmpfs that a child process
// mounts in a mount namespace of its own where it may (root, as in CI), /dev/full
// otherwise. The caller never sees the failure; the debugger channel says it.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/log/zrlog.h"
#include "tempdir.h"

namespace
{
char const s_szDiskFull[] = "Error while writing to log file. Hard disk full?\n";

// Child exit codes.
constexpr int LOGGED = 0, NO_NAMESPACE = 77, NOT_FULL = 78;

// Logs three records to "editor.log" in szDir with its stderr going to nErr; the exit
// code tells whether every call returned.
[[noreturn]] void LogThree(char const * szDir, int nErr)
{
    ::dup2(nErr, STDERR_FILENO);
    if (::chdir(szDir) != 0)
        ::_exit(2);
    for (int i = 0; i < 3; ++i)
    {
        if (!_ZR_Log_Fn("a.src", "editor", "", 1, 0, LOG_FILE, 5, "%s", "line of a full disk"))
            ::_exit(1);
    }
    ::_exit(LOGGED);
}

// Fills the file system of szDir until it refuses another byte.
bool Fill(std::string const & sDir)
{
    int const nFile = ::open((sDir + "/filler").c_str(), O_WRONLY | O_CREAT, 0600);
    if (nFile < 0)
        return false;
    char achBlock[4096] = {};
    while (::write(nFile, achBlock, sizeof(achBlock)) > 0)
        continue;
    while (::write(nFile, achBlock, 1) > 0)
        continue;
    bool const bFull = errno == ENOSPC;
    ::close(nFile);
    return bFull;
}

// Runs fnChild in a child process with its stderr on a pipe; its exit code and stderr.
template <typename fnWork>
int InChild(fnWork Work, std::string & sErr)
{
    int anErr[2];
    if (::pipe(anErr) != 0)
        return -1;
    pid_t const nPid = ::fork();
    if (nPid == 0)
    {
        ::close(anErr[0]);
        Work(anErr[1]);
    }
    ::close(anErr[1]);
    char achChunk[512];
    ssize_t nRead;
    while ((nRead = ::read(anErr[0], achChunk, sizeof(achChunk))) > 0)
        sErr.append(achChunk, static_cast<std::size_t>(nRead));
    ::close(anErr[0]);
    int nStatus = 0;
    ::waitpid(nPid, &nStatus, 0);
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

std::string Repeat(std::string const & sText, int nTimes)
{
    std::string sAll;
    for (int i = 0; i < nTimes; ++i)
        sAll += sText;
    return sAll;
}
} // namespace

TEST(LogFileSinkFaults, AFullTmpfsIsReportedForEveryRecordAndNeverReachesTheCaller)
{
    CTempDir Dir;
    std::string const sDisk = (Dir.Path() / "disk").string();
    std::filesystem::create_directory(sDisk);
    std::string sErr;
    int const nCode = InChild(
        [&](int nErr)
        {
            if (::unshare(CLONE_NEWNS) != 0 ||
                // A change of propagation ignores the type; a text, not null, keeps
                // valgrind from taking the call for a read of address 0.
                ::mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
                ::mount("tmpfs", sDisk.c_str(), "tmpfs", 0, "size=64k") != 0)
                ::_exit(NO_NAMESPACE);
            if (!Fill(sDisk))
                ::_exit(NOT_FULL);
            LogThree(sDisk.c_str(), nErr);
        },
        sErr);
    if (nCode == NO_NAMESPACE)
        GTEST_SKIP() << "no mount namespace for a tmpfs here (not root); /dev/full is tried "
                        "by the next test";
    EXPECT_EQ(nCode, LOGGED);
    EXPECT_EQ(sErr, Repeat(s_szDiskFull, 3));
}

TEST(LogFileSinkFaults, ALogFileOnDevFullIsReportedForEveryRecord)
{
    CTempDir Dir;
    std::error_code Error;
    std::filesystem::create_symlink("/dev/full", Dir.Path() / "editor.log", Error);
    if (Error || ::access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no writable /dev/full";
    std::string sErr;
    std::string const sDir = Dir.Path().string();
    EXPECT_EQ(InChild([&](int nErr) { LogThree(sDir.c_str(), nErr); }, sErr), LOGGED);
    EXPECT_EQ(sErr, Repeat(s_szDiskFull, 3));
}
