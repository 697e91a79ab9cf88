#include "common/platform/dirwatch.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>

#include <sys/inotify.h>
#include <unistd.h>

#include "common/platform/diskpath.h"

namespace
{
// Writes and closes, saves by rename in either direction, new and deleted entries,
// and the end of the directory itself.
constexpr std::uint32_t WATCH_EVENTS = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE |
                                       IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t WHOLE_DIRECTORY = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

struct sDirWatch
{
    int nNotify;
    std::size_t nNext;   // the next event in the buffer
    std::size_t nFilled; // bytes read into the buffer
    alignas(inotify_event) char aBuffer[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
};
} // namespace

void * PLATFORM_OpenDirWatch()
{
    int const nNotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (nNotify < 0)
        return nullptr;
    sDirWatch * pWatch = new sDirWatch;
    pWatch->nNotify = nNotify;
    pWatch->nNext = 0;
    pWatch->nFilled = 0;
    return pWatch;
}

void PLATFORM_CloseDirWatch(void * hWatch)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    if (pWatch == nullptr)
        return;
    ::close(pWatch->nNotify);
    delete pWatch;
}

int PLATFORM_AddWatchedDirectory(void * hWatch, char const * szDirectory)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    std::string sPath = PLATFORM_DiskPath(szDirectory);
    if (sPath.empty())
        sPath = ".";
    return ::inotify_add_watch(pWatch->nNotify, sPath.c_str(), WATCH_EVENTS);
}

void PLATFORM_RemoveWatchedDirectory(void * hWatch, int nId)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    ::inotify_rm_watch(pWatch->nNotify, nId);
}

bool PLATFORM_NextDirChange(void * hWatch, int & nId, char const *& szName)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    if (pWatch->nNext >= pWatch->nFilled)
    {
        ssize_t const nRead = ::read(pWatch->nNotify, pWatch->aBuffer, sizeof(pWatch->aBuffer));
        pWatch->nNext = 0;
        pWatch->nFilled = nRead > 0 ? static_cast<std::size_t>(nRead) : 0;
        if (pWatch->nFilled == 0)
            return false;
    }
    inotify_event const * pEvent =
        reinterpret_cast<inotify_event const *>(pWatch->aBuffer + pWatch->nNext);
    pWatch->nNext += sizeof(inotify_event) + pEvent->len;
    if (pEvent->mask & IN_Q_OVERFLOW)
    {
        nId = -1;
        szName = "";
    }
    else
    {
        nId = pEvent->wd;
        szName = (pEvent->len == 0 || (pEvent->mask & WHOLE_DIRECTORY)) ? "" : pEvent->name;
    }
    return true;
}
