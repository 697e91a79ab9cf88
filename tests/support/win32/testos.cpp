#include "testos.h"

#include <windows.h>

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
