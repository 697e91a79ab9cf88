// A slot is an AF_UNIX SOCK_DGRAM socket in the abstract namespace, so that it needs
// no file, vanishes with its server and is seen by every process of the machine. The
// address is "zr-mailslot:" and the lower-cased NAME. Datagrams keep their bounds;
// every send is MSG_DONTWAIT, every receive too.
#include "common/platform/mailslot.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
char const s_szAddressPrefix[] = "zr-mailslot:";

struct sMailSlotEndpoint
{
    int m_nSocket;
    bool m_bServer;
    bool m_bBroadcast; // a "\\*\" client: unconnected, sends to m_Address each time
    sockaddr_un m_Address;
    socklen_t m_nAddressLength;
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

void * NewEndpoint(int nSocket, bool bServer, bool bBroadcast, sockaddr_un const & Address,
                   socklen_t nLength)
{
    sMailSlotEndpoint * pEndpoint = new (std::nothrow) sMailSlotEndpoint;
    if (pEndpoint == nullptr)
    {
        ::close(nSocket);
        return PLATFORM_INVALID_MAILSLOT;
    }
    pEndpoint->m_nSocket = nSocket;
    pEndpoint->m_bServer = bServer;
    pEndpoint->m_bBroadcast = bBroadcast;
    pEndpoint->m_Address = Address;
    pEndpoint->m_nAddressLength = nLength;
    return pEndpoint;
}

// A broadcast that finds nobody, or nobody with room, is lost and still counts as sent.
bool IsDroppedBroadcast(int nError)
{
    return nError == ECONNREFUSED || nError == ENOENT || nError == EAGAIN ||
           nError == EWOULDBLOCK || nError == ENOBUFS;
}

// The size of the next datagram, or -1 when none waits.
long NextDatagramSize(int nSocket)
{
    char cProbe;
    ssize_t nSize;
    do
        nSize = ::recv(nSocket, &cProbe, 0, MSG_PEEK | MSG_TRUNC | MSG_DONTWAIT);
    while (nSize < 0 && errno == EINTR);
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
    if (::bind(nSocket, reinterpret_cast<sockaddr const *>(&Address), nLength) != 0)
    {
        ::close(nSocket);
        return PLATFORM_INVALID_MAILSLOT;
    }
    return NewEndpoint(nSocket, true, false, Address, nLength);
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
    // A direct client is connected once, which proves that the server is there.
    if (!bBroadcast &&
        ::connect(nSocket, reinterpret_cast<sockaddr const *>(&Address), nLength) != 0)
    {
        ::close(nSocket);
        return PLATFORM_INVALID_MAILSLOT;
    }
    return NewEndpoint(nSocket, false, bBroadcast, Address, nLength);
}

bool PLATFORM_WriteMailSlot(void * hSlot, void const * pData, std::uint32_t ulSize,
                            std::uint32_t & ulWritten)
{
    ulWritten = 0;
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    if (ulSize > PLATFORM_MAILSLOT_MAX_MESSAGE)
    {
        if (!pEndpoint->m_bBroadcast)
            return false;
        ulWritten = ulSize;
        return true;
    }

    int const nFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
    ssize_t nSent;
    do
    {
        if (pEndpoint->m_bBroadcast)
            nSent = ::sendto(pEndpoint->m_nSocket, pData, ulSize, nFlags,
                             reinterpret_cast<sockaddr const *>(&pEndpoint->m_Address),
                             pEndpoint->m_nAddressLength);
        else
            nSent = ::send(pEndpoint->m_nSocket, pData, ulSize, nFlags);
    } while (nSent < 0 && errno == EINTR);

    if (nSent < 0)
    {
        if (!pEndpoint->m_bBroadcast || !IsDroppedBroadcast(errno))
            return false;
        nSent = static_cast<ssize_t>(ulSize);
    }
    ulWritten = static_cast<std::uint32_t>(nSent);
    return true;
}

bool PLATFORM_ReadMailSlot(void * hSlot, void * pBuffer, std::uint32_t ulSize,
                           std::uint32_t & ulRead)
{
    ulRead = 0;
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    ssize_t nSize;
    do
        nSize = ::recv(pEndpoint->m_nSocket, pBuffer, ulSize, MSG_DONTWAIT | MSG_TRUNC);
    while (nSize < 0 && errno == EINTR);
    // With MSG_TRUNC the result is the full datagram length: longer means cut, and lost.
    if (nSize < 0 || static_cast<std::size_t>(nSize) > ulSize)
        return false;
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
    long const lNext = NextDatagramSize(pEndpoint->m_nSocket);
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

bool PLATFORM_CloseMailSlot(void * hSlot)
{
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    ::close(pEndpoint->m_nSocket);
    delete pEndpoint;
    return true;
}
