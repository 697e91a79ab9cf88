#include "testos.h"

#include <sys/stat.h>
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
