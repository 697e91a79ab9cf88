#include "testos.h"

#include <cstdlib>

#include <windows.h>

#include <tlhelp32.h>

#include "common/kernel/text.h"

bool TEST_MakePipe(char const *)
{
    return false;
}

bool TEST_PermissionsLockOut()
{
    return false;
}

bool TEST_DropRootRights()
{
    return true;
}

std::string TEST_ComputerName()
{
    char szName[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD dwSize = sizeof(szName);
    ::GetComputerNameA(szName, &dwSize);
    return szName;
}

std::uint32_t TEST_UserId()
{
    return 0;
}

bool TEST_MailSlotTellsSender()
{
    return false;
}

std::uint32_t TEST_ProcessId()
{
    return static_cast<std::uint32_t>(::GetCurrentProcessId());
}

std::string TEST_ToolPath(std::string const & sRelative)
{
    char const * szTools = std::getenv("COMMON_TEST_TOOLS_DIR");
    return std::string(szTools != nullptr ? szTools : ".") + "/" + sRelative + ".exe";
}

namespace
{
// One argument as the C run-time splits a command line: quoted when it has to be,
// backslashes doubled where a quote follows them.
std::string QuoteArgument(std::string const & sArgument)
{
    if (!sArgument.empty() && sArgument.find_first_of(" \t\n\v\"") == std::string::npos)
        return sArgument;
    std::string sQuoted = "\"";
    std::size_t nBackslashes = 0;
    for (char const cChar : sArgument)
    {
        if (cChar == '\\')
        {
            ++nBackslashes;
            continue;
        }
        sQuoted.append(cChar == '"' ? 2 * nBackslashes + 1 : nBackslashes, '\\');
        sQuoted += cChar;
        nBackslashes = 0;
    }
    sQuoted.append(2 * nBackslashes, '\\');
    return sQuoted + "\"";
}

HANDLE OpenInheritable(std::string const & sPath, DWORD dwAccess, DWORD dwCreation)
{
    SECURITY_ATTRIBUTES Inherit{sizeof(Inherit), nullptr, TRUE};
    return ::CreateFileA(sPath.c_str(), dwAccess, FILE_SHARE_READ | FILE_SHARE_WRITE, &Inherit,
                         dwCreation, FILE_ATTRIBUTE_NORMAL, nullptr);
}
} // namespace

int TEST_RunProgram(std::vector<std::string> const & vCommand, std::string const & sWhere,
                    std::string const & sOut, std::string const & sErr, bool)
{
    std::string sLine;
    for (std::string const & sArgument : vCommand)
        sLine += (sLine.empty() ? "" : " ") + QuoteArgument(sArgument);
    HANDLE const hIn = OpenInheritable("NUL", GENERIC_READ, OPEN_EXISTING);
    HANDLE const hOut = OpenInheritable(sOut, GENERIC_WRITE, CREATE_ALWAYS);
    HANDLE const hErr = OpenInheritable(sErr, GENERIC_WRITE, CREATE_ALWAYS);
    STARTUPINFOA Startup{};
    Startup.cb = sizeof(Startup);
    Startup.dwFlags = STARTF_USESTDHANDLES;
    Startup.hStdInput = hIn;
    Startup.hStdOutput = hOut;
    Startup.hStdError = hErr;
    PROCESS_INFORMATION Process{};
    bool const bStarted = hIn != INVALID_HANDLE_VALUE && hOut != INVALID_HANDLE_VALUE &&
                          hErr != INVALID_HANDLE_VALUE &&
                          ::CreateProcessA(vCommand[0].c_str(), &sLine[0], nullptr, nullptr, TRUE,
                                           0, nullptr, sWhere.c_str(), &Startup, &Process) != 0;
    for (HANDLE const hFile : {hIn, hOut, hErr})
    {
        if (hFile != INVALID_HANDLE_VALUE)
            ::CloseHandle(hFile);
    }
    if (!bStarted)
        return -1;
    DWORD dwExit = 0;
    ::WaitForSingleObject(Process.hProcess, INFINITE);
    ::GetExitCodeProcess(Process.hProcess, &dwExit);
    ::CloseHandle(Process.hThread);
    ::CloseHandle(Process.hProcess);
    return static_cast<int>(dwExit);
}

bool TEST_RunOnTerminal(std::vector<std::string> const &, std::string const &, std::string &, int &)
{
    return false;
}

bool TEST_MakeLink(std::string const & sTarget, std::string const & sLink, bool bDirectory)
{
    DWORD const dwFlags = (bDirectory ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0) |
                          SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE;
    if (!::CreateSymbolicLinkA(sLink.c_str(), sTarget.c_str(), dwFlags))
        return false;
    // Wine says yes and makes nothing: the link must be there afterwards.
    DWORD const dwAttributes = ::GetFileAttributesA(sLink.c_str());
    return dwAttributes != INVALID_FILE_ATTRIBUTES &&
           (dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

namespace
{
HANDLE AsHandle(std::uintptr_t Value)
{
    return reinterpret_cast<HANDLE>(Value);
}

std::uintptr_t FromHandle(HANDLE hHandle)
{
    return reinterpret_cast<std::uintptr_t>(hHandle);
}

// Stops or resumes every thread of a process.
bool ForEachThread(DWORD dwProcess, bool bSuspend)
{
    HANDLE const hSnapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (hSnapshot == INVALID_HANDLE_VALUE)
        return false;
    THREADENTRY32 Entry{};
    Entry.dwSize = sizeof(Entry);
    bool bAny = false;
    for (BOOL bMore = ::Thread32First(hSnapshot, &Entry); bMore;
         bMore = ::Thread32Next(hSnapshot, &Entry))
    {
        if (Entry.th32OwnerProcessID != dwProcess)
            continue;
        HANDLE const hThread = ::OpenThread(THREAD_SUSPEND_RESUME, FALSE, Entry.th32ThreadID);
        if (hThread == nullptr)
            continue;
        bAny |= (bSuspend ? ::SuspendThread(hThread) : ::ResumeThread(hThread)) != DWORD(-1);
        ::CloseHandle(hThread);
    }
    ::CloseHandle(hSnapshot);
    return bAny;
}

// The test itself lives through the Ctrl-C it sends to its children.
BOOL WINAPI IgnoreCtrlC(DWORD dwEvent)
{
    return dwEvent == CTRL_C_EVENT ? TRUE : FALSE;
}
} // namespace

CTestProcess::~CTestProcess()
{
    if (m_bRunning)
    {
        ::TerminateProcess(AsHandle(m_Process), 1);
        Wait();
    }
    CloseAll();
}

bool CTestProcess::Start(std::vector<std::string> const & vCommand)
{
    SECURITY_ATTRIBUTES Inherit{sizeof(Inherit), nullptr, TRUE};
    HANDLE ahRead[3] = {};
    HANDLE ahWrite[3] = {};
    for (int nPipe = 0; nPipe < 3; ++nPipe)
    {
        if (!::CreatePipe(&ahRead[nPipe], &ahWrite[nPipe], &Inherit, nPipe == 1 ? 1 << 20 : 0))
            return false;
    }
    // The test's ends stay here.
    ::SetHandleInformation(ahWrite[0], HANDLE_FLAG_INHERIT, 0);
    ::SetHandleInformation(ahRead[1], HANDLE_FLAG_INHERIT, 0);
    ::SetHandleInformation(ahRead[2], HANDLE_FLAG_INHERIT, 0);
    std::string sLine;
    for (std::string const & sArgument : vCommand)
        sLine += (sLine.empty() ? "" : " ") + QuoteArgument(sArgument);
    STARTUPINFOA Startup{};
    Startup.cb = sizeof(Startup);
    Startup.dwFlags = STARTF_USESTDHANDLES;
    Startup.hStdInput = ahRead[0];
    Startup.hStdOutput = ahWrite[1];
    Startup.hStdError = ahWrite[2];
    PROCESS_INFORMATION Process{};
    bool const bStarted = ::CreateProcessA(vCommand[0].c_str(), &sLine[0], nullptr, nullptr, TRUE,
                                           0, nullptr, nullptr, &Startup, &Process) != 0;
    ::CloseHandle(ahRead[0]);
    ::CloseHandle(ahWrite[1]);
    ::CloseHandle(ahWrite[2]);
    m_aPipes[0] = FromHandle(ahWrite[0]);
    m_aPipes[1] = FromHandle(ahRead[1]);
    m_aPipes[2] = FromHandle(ahRead[2]);
    if (!bStarted)
        return false;
    m_Process = FromHandle(Process.hProcess);
    m_Thread = FromHandle(Process.hThread);
    m_ulId = Process.dwProcessId;
    m_bRunning = true;
    return true;
}

std::uint32_t CTestProcess::Id() const
{
    return m_ulId;
}

bool CTestProcess::Write(std::string const & sText)
{
    DWORD dwWritten = 0;
    return m_aPipes[0] != 0 &&
           ::WriteFile(AsHandle(m_aPipes[0]), sText.data(), static_cast<DWORD>(sText.size()),
                       &dwWritten, nullptr) &&
           dwWritten == sText.size();
}

void CTestProcess::CloseInput()
{
    if (m_aPipes[0] != 0)
        ::CloseHandle(AsHandle(m_aPipes[0]));
    m_aPipes[0] = 0;
}

// An anonymous pipe can't be waited on: what it holds is looked at until the time is up.
long CTestProcess::ReadSome(int nStream, char * pBuffer, std::size_t nSize, int nMilliseconds)
{
    HANDLE const hPipe = AsHandle(m_aPipes[nStream]);
    DWORD const dwStart = ::GetTickCount();
    for (;;)
    {
        DWORD dwWaiting = 0;
        if (!::PeekNamedPipe(hPipe, nullptr, 0, nullptr, &dwWaiting, nullptr))
            return 0;
        if (dwWaiting > 0)
        {
            DWORD dwRead = 0;
            DWORD const dwWanted = dwWaiting < nSize ? dwWaiting : static_cast<DWORD>(nSize);
            return ::ReadFile(hPipe, pBuffer, dwWanted, &dwRead, nullptr) ? long(dwRead) : 0;
        }
        if (::GetTickCount() - dwStart >= static_cast<DWORD>(nMilliseconds))
            return -1;
        ::Sleep(5);
    }
}

bool CTestProcess::Pause()
{
    return ForEachThread(m_ulId, true);
}

bool CTestProcess::Resume()
{
    return ForEachThread(m_ulId, false);
}

int CTestProcess::Interrupt()
{
    ::SetConsoleCtrlHandler(IgnoreCtrlC, TRUE);
    ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    if (::WaitForSingleObject(AsHandle(m_Process), 30000) != WAIT_OBJECT_0)
        ::TerminateProcess(AsHandle(m_Process), DWORD(-1));
    return Wait();
}

int CTestProcess::Wait()
{
    if (!m_bRunning)
        return -1;
    m_bRunning = false;
    DWORD dwExit = 0;
    ::WaitForSingleObject(AsHandle(m_Process), INFINITE);
    ::GetExitCodeProcess(AsHandle(m_Process), &dwExit);
    ::CloseHandle(AsHandle(m_Thread));
    ::CloseHandle(AsHandle(m_Process));
    return static_cast<int>(dwExit);
}

void CTestProcess::CloseAll()
{
    for (std::uintptr_t & Pipe : m_aPipes)
    {
        if (Pipe != 0)
            ::CloseHandle(AsHandle(Pipe));
        Pipe = 0;
    }
}

void * TEST_LibrarySymbol(char const * szName)
{
    HMODULE hLibrary = nullptr;
    if (!::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                  GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<LPCSTR>(&STR_stricmp), &hLibrary))
        return nullptr;
    return reinterpret_cast<void *>(::GetProcAddress(hLibrary, szName));
}

int TEST_RunUnprivileged(std::function<int()> const & fnRun)
{
    return fnRun();
}

bool TEST_MountSmallDisk(std::string const &)
{
    return false;
}

void TEST_UnmountSmallDisk(std::string const &) {}

char const * TEST_FullDevice()
{
    return nullptr;
}

std::size_t TEST_LongestPath()
{
    return MAX_PATH - 1;
}

bool TEST_CanInterrupt()
{
    DWORD adwProcesses[4];
    return ::GetConsoleProcessList(adwProcesses, 4) > 0;
}

std::size_t TEST_OpenHandles()
{
    DWORD dwCount = 0;
    if (::GetProcessHandleCount(::GetCurrentProcess(), &dwCount) && dwCount > 0)
        return dwCount;
    // Wine counts none: the handle values, multiples of 4, are tried one by one.
    std::size_t nCount = 0;
    for (std::uintptr_t Value = 4; Value < 65536; Value += 4)
    {
        DWORD dwFlags = 0;
        nCount += ::GetHandleInformation(reinterpret_cast<HANDLE>(Value), &dwFlags) ? 1 : 0;
    }
    return nCount;
}

bool TEST_NamesHoldBackslashes()
{
    return false;
}

bool TEST_UnderWine()
{
    HMODULE const hNtDll = ::GetModuleHandleA("ntdll.dll");
    return hNtDll != nullptr && ::GetProcAddress(hNtDll, "wine_get_version") != nullptr;
}

bool TEST_MailSlotQueueIsBounded()
{
    return false;
}
