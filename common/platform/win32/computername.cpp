#include "common/platform/computername.h"

#include <windows.h>

void PLATFORM_GetComputerName(char * szBuffer, int nSize)
{
    szBuffer[0] = '\0';
    HKEY hKey;
    if (::RegOpenKeyExA(HKEY_LOCAL_MACHINE,
                        "SYSTEM\\CurrentControlSet\\Control\\ComputerName\\ComputerName", 0,
                        KEY_QUERY_VALUE, &hKey) != ERROR_SUCCESS)
        return;
    char szName[256];
    DWORD dwType = 0;
    DWORD dwLength = sizeof(szName) - 1;
    LONG const lResult = ::RegQueryValueExA(hKey, "ComputerName", nullptr, &dwType,
                                            reinterpret_cast<BYTE *>(szName), &dwLength);
    ::RegCloseKey(hKey);
    if (lResult != ERROR_SUCCESS || dwType != REG_SZ)
        return;
    // A registry string need not carry its terminator.
    szName[dwLength] = '\0';
    int nCopy = 0;
    while (nCopy < nSize - 1 && szName[nCopy] != '\0')
    {
        szBuffer[nCopy] = szName[nCopy];
        ++nCopy;
    }
    szBuffer[nCopy] = '\0';
}
