#include "testos.h"

#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

bool TEST_MakePipe(char const * szPath)
{
    return ::mkfifo(szPath, 0600) == 0;
}

bool TEST_PermissionsLockOut()
{
    return true;
}

bool TEST_DropRootRights()
{
    return ::geteuid() != 0 || (::setgid(65534) == 0 && ::setuid(65534) == 0);
}

std::string TEST_ComputerName()
{
    char szName[256] = {};
    ::gethostname(szName, sizeof(szName) - 1);
    return szName;
}

std::uint32_t TEST_UserId()
{
    return static_cast<std::uint32_t>(::getuid());
}

bool TEST_MailSlotTellsSender()
{
    return true;
}

std::uint32_t TEST_ProcessId()
{
    return static_cast<std::uint32_t>(::getpid());
}

std::string TEST_ToolPath(std::string const & sRelative)
{
    char const * szTools = std::getenv("COMMON_TEST_TOOLS_DIR");
    return std::string(szTools != nullptr ? szTools : ".") + "/" + sRelative;
}

namespace
{
std::vector<char *> ArgvOf(std::vector<std::string> const & vCommand)
{
    std::vector<char *> vArgv;
    for (std::string const & sArgument : vCommand)
        vArgv.push_back(const_cast<char *>(sArgument.c_str()));
    vArgv.push_back(nullptr);
    return vArgv;
}

int ExitCodeOf(pid_t nChild)
{
    int nStatus = 0;
    if (nChild <= 0 || ::waitpid(nChild, &nStatus, 0) != nChild)
        return -1;
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

// In the child: the descriptor of the file sPath in place of nTarget.
bool Redirect(char const * szPath, int nFlags, int nTarget)
{
    int const nFile = ::open(szPath, nFlags, 0644);
    return nFile >= 0 && ::dup2(nFile, nTarget) >= 0 && ::close(nFile) == 0;
}
} // namespace

int TEST_RunProgram(std::vector<std::string> const & vCommand, std::string const & sWhere,
                    std::string const & sOut, std::string const & sErr, bool bUnprivileged)
{
    std::vector<char *> vArgv = ArgvOf(vCommand);
    pid_t const nChild = ::fork();
    if (nChild == 0)
    {
        int const nWrite = O_WRONLY | O_CREAT | O_TRUNC;
        bool const bReady = Redirect("/dev/null", O_RDONLY, STDIN_FILENO) &&
                            Redirect(sOut.c_str(), nWrite, STDOUT_FILENO) &&
                            Redirect(sErr.c_str(), nWrite, STDERR_FILENO) &&
                            ::chdir(sWhere.c_str()) == 0;
        bool const bRights = !bUnprivileged || ::geteuid() != 0 ||
                             (::setgroups(0, nullptr) == 0 && TEST_DropRootRights());
        if (bReady && bRights)
            ::execv(vArgv[0], vArgv.data());
        ::_exit(127);
    }
    return ExitCodeOf(nChild);
}

bool TEST_RunOnTerminal(std::vector<std::string> const & vCommand, std::string const & sWhere,
                        std::string & sShown, int & nExit)
{
    std::vector<char *> vArgv = ArgvOf(vCommand);
    int nTerminal = -1;
    pid_t const nChild = ::forkpty(&nTerminal, nullptr, nullptr, nullptr);
    if (nChild == 0)
    {
        if (Redirect("/dev/null", O_WRONLY, STDOUT_FILENO) && ::chdir(sWhere.c_str()) == 0)
            ::execv(vArgv[0], vArgv.data());
        ::_exit(127);
    }
    if (nChild < 0)
        return false;
    sShown.clear();
    char aBuffer[4096];
    for (ssize_t nRead; (nRead = ::read(nTerminal, aBuffer, sizeof(aBuffer))) > 0;)
        sShown.append(aBuffer, static_cast<std::size_t>(nRead));
    ::close(nTerminal);
    nExit = ExitCodeOf(nChild);
    return true;
}

bool TEST_MakeLink(std::string const & sTarget, std::string const & sLink, bool)
{
    return ::symlink(sTarget.c_str(), sLink.c_str()) == 0;
}

CTestProcess::~CTestProcess()
{
    if (m_bRunning)
    {
        ::kill(static_cast<pid_t>(m_Process), SIGKILL);
        Wait();
    }
    CloseAll();
}

bool CTestProcess::Start(std::vector<std::string> const & vCommand)
{
    int anIn[2];
    int anOut[2];
    int anErr[2];
    // The test's ends must not leak into later children, or a pipe never ends.
    if (::pipe2(anIn, O_CLOEXEC) != 0 || ::pipe2(anOut, O_CLOEXEC) != 0 ||
        ::pipe2(anErr, O_CLOEXEC) != 0)
        return false;
    std::vector<char *> vArgv = ArgvOf(vCommand);
    pid_t const nChild = ::fork();
    if (nChild == 0)
    {
        ::dup2(anIn[0], STDIN_FILENO);
        ::dup2(anOut[1], STDOUT_FILENO);
        ::dup2(anErr[1], STDERR_FILENO);
        for (int const nFd : {anIn[0], anIn[1], anOut[0], anOut[1], anErr[0], anErr[1]})
            ::close(nFd);
        ::execv(vArgv[0], vArgv.data());
        ::_exit(127);
    }
    for (int const nFd : {anIn[0], anOut[1], anErr[1]})
        ::close(nFd);
    ::fcntl(anOut[0], F_SETPIPE_SZ, 1 << 20);
    // A write to a program that ended fails instead of ending the test.
    ::signal(SIGPIPE, SIG_IGN);
    m_aPipes[0] = static_cast<std::uintptr_t>(anIn[1]);
    m_aPipes[1] = static_cast<std::uintptr_t>(anOut[0]);
    m_aPipes[2] = static_cast<std::uintptr_t>(anErr[0]);
    m_Process = static_cast<std::uintptr_t>(nChild);
    m_ulId = static_cast<std::uint32_t>(nChild);
    m_bRunning = nChild > 0;
    return m_bRunning;
}

std::uint32_t CTestProcess::Id() const
{
    return m_ulId;
}

bool CTestProcess::Write(std::string const & sText)
{
    return m_aPipes[0] != 0 && ::write(static_cast<int>(m_aPipes[0]), sText.data(), sText.size()) ==
                                   static_cast<ssize_t>(sText.size());
}

void CTestProcess::CloseInput()
{
    if (m_aPipes[0] != 0)
        ::close(static_cast<int>(m_aPipes[0]));
    m_aPipes[0] = 0;
}

long CTestProcess::ReadSome(int nStream, char * pBuffer, std::size_t nSize, int nMilliseconds)
{
    pollfd Poll{static_cast<int>(m_aPipes[nStream]), POLLIN, 0};
    if (::poll(&Poll, 1, nMilliseconds) != 1)
        return -1;
    return static_cast<long>(::read(Poll.fd, pBuffer, nSize));
}

bool CTestProcess::Pause()
{
    int nStatus = 0;
    return ::kill(static_cast<pid_t>(m_Process), SIGSTOP) == 0 &&
           ::waitpid(static_cast<pid_t>(m_Process), &nStatus, WUNTRACED) ==
               static_cast<pid_t>(m_Process);
}

bool CTestProcess::Resume()
{
    return ::kill(static_cast<pid_t>(m_Process), SIGCONT) == 0;
}

int CTestProcess::Interrupt()
{
    ::kill(static_cast<pid_t>(m_Process), SIGINT);
    return Wait();
}

int CTestProcess::Wait()
{
    if (!m_bRunning)
        return -1;
    m_bRunning = false;
    return ExitCodeOf(static_cast<pid_t>(m_Process));
}

void CTestProcess::CloseAll()
{
    for (std::uintptr_t & Pipe : m_aPipes)
    {
        if (Pipe != 0)
            ::close(static_cast<int>(Pipe));
        Pipe = 0;
    }
}

void * TEST_LibrarySymbol(char const * szName)
{
    return ::dlsym(RTLD_DEFAULT, szName);
}

int TEST_RunUnprivileged(std::function<int()> const & fnRun)
{
    pid_t const nChild = ::fork();
    if (nChild == 0)
    {
        if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 || !TEST_DropRootRights()))
            ::_exit(99);
        ::_exit(fnRun());
    }
    return ExitCodeOf(nChild);
}

bool TEST_MountSmallDisk(std::string const & sWhere)
{
    return ::mount("tmpfs", sWhere.c_str(), "tmpfs", 0, "size=64k") == 0;
}

void TEST_UnmountSmallDisk(std::string const & sWhere)
{
    ::umount2(sWhere.c_str(), MNT_DETACH);
}

char const * TEST_FullDevice()
{
    return "/dev/full";
}

std::size_t TEST_LongestPath()
{
    return PATH_MAX - 1;
}

bool TEST_CanInterrupt()
{
    return true;
}

std::size_t TEST_OpenHandles()
{
    std::size_t nCount = 0;
    for (auto const & Entry : std::filesystem::directory_iterator("/proc/self/fd"))
        nCount += Entry.is_symlink() ? 1 : 0;
    return nCount;
}

bool TEST_NamesHoldBackslashes()
{
    return true;
}

bool TEST_UnderWine()
{
    return false;
}

bool TEST_MailSlotQueueIsBounded()
{
    return true;
}
