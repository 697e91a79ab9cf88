// A slot is an AF_UNIX SOCK_DGRAM socket in the abstract namespace, so that it needs
// no file, vanishes with its server and is seen by every process of the machine. The
// address is "zr-mailslot:" and the lower-cased NAME. Datagrams keep their bounds.
// The system's queue is short (net.unix.max_dgram_qlen, often 10), so a client's send
// to a full queue sleeps in the kernel, for a bounded time, until the server takes a
// message. The
// server asks for SO_PASSCRED, so that each datagram carries its sender's real ids.
// A client that had to drop messages while a server was there tells it afterwards with a
// loss notice: a datagram longer than a 400-byte record, which readers of fixed-size
// records pass over, and which the server takes out of the stream and counts.
#include "common/platform/mailslot.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
char const s_szAddressPrefix[] = "zr-mailslot:";

// The loss notice: the mark, then the number of messages lost, 4 bytes little-endian,
// then zero bytes up to its size.
char const s_achNoticeMark[16] = {'z', 'r', '-', 'm', 'a', 'i', 'l', 's',
                                  'l', 'o', 't', '-', 'l', 'o', 's', 't'};
constexpr std::size_t NOTICE_SIZE = 408;

struct sMailSlotEndpoint
{
    std::atomic<int> m_nShares; // handles on this endpoint; freed with the last
    int m_nSocket;
    bool m_bServer;
    bool m_bBroadcast; // a "\\*\" client: connects to whichever server is there
    bool m_bConnected;
    bool m_bStuck; // the last send found the queue full for the whole wait
    sockaddr_un m_Address;
    socklen_t m_nAddressLength;
    std::uint32_t m_ulLost;       // client: not delivered; server: reported by notices
    std::uint32_t m_ulUnreported; // client: lost while a server was there, not told yet
    sMailSlotSender m_LastSender; // server: of the last message taken
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

bool HasPrefixCaseBlind(char const * szText, char const * szPrefix)
{
    for (; *szPrefix != '\0'; ++szText, ++szPrefix)
    {
        if (LowerAscii(*szText) != LowerAscii(*szPrefix))
            return false;
    }
    return true;
}

// Splits "\\H\mailslot\NAME" into the host mark H ('.' or '*') and the abstract
// address of NAME. Other hosts (remote machines, domains) do not exist here.
bool ParseName(char const * szName, char & cHost, sockaddr_un & Address, socklen_t & nLength)
{
    if (szName == nullptr || szName[0] != '\\' || szName[1] != '\\')
        return false;
    cHost = szName[2];
    if ((cHost != '.' && cHost != '*') || szName[3] != '\\')
        return false;
    char const * szSlot = szName + 4;
    if (!HasPrefixCaseBlind(szSlot, "mailslot\\"))
        return false;
    char const * szBase = szSlot + std::strlen("mailslot\\");
    std::size_t const nBase = std::strlen(szBase);
    std::size_t const nPrefix = std::strlen(s_szAddressPrefix);
    // The abstract name starts after a leading NUL byte of sun_path.
    if (nBase == 0 || 1 + nPrefix + nBase > sizeof(Address.sun_path))
        return false;

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
    pEndpoint->m_Address = Address;
    pEndpoint->m_nAddressLength = nLength;
    pEndpoint->m_ulLost = 0;
    pEndpoint->m_ulUnreported = 0;
    pEndpoint->m_LastSender = sMailSlotSender{false, 0, 0};
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

// Sends one datagram on the connected socket. A full queue is waited for in the send
// itself, for up to PLATFORM_MAILSLOT_SEND_WAIT (SO_SNDTIMEO): the kernel queues the
// waiting writers and wakes one of them for each message the server takes, so that a
// burst of many clients costs no herd of wake-ups. A queue that stayed full at the last
// send is not waited for.
eSendResult SendConnected(sMailSlotEndpoint & Endpoint, void const * pData, std::size_t nSize)
{
    auto const Start = std::chrono::steady_clock::now();
    int const nFlags = MSG_NOSIGNAL | (Endpoint.m_bStuck ? MSG_DONTWAIT : 0);
    for (;;)
    {
        ssize_t const nSent = ::send(Endpoint.m_nSocket, pData, nSize, nFlags);
        if (nSent >= 0)
            return SEND_DONE;
        int const nError = errno;
        // A signal restarts the wait with the time that is left of it.
        if (nError == EINTR &&
            MillisecondsSince(Start) < static_cast<long>(PLATFORM_MAILSLOT_SEND_WAIT))
            continue;
        if (IsGone(nError))
            return SEND_GONE;
        if (nError == EAGAIN || nError == EWOULDBLOCK || nError == EINTR)
            return SEND_FULL;
        return SEND_FAILED;
    }
}

// Tells the server how many messages it missed; it has just taken one, so it reads.
void SendNotice(sMailSlotEndpoint & Endpoint)
{
    char achNotice[NOTICE_SIZE] = {};
    std::memcpy(achNotice, s_achNoticeMark, sizeof(s_achNoticeMark));
    std::uint32_t const ulLost = Endpoint.m_ulUnreported;
    for (int i = 0; i < 4; ++i)
        achNotice[sizeof(s_achNoticeMark) + i] = static_cast<char>((ulLost >> (8 * i)) & 0xFF);
    if (SendConnected(Endpoint, achNotice, sizeof(achNotice)) == SEND_DONE)
        Endpoint.m_ulUnreported = 0;
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

// Reads the mark and count of a loss notice; false when the datagram is not one.
bool IsNotice(char const * pFirst, std::size_t nFirst, char const * pRest, std::size_t nSize,
              std::uint32_t & ulLost)
{
    if (nSize != NOTICE_SIZE)
        return false;
    char achNotice[NOTICE_SIZE];
    std::size_t const nHead = nFirst < NOTICE_SIZE ? nFirst : NOTICE_SIZE;
    std::memcpy(achNotice, pFirst, nHead);
    std::memcpy(achNotice + nHead, pRest, NOTICE_SIZE - nHead);
    if (std::memcmp(achNotice, s_achNoticeMark, sizeof(s_achNoticeMark)) != 0)
        return false;
    ulLost = 0;
    for (int i = 3; i >= 0; --i)
        ulLost = (ulLost << 8) | static_cast<unsigned char>(achNotice[sizeof(s_achNoticeMark) + i]);
    return true;
}

void CountNotice(sMailSlotEndpoint & Endpoint, std::uint32_t ulLost)
{
    std::uint32_t const ulRoom = 0xFFFFFFFFu - Endpoint.m_ulLost;
    Endpoint.m_ulLost += ulLost < ulRoom ? ulLost : ulRoom;
}

// Receives the next datagram into pBuffer (and what runs past ulSize into a spill of a
// notice's size), with its sender. Its full length, or -1 when none waits.
ssize_t ReceiveDatagram(sMailSlotEndpoint & Endpoint, void * pBuffer, std::size_t nSize,
                        char * pSpill, int nFlags, sMailSlotSender & Sender)
{
    iovec aParts[2] = {{pBuffer, nSize}, {pSpill, NOTICE_SIZE}};
    alignas(cmsghdr) char achControl[CMSG_SPACE(sizeof(ucred))];
    msghdr Message{};
    Message.msg_iov = aParts;
    Message.msg_iovlen = 2;
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

// The size of the next message, or -1 when none waits. Loss notices in front of it are
// taken out of the queue and counted.
long NextDatagramSize(sMailSlotEndpoint & Endpoint)
{
    for (;;)
    {
        char achHead[NOTICE_SIZE];
        char achSpill[NOTICE_SIZE];
        sMailSlotSender Sender;
        ssize_t const nSize =
            ReceiveDatagram(Endpoint, achHead, sizeof(achHead), achSpill, MSG_PEEK, Sender);
        std::uint32_t ulLost = 0;
        if (nSize < 0 ||
            !IsNotice(achHead, sizeof(achHead), achSpill, static_cast<std::size_t>(nSize), ulLost))
            return nSize < 0 ? -1 : static_cast<long>(nSize);
        ReceiveDatagram(Endpoint, achHead, sizeof(achHead), achSpill, 0, Sender);
        CountNotice(Endpoint, ulLost);
    }
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
    return NewEndpoint(nSocket, true, false, false, Address, nLength);
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
    timeval Wait{0, static_cast<suseconds_t>(PLATFORM_MAILSLOT_SEND_WAIT) * 1000};
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
            SendNotice(*pEndpoint);
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
    for (;;)
    {
        char achSpill[NOTICE_SIZE];
        sMailSlotSender Sender;
        ssize_t const nSize = ReceiveDatagram(*pEndpoint, pBuffer, ulSize, achSpill, 0, Sender);
        if (nSize < 0)
            return false;
        std::uint32_t ulLost = 0;
        if (pEndpoint->m_bServer && IsNotice(static_cast<char const *>(pBuffer), ulSize, achSpill,
                                             static_cast<std::size_t>(nSize), ulLost))
        {
            CountNotice(*pEndpoint, ulLost);
            continue;
        }
        // With MSG_TRUNC the result is the full datagram length: longer means cut, and lost.
        if (static_cast<std::size_t>(nSize) > ulSize)
            return false;
        pEndpoint->m_LastSender = Sender;
        ulRead = static_cast<std::uint32_t>(nSize);
        return true;
    }
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
    return pEndpoint != nullptr ? pEndpoint->m_ulLost : 0;
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
        if (pEndpoint->m_ulUnreported > 0 && pEndpoint->m_bConnected && !pEndpoint->m_bStuck)
            SendNotice(*pEndpoint);
        ::close(pEndpoint->m_nSocket);
        delete pEndpoint;
    }
    return true;
}
