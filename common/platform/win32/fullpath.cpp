#include "common/platform/fullpath.h"

#include <cstring>

#include <io.h>
#include <windows.h>

namespace
{
bool HandleIdentity(HANDLE hFile, sFileIdentity & Identity)
{
    BY_HANDLE_FILE_INFORMATION Information;
    if (hFile == INVALID_HANDLE_VALUE || !::GetFileInformationByHandle(hFile, &Information))
        return false;
    Identity.m_ullDevice = Information.dwVolumeSerialNumber;
    Identity.m_ullInode =
        (static_cast<std::uint64_t>(Information.nFileIndexHigh) << 32) | Information.nFileIndexLow;
    return true;
}
} // namespace

// _getcwd after _chdir reports the full path without a final separator, except for the
// root of a drive ("c:\"), and leaves links as they are named: so does this.
char * PLATFORM_GetFullDirectoryPath(char const * szDirectory, char * szBuffer, int nSize)
{
    if (nSize <= 0)
        return nullptr;
    char szFull[MAX_PATH];
    DWORD const dwLength =
        ::GetFullPathNameA(szDirectory[0] == '\0' ? "." : szDirectory, MAX_PATH, szFull, nullptr);
    if (dwLength == 0 || dwLength >= MAX_PATH)
        return nullptr;
    DWORD const dwAttributes = ::GetFileAttributesA(szFull);
    if (dwAttributes == INVALID_FILE_ATTRIBUTES || (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return nullptr;
    std::size_t nLength = dwLength;
    while (nLength > 3 && (szFull[nLength - 1] == '\\' || szFull[nLength - 1] == '/'))
        szFull[--nLength] = '\0';
    if (nLength >= static_cast<std::size_t>(nSize))
        return nullptr;
    std::memcpy(szBuffer, szFull, nLength + 1);
    return szBuffer;
}

bool PLATFORM_GetStreamIdentity(std::FILE * pStream, sFileIdentity & Identity)
{
    return HandleIdentity(reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(pStream))), Identity);
}

bool PLATFORM_GetPathIdentity(char const * szPath, sFileIdentity & Identity)
{
    // No access asked, only the attributes; backup semantics let a directory open too.
    HANDLE const hFile =
        ::CreateFileA(szPath, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return false;
    bool const bResult = HandleIdentity(hFile, Identity);
    ::CloseHandle(hFile);
    return bResult;
}
