#include "common/platform/safeplace.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <string>
#include <sys/stat.h>
#include <windows.h>

namespace
{
std::string WindowsPath(char const * szPath)
{
    std::string sPath = szPath;
    for (char & c : sPath)
        c = c == '/' ? '\\' : c;
    return sPath;
}
} // namespace

int PLATFORM_EnterOwnDirectory(char const * szPath)
{
    std::string const sPath = WindowsPath(szPath);
    DWORD const dwAttributes = ::GetFileAttributesA(sPath.c_str());
    if (dwAttributes == INVALID_FILE_ATTRIBUTES || (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ||
        (dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return -1;
    return ::SetCurrentDirectoryA(sPath.c_str()) ? 0 : -1;
}

int PLATFORM_CreateNewFile(char const * szPath, bool & bTaken)
{
    // CREATE_NEW fails on any name in use; a reparse point is not followed, so that a
    // link counts as a name in use, whatever it points to.
    HANDLE const hFile =
        ::CreateFileA(WindowsPath(szPath).c_str(), GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
    {
        DWORD const dwError = ::GetLastError();
        bTaken = dwError == ERROR_FILE_EXISTS || dwError == ERROR_ALREADY_EXISTS;
        return -1;
    }
    bTaken = false;
    int const nFile = ::_open_osfhandle(reinterpret_cast<intptr_t>(hFile), _O_WRONLY | _O_BINARY);
    if (nFile < 0)
        ::CloseHandle(hFile);
    return nFile < 0 ? -1 : nFile;
}

int PLATFORM_CreateUniqueFile(char const * szBeside, char * szName, std::size_t nSize)
{
    std::string sBase = WindowsPath(szBeside);
    std::size_t const nSlash = sBase.find_last_of('\\');
    if (nSlash != std::string::npos)
        sBase = sBase.substr(nSlash + 1);
    if (sBase.size() > 200)
        sBase.resize(200);
    for (unsigned int uTry = 0; uTry < 1000; ++uTry)
    {
        char szSuffix[32];
        std::snprintf(szSuffix, sizeof(szSuffix), ".part%lu-%u",
                      static_cast<unsigned long>(::GetCurrentProcessId()),
                      static_cast<unsigned int>(::GetTickCount()) + uTry);
        std::string const sName = "." + sBase + szSuffix;
        if (sName.size() >= nSize)
            return -1;
        int nFile = -1;
        // Exclusive creation: an existing name, also a link, is never opened.
        if (::_sopen_s(&nFile, sName.c_str(),
                       _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT, _SH_DENYNO,
                       _S_IREAD | _S_IWRITE) == 0)
        {
            std::memcpy(szName, sName.c_str(), sName.size() + 1);
            return nFile;
        }
    }
    return -1;
}

bool PLATFORM_ReplaceFile(char const * szFrom, char const * szTo)
{
    return ::MoveFileExA(WindowsPath(szFrom).c_str(), WindowsPath(szTo).c_str(),
                         MOVEFILE_REPLACE_EXISTING) != 0;
}

bool PLATFORM_RemoveFile(char const * szPath)
{
    return ::DeleteFileA(WindowsPath(szPath).c_str()) != 0;
}
