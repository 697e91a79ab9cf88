#include "common/platform/dirwatch.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include <linux/io_uring.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "common/platform/diskpath.h"

namespace
{
// Writes and closes, saves by rename in either direction, new and deleted entries,
// and the end of the directory itself.
constexpr std::uint32_t WATCH_EVENTS = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE |
                                       IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t WHOLE_DIRECTORY = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

// Tells whether the inotify descriptor may have something to read without asking the
// kernel: an io_uring poll of the descriptor posts its completion into memory shared
// with this process, so that finding nothing is one load, while a read that finds
// nothing costs a system call. One poll is outstanding at a time and is armed again
// once the descriptor has been read empty; a poll armed on a readable descriptor
// completes at once, so no change slips between the two. Where io_uring can't be had,
// the descriptor counts as always ready and is simply read.
class CReadySignal
{
public:
    explicit CReadySignal(int nDescriptor) : m_nDescriptor(nDescriptor)
    {
        io_uring_params Params;
        std::memset(&Params, 0, sizeof(Params));
        m_nRing = static_cast<int>(::syscall(__NR_io_uring_setup, 2, &Params));
        if (m_nRing < 0)
            return;
        m_nRingBytes = std::max(Params.sq_off.array + Params.sq_entries * sizeof(std::uint32_t),
                                Params.cq_off.cqes + Params.cq_entries * sizeof(io_uring_cqe));
        m_nEntryBytes = Params.sq_entries * sizeof(io_uring_sqe);
        void * pRing = (Params.features & IORING_FEAT_SINGLE_MMAP)
                           ? ::mmap(nullptr, m_nRingBytes, PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_POPULATE, m_nRing, IORING_OFF_SQ_RING)
                           : MAP_FAILED;
        void * pEntries = pRing != MAP_FAILED
                              ? ::mmap(nullptr, m_nEntryBytes, PROT_READ | PROT_WRITE,
                                       MAP_SHARED | MAP_POPULATE, m_nRing, IORING_OFF_SQES)
                              : MAP_FAILED;
        if (pEntries == MAP_FAILED)
        {
            if (pRing != MAP_FAILED)
                ::munmap(pRing, m_nRingBytes);
            Close();
            return;
        }
        char * pBytes = static_cast<char *>(pRing);
        m_pRing = pRing;
        m_pEntries = static_cast<io_uring_sqe *>(pEntries);
        m_pSqTail = reinterpret_cast<std::uint32_t *>(pBytes + Params.sq_off.tail);
        m_pSqMask = reinterpret_cast<std::uint32_t *>(pBytes + Params.sq_off.ring_mask);
        m_pSqArray = reinterpret_cast<std::uint32_t *>(pBytes + Params.sq_off.array);
        m_pCqHead = reinterpret_cast<std::uint32_t *>(pBytes + Params.cq_off.head);
        m_pCqTail = reinterpret_cast<std::uint32_t *>(pBytes + Params.cq_off.tail);
        if (!Arm())
            Close();
    }
    ~CReadySignal() { Close(); }
    CReadySignal(CReadySignal const &) = delete;
    CReadySignal & operator=(CReadySignal const &) = delete;

    // True when the descriptor may be readable; takes the poll's completion.
    bool Check()
    {
        if (m_nRing < 0)
            return true;
        std::uint32_t const ulHead = *m_pCqHead;
        if (ulHead == __atomic_load_n(m_pCqTail, __ATOMIC_ACQUIRE))
            return false;
        __atomic_store_n(m_pCqHead, ulHead + 1, __ATOMIC_RELEASE);
        return true;
    }

    // Polls the descriptor again, once it has been read empty.
    void Rearm()
    {
        if (m_nRing >= 0 && !Arm())
            Close();
    }

private:
    bool Arm()
    {
        std::uint32_t const ulTail = *m_pSqTail;
        std::uint32_t const ulIndex = ulTail & *m_pSqMask;
        io_uring_sqe & Entry = m_pEntries[ulIndex];
        std::memset(&Entry, 0, sizeof(Entry));
        Entry.opcode = IORING_OP_POLL_ADD;
        Entry.fd = m_nDescriptor;
        Entry.poll32_events = POLLIN;
        m_pSqArray[ulIndex] = ulIndex;
        __atomic_store_n(m_pSqTail, ulTail + 1, __ATOMIC_RELEASE);
        return ::syscall(__NR_io_uring_enter, m_nRing, 1, 0, 0, nullptr, 0) == 1;
    }

    void Close()
    {
        if (m_pEntries != nullptr)
            ::munmap(m_pEntries, m_nEntryBytes);
        if (m_pRing != nullptr)
            ::munmap(m_pRing, m_nRingBytes);
        if (m_nRing >= 0)
            ::close(m_nRing);
        m_pEntries = nullptr;
        m_pRing = nullptr;
        m_nRing = -1;
    }

    int m_nDescriptor;
    int m_nRing = -1;
    void * m_pRing = nullptr;
    std::size_t m_nRingBytes = 0;
    io_uring_sqe * m_pEntries = nullptr;
    std::size_t m_nEntryBytes = 0;
    std::uint32_t * m_pSqTail = nullptr;
    std::uint32_t * m_pSqMask = nullptr;
    std::uint32_t * m_pSqArray = nullptr;
    std::uint32_t * m_pCqHead = nullptr;
    std::uint32_t * m_pCqTail = nullptr;
};

struct sDirWatch
{
    explicit sDirWatch(int nDescriptor) : nNotify(nDescriptor), Ready(nDescriptor) {}

    int nNotify;
    CReadySignal Ready;
    bool bDraining = false;  // reading until the descriptor is empty
    std::size_t nNext = 0;   // the next event in the buffer
    std::size_t nFilled = 0; // bytes read into the buffer
    alignas(inotify_event) char aBuffer[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
};
} // namespace

void * PLATFORM_OpenDirWatch()
{
    int const nNotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (nNotify < 0)
        return nullptr;
    return new sDirWatch(nNotify);
}

void PLATFORM_CloseDirWatch(void * hWatch)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    if (pWatch == nullptr)
        return;
    int const nNotify = pWatch->nNotify;
    delete pWatch;
    ::close(nNotify);
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
        if (!pWatch->bDraining && !pWatch->Ready.Check())
            return false;
        ssize_t const nRead = ::read(pWatch->nNotify, pWatch->aBuffer, sizeof(pWatch->aBuffer));
        pWatch->nNext = 0;
        pWatch->nFilled = nRead > 0 ? static_cast<std::size_t>(nRead) : 0;
        pWatch->bDraining = pWatch->nFilled > 0;
        if (!pWatch->bDraining)
        {
            pWatch->Ready.Rearm();
            return false;
        }
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
