// A slot is an AF_UNIX SOCK_DGRAM socket in the abstract namespace, so that it needs
// no file, vanishes with its server and is seen by every process of the machine. The
// address is "zr-mailslot:" and the lower-cased NAME. Datagrams keep their bounds.
// The system's queue is short (net.unix.max_dgram_qlen, often 10), so a client's send
// to a full queue sleeps in the kernel, for a bounded time, until the server takes a
// message. The
// server asks for SO_PASSCRED, so that each datagram carries its sender's real ids.
// A client that had to drop messages while a server was there tells it at once, on the
// slot's loss channel: a sequenced-packet connection to a second address of the server
// ("zr-maillost:" and NAME), whose queue the records can't fill and whose packets stay
// for the server even when the client ends at once, by _exit as well. The server takes
// them when it is asked for its count.
#include "common/platform/mailslot.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <linux/sockios.h>
#include <new>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace
{
char const s_szAddressPrefix[] = "zr-mailslot:";
// How long one wait of a send for room lasts, in ms: how often a waiting sender looks
// whether the server took any of its messages.
constexpr std::uint32_t s_ulWaitSlice = 250;
// Of the same length, so that every name that fits one address fits the other.
char const s_szLossPrefix[] = "zr-maillost:";
static_assert(sizeof(s_szLossPrefix) == sizeof(s_szAddressPrefix), "prefixes of one length");
// A leading NUL byte, the prefix and the longest NAME fill the address.
static_assert(1 + sizeof(s_szAddressPrefix) - 1 + PLATFORM_MAILSLOT_MAX_NAME ==
                  sizeof(sockaddr_un::sun_path),
              "the longest name fits the address");

struct sMailSlotEndpoint
{
    std::atomic<int> m_nShares; // handles on this endpoint; freed with the last
    int m_nSocket;
    bool m_bServer;
    bool m_bBroadcast; // a "\\*\" client: connects to whichever server is there
    bool m_bConnected;
    bool m_bStuck; // the last send found the queue full for the whole wait
    int m_nQueued; // client: bytes of its messages the server had not taken, when last seen
    sockaddr_un m_Address;
    socklen_t m_nAddressLength;
    std::uint32_t m_ulLost;           // client: not delivered; server: reported by notices
    std::uint32_t m_ulUnreported;     // client: lost while a server was there, not told yet
    sMailSlotSender m_LastSender;     // server: of the last message taken
    int m_nLossSocket;                // client: its loss channel, -1 when none; server: listens
    std::vector<int> m_vLossChannels; // server: the loss channels it took, until they end
};

enum eSendResult
{
    SEND_DONE,
    SEND_FULL, // the queue stayed full
    SEND_GONE, // no server (any more) at the other end
    SEND_FAILED
};

char LowerAscii(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// The abstract address of the slot named szName, and its host mark ('.' or '*').
bool ParseName(char const * szName, char & cHost, sockaddr_un & Address, socklen_t & nLength)
{
    char const * szBase = nullptr;
    if (!PLATFORM_ParseMailSlotName(szName, cHost, szBase))
        return false;
    std::size_t const nBase = std::strlen(szBase);
    std::size_t const nPrefix = std::strlen(s_szAddressPrefix);
    // The abstract name starts after a leading NUL byte of sun_path.
    std::memset(&Address, 0, sizeof(Address));
    Address.sun_family = AF_UNIX;
    std::memcpy(Address.sun_path + 1, s_szAddressPrefix, nPrefix);
    for (std::size_t i = 0; i < nBase; ++i)
        Address.sun_path[1 + nPrefix + i] = LowerAscii(szBase[i]);
    nLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + nPrefix + nBase);
    return true;
}

sMailSlotEndpoint * Endpoint(void * hSlot)
{
    if (hSlot == nullptr || hSlot == PLATFORM_INVALID_MAILSLOT)
        return nullptr;
    return static_cast<sMailSlotEndpoint *>(hSlot);
}

sMailSlotEndpoint * ServerEndpoint(void * hSlot)
{
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    return (pEndpoint != nullptr && pEndpoint->m_bServer) ? pEndpoint : nullptr;
}

void * NewEndpoint(int nSocket, bool bServer, bool bBroadcast, bool bConnected,
                   sockaddr_un const & Address, socklen_t nLength)
{
    sMailSlotEndpoint * pEndpoint = new (std::nothrow) sMailSlotEndpoint;
    if (pEndpoint == nullptr)
    {
        ::close(nSocket);
        return PLATFORM_INVALID_MAILSLOT;
    }
    pEndpoint->m_nShares = 1;
    pEndpoint->m_nSocket = nSocket;
    pEndpoint->m_bServer = bServer;
    pEndpoint->m_bBroadcast = bBroadcast;
    pEndpoint->m_bConnected = bConnected;
    pEndpoint->m_bStuck = false;
    pEndpoint->m_nQueued = 0;
    pEndpoint->m_Address = Address;
    pEndpoint->m_nAddressLength = nLength;
    pEndpoint->m_ulLost = 0;
    pEndpoint->m_ulUnreported = 0;
    pEndpoint->m_LastSender = sMailSlotSender{false, 0, 0};
    pEndpoint->m_nLossSocket = -1;
    return pEndpoint;
}

bool IsGone(int nError)
{
    return nError == ECONNREFUSED || nError == ENOENT || nError == ENOTCONN ||
           nError == ECONNRESET || nError == EPIPE;
}

bool Connect(sMailSlotEndpoint & Endpoint)
{
    int nResult;
    do
        nResult =
            ::connect(Endpoint.m_nSocket, reinterpret_cast<sockaddr const *>(&Endpoint.m_Address),
                      Endpoint.m_nAddressLength);
    while (nResult != 0 && errno == EINTR);
    Endpoint.m_bConnected = nResult == 0;
    return Endpoint.m_bConnected;
}

long MillisecondsSince(std::chrono::steady_clock::time_point Start)
{
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                 std::chrono::steady_clock::now() - Start)
                                 .count());
}

// The bytes of this client's messages that are still in the server's queue: the system
// charges each to its sender until the server takes it. -1 when it does not tell.
int QueuedBytes(sMailSlotEndpoint const & Endpoint)
{
    int nBytes = 0;
    return ::ioctl(Endpoint.m_nSocket, SIOCOUTQ, &nBytes) == 0 ? nBytes : -1;
}

// Whether the server took some of this client's messages since they were last counted;
// counts them again.
bool ServerTookSome(sMailSlotEndpoint & Endpoint)
{
    int const nQueued = QueuedBytes(Endpoint);
    bool const bTook = nQueued >= 0 && nQueued < Endpoint.m_nQueued;
    if (nQueued >= 0)
        Endpoint.m_nQueued = nQueued;
    return bTook;
}

// Sends one datagram on the connected socket. A full queue is waited for in the send
// itself, s_ulWaitSlice at a time (SO_SNDTIMEO): the kernel queues the waiting writers
// and wakes one of them for each message the server takes, so that a burst of many
// clients costs no herd of wake-ups. That queue is not fair: a writer that comes in just
// as room is made takes it before the one woken for it, so that a busy slot may keep one
// writer out for long while the server reads on. A writer therefore gives up only once
// PLATFORM_MAILSLOT_SEND_WAIT passed in which the server was not seen to take any of
// this client's own messages (with about ten in the queue, a server that reads at all
// takes them). A slot given up on is not waited for again until the server takes one of
// this client's messages or a send goes through.
eSendResult SendConnected(sMailSlotEndpoint & Endpoint, void const * pData, std::size_t nSize)
{
    if (Endpoint.m_bStuck && ServerTookSome(Endpoint))
        Endpoint.m_bStuck = false;
    auto LastSeen = std::chrono::steady_clock::now();
    bool bCounted = false; // whether this send counted the queue yet
    int const nFlags = MSG_NOSIGNAL | (Endpoint.m_bStuck ? MSG_DONTWAIT : 0);
    for (;;)
    {
        ssize_t const nSent = ::send(Endpoint.m_nSocket, pData, nSize, nFlags);
        if (nSent >= 0)
            return SEND_DONE;
        int const nError = errno;
        if (IsGone(nError))
            return SEND_GONE;
        if (nError != EAGAIN && nError != EWOULDBLOCK && nError != EINTR)
            return SEND_FAILED;
        if (Endpoint.m_bStuck)
            return SEND_FULL;
        // The queue is counted first when a send has to wait, not after every send that
        // goes through, which would cost each record a second call. A signal ends a slice
        // early, like a slice that ran out.
        bool const bTook = ServerTookSome(Endpoint);
        if (bTook || !bCounted)
            LastSeen = std::chrono::steady_clock::now();
        else if (MillisecondsSince(LastSeen) >= static_cast<long>(PLATFORM_MAILSLOT_SEND_WAIT))
            return SEND_FULL;
        bCounted = true;
    }
}

// The address of the loss channel of the slot at Address.
sockaddr_un LossAddress(sockaddr_un const & Address)
{
    sockaddr_un Loss = Address;
    std::memcpy(Loss.sun_path + 1, s_szLossPrefix, std::strlen(s_szLossPrefix));
    return Loss;
}

// A connection to the server's loss channel, or -1. Never waits: a server whose queue of
// connections is full, or no server, is no connection.
int ConnectLossChannel(sMailSlotEndpoint const & Endpoint)
{
    int const nSocket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (nSocket < 0)
        return -1;
    sockaddr_un const Address = LossAddress(Endpoint.m_Address);
    int nResult;
    do
        nResult = ::connect(nSocket, reinterpret_cast<sockaddr const *>(&Address),
                            Endpoint.m_nAddressLength);
    while (nResult != 0 && errno == EINTR);
    if (nResult != 0)
    {
        ::close(nSocket);
        return -1;
    }
    return nSocket;
}

// Tells the server how many messages it missed since the last notice, without waiting.
// A connection that holds as many notices as it can (the server hasn't taken them for
// long) or whose server is gone is left behind, its notices still for the server to
// take, and a new one carries this notice. What can't be told now is told with the
// next loss, the next message or the close.
void ReportLosses(sMailSlotEndpoint & Endpoint)
{
    for (int nTry = 0; nTry < 2 && Endpoint.m_ulUnreported > 0; ++nTry)
    {
        if (Endpoint.m_nLossSocket < 0)
            Endpoint.m_nLossSocket = ConnectLossChannel(Endpoint);
        if (Endpoint.m_nLossSocket < 0)
            return;
        unsigned char aucCount[4];
        for (int i = 0; i < 4; ++i)
            aucCount[i] = static_cast<unsigned char>((Endpoint.m_ulUnreported >> (8 * i)) & 0xFF);
        ssize_t nSent;
        do
            nSent = ::send(Endpoint.m_nLossSocket, aucCount, sizeof(aucCount),
                           MSG_DONTWAIT | MSG_NOSIGNAL);
        while (nSent < 0 && errno == EINTR);
        if (nSent == static_cast<ssize_t>(sizeof(aucCount)))
        {
            Endpoint.m_ulUnreported = 0;
            return;
        }
        ::close(Endpoint.m_nLossSocket);
        Endpoint.m_nLossSocket = -1;
    }
}

// A broadcast's send: to the server that is there now, whichever process serves it.
eSendResult SendBroadcast(sMailSlotEndpoint & Endpoint, void const * pData, std::size_t nSize)
{
    if (!Endpoint.m_bConnected && !Connect(Endpoint))
        return SEND_GONE;
    eSendResult eResult = SendConnected(Endpoint, pData, nSize);
    // The server it knew is gone; a new one may serve the name already.
    if (eResult == SEND_GONE && Connect(Endpoint))
        eResult = SendConnected(Endpoint, pData, nSize);
    if (eResult == SEND_GONE)
        Endpoint.m_bConnected = false;
    return eResult;
}

void CountNotice(sMailSlotEndpoint & Endpoint, std::uint32_t ulLost)
{
    std::uint32_t const ulRoom = 0xFFFFFFFFu - Endpoint.m_ulLost;
    Endpoint.m_ulLost += ulLost < ulRoom ? ulLost : ulRoom;
}

// Takes the loss channels that clients opened and every notice they hold; a channel whose
// client has closed it is done with once its notices are taken.
void TakeLossNotices(sMailSlotEndpoint & Endpoint)
{
    for (;;)
    {
        int const nChannel =
            ::accept4(Endpoint.m_nLossSocket, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (nChannel < 0)
        {
            if (errno == EINTR || errno == ECONNABORTED)
                continue;
            break;
        }
        try
        {
            Endpoint.m_vLossChannels.push_back(nChannel);
        }
        catch (std::bad_alloc const &)
        {
            ::close(nChannel);
        }
    }
    std::vector<int> & vChannels = Endpoint.m_vLossChannels;
    for (std::size_t i = 0; i < vChannels.size();)
    {
        unsigned char aucCount[4];
        ssize_t const nReceived = ::recv(vChannels[i], aucCount, sizeof(aucCount), MSG_DONTWAIT);
        if (nReceived == static_cast<ssize_t>(sizeof(aucCount)))
        {
            CountNotice(Endpoint, static_cast<std::uint32_t>(aucCount[0]) |
                                      static_cast<std::uint32_t>(aucCount[1]) << 8 |
                                      static_cast<std::uint32_t>(aucCount[2]) << 16 |
                                      static_cast<std::uint32_t>(aucCount[3]) << 24);
            continue;
        }
        if (nReceived < 0 && errno == EINTR)
            continue;
        if (nReceived < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        {
            ++i;
            continue;
        }
        ::close(vChannels[i]);
        vChannels.erase(vChannels.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

// Receives the next datagram into pBuffer, cut to nSize bytes, with its sender. Its full
// length, or -1 when none waits.
ssize_t ReceiveDatagram(sMailSlotEndpoint & Endpoint, void * pBuffer, std::size_t nSize, int nFlags,
                        sMailSlotSender & Sender)
{
    iovec aParts[1] = {{pBuffer, nSize}};
    alignas(cmsghdr) char achControl[CMSG_SPACE(sizeof(ucred))];
    msghdr Message{};
    Message.msg_iov = aParts;
    Message.msg_iovlen = 1;
    Message.msg_control = achControl;
    Message.msg_controllen = sizeof(achControl);
    ssize_t nReceived;
    do
        nReceived = ::recvmsg(Endpoint.m_nSocket, &Message, nFlags | MSG_DONTWAIT | MSG_TRUNC);
    while (nReceived < 0 && errno == EINTR);
    Sender = sMailSlotSender{false, 0, 0};
    if (nReceived < 0)
        return -1;
    for (cmsghdr * pHeader = CMSG_FIRSTHDR(&Message); pHeader != nullptr;
         pHeader = CMSG_NXTHDR(&Message, pHeader))
    {
        if (pHeader->cmsg_level == SOL_SOCKET && pHeader->cmsg_type == SCM_CREDENTIALS &&
            pHeader->cmsg_len >= CMSG_LEN(sizeof(ucred)))
        {
            ucred Credentials;
            std::memcpy(&Credentials, CMSG_DATA(pHeader), sizeof(Credentials));
            Sender = sMailSlotSender{true, static_cast<std::uint32_t>(Credentials.pid),
                                     static_cast<std::uint32_t>(Credentials.uid)};
        }
    }
    return nReceived;
}

// The size of the next message, or -1 when none waits.
long NextDatagramSize(sMailSlotEndpoint & Endpoint)
{
    char cHead;
    sMailSlotSender Sender;
    ssize_t const nSize = ReceiveDatagram(Endpoint, &cHead, 1, MSG_PEEK, Sender);
    return nSize < 0 ? -1 : static_cast<long>(nSize);
}
} // namespace

void * PLATFORM_CreateMailSlot(char const * szName)
{
    char cHost;
    sockaddr_un Address;
    socklen_t nLength;
    if (!ParseName(szName, cHost, Address, nLength) || cHost != '.')
        return PLATFORM_INVALID_MAILSLOT;
    int const nSocket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (nSocket < 0)
        return PLATFORM_INVALID_MAILSLOT;
    // An abstract address that is taken refuses the bind: one server per NAME.
    int const nOn = 1;
    if (::setsockopt(nSocket, SOL_SOCKET, SO_PASSCRED, &nOn, sizeof(nOn)) != 0 ||
        ::bind(nSocket, reinterpret_cast<sockaddr const *>(&Address), nLength) != 0)
    {
        ::close(nSocket);
        return PLATFORM_INVALID_MAILSLOT;
    }
    void * hSlot = NewEndpoint(nSocket, true, false, false, Address, nLength);
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return PLATFORM_INVALID_MAILSLOT;
    // The loss channel's queue of connections waits for the server; each client that
    // lost messages holds one connection, and a new one only when the last is full.
    sockaddr_un const Loss = LossAddress(Address);
    pEndpoint->m_nLossSocket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (pEndpoint->m_nLossSocket < 0 ||
        ::bind(pEndpoint->m_nLossSocket, reinterpret_cast<sockaddr const *>(&Loss), nLength) != 0 ||
        ::listen(pEndpoint->m_nLossSocket, SOMAXCONN) != 0)
    {
        PLATFORM_CloseMailSlot(hSlot);
        return PLATFORM_INVALID_MAILSLOT;
    }
    return hSlot;
}

void * PLATFORM_OpenMailSlot(char const * szName)
{
    char cHost;
    sockaddr_un Address;
    socklen_t nLength;
    if (!ParseName(szName, cHost, Address, nLength))
        return PLATFORM_INVALID_MAILSLOT;
    int const nSocket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (nSocket < 0)
        return PLATFORM_INVALID_MAILSLOT;
    bool const bBroadcast = cHost == '*';
    timeval Wait{0, static_cast<suseconds_t>(s_ulWaitSlice) * 1000};
    if (::setsockopt(nSocket, SOL_SOCKET, SO_SNDTIMEO, &Wait, sizeof(Wait)) != 0)
    {
        ::close(nSocket);
        return PLATFORM_INVALID_MAILSLOT;
    }
    void * hSlot = NewEndpoint(nSocket, false, bBroadcast, false, Address, nLength);
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    // A direct client is connected once, which proves that the server is there; a
    // broadcast connects now if it can, and at each send until it can.
    if (pEndpoint != nullptr && !Connect(*pEndpoint) && !bBroadcast)
    {
        PLATFORM_CloseMailSlot(hSlot);
        return PLATFORM_INVALID_MAILSLOT;
    }
    return hSlot;
}

bool PLATFORM_WriteMailSlot(void * hSlot, void const * pData, std::uint32_t ulSize,
                            std::uint32_t & ulWritten)
{
    ulWritten = 0;
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr || pEndpoint->m_bServer)
        return false;
    eSendResult eResult = SEND_FAILED;
    if (ulSize <= PLATFORM_MAILSLOT_MAX_MESSAGE)
        eResult = pEndpoint->m_bBroadcast ? SendBroadcast(*pEndpoint, pData, ulSize)
                                          : SendConnected(*pEndpoint, pData, ulSize);
    if (eResult == SEND_DONE)
    {
        pEndpoint->m_bStuck = false;
        if (pEndpoint->m_ulUnreported > 0)
            ReportLosses(*pEndpoint);
        ulWritten = ulSize;
        return true;
    }
    if (pEndpoint->m_ulLost < 0xFFFFFFFFu)
        ++pEndpoint->m_ulLost;
    if (eResult == SEND_FULL)
    {
        pEndpoint->m_bStuck = true;
        if (pEndpoint->m_ulUnreported < 0xFFFFFFFFu)
            ++pEndpoint->m_ulUnreported;
        ReportLosses(*pEndpoint);
    }
    if (!pEndpoint->m_bBroadcast || eResult == SEND_FAILED)
        return false;
    // A broadcast that nobody could take is lost and still counts as sent.
    ulWritten = ulSize;
    return true;
}

bool PLATFORM_ReadMailSlot(void * hSlot, void * pBuffer, std::uint32_t ulSize,
                           std::uint32_t & ulRead)
{
    ulRead = 0;
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    sMailSlotSender Sender;
    ssize_t const nSize = ReceiveDatagram(*pEndpoint, pBuffer, ulSize, 0, Sender);
    if (nSize < 0)
        return false;
    // With MSG_TRUNC the result is the full datagram length: longer means cut, and lost.
    if (static_cast<std::size_t>(nSize) > ulSize)
        return false;
    pEndpoint->m_LastSender = Sender;
    ulRead = static_cast<std::uint32_t>(nSize);
    return true;
}

bool PLATFORM_GetMailSlotInfo(void * hSlot, std::uint32_t * pulMaxMessageSize,
                              std::uint32_t * pulNextSize, std::uint32_t * pulMessageCount)
{
    sMailSlotEndpoint * pEndpoint = ServerEndpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    if (pulMaxMessageSize != nullptr)
        *pulMaxMessageSize = PLATFORM_MAILSLOT_MAX_MESSAGE;
    if (pulNextSize == nullptr && pulMessageCount == nullptr)
        return true;
    long const lNext = NextDatagramSize(*pEndpoint);
    if (pulNextSize != nullptr)
        *pulNextSize = lNext < 0 ? PLATFORM_MAILSLOT_NO_MESSAGE : static_cast<std::uint32_t>(lNext);
    if (pulMessageCount != nullptr)
        *pulMessageCount = lNext < 0 ? 0 : 1;
    return true;
}

bool PLATFORM_WaitForMailSlot(void * hSlot, std::uint32_t ulTimeout)
{
    sMailSlotEndpoint * pEndpoint = ServerEndpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    pollfd Poll;
    Poll.fd = pEndpoint->m_nSocket;
    Poll.events = POLLIN;
    Poll.revents = 0;
    int const nTimeout = ulTimeout > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(ulTimeout);
    // An interrupting signal ends the wait, so that the caller can look at its flags.
    return ::poll(&Poll, 1, nTimeout) == 1 && (Poll.revents & POLLIN) != 0;
}

bool PLATFORM_GetMailSlotSender(void * hSlot, sMailSlotSender & Sender)
{
    sMailSlotEndpoint * pEndpoint = ServerEndpoint(hSlot);
    Sender = pEndpoint != nullptr ? pEndpoint->m_LastSender : sMailSlotSender{false, 0, 0};
    return Sender.m_bKnown;
}

std::uint32_t PLATFORM_GetMailSlotLost(void * hSlot)
{
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return 0;
    if (pEndpoint->m_bServer)
        TakeLossNotices(*pEndpoint);
    return pEndpoint->m_ulLost;
}

void * PLATFORM_ShareMailSlot(void * hSlot)
{
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return PLATFORM_INVALID_MAILSLOT;
    pEndpoint->m_nShares.fetch_add(1);
    return pEndpoint;
}

bool PLATFORM_CloseMailSlot(void * hSlot)
{
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    if (pEndpoint->m_nShares.fetch_sub(1) == 1)
    {
        // Losses not told yet are told now, or never.
        ReportLosses(*pEndpoint);
        if (pEndpoint->m_nLossSocket >= 0)
            ::close(pEndpoint->m_nLossSocket);
        for (int nChannel : pEndpoint->m_vLossChannels)
            ::close(nChannel);
        ::close(pEndpoint->m_nSocket);
        delete pEndpoint;
    }
    return true;
}
