// POSIX sockets: AF_UNIX datagrams for a path, UDP and TCP through getaddrinfo. Each is
// connected, so that a refused UDP port or a vanished local server shows as an error of
// a later send.
#include "../clientsocket.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
bool SetNonBlocking(int nSocket)
{
    int const nFlags = ::fcntl(nSocket, F_GETFL);
    return nFlags >= 0 && ::fcntl(nSocket, F_SETFL, nFlags | O_NONBLOCK) == 0;
}

int OpenLocal(char const * szPath, std::string & sError)
{
    sockaddr_un Address{};
    std::size_t const nLength = std::strlen(szPath);
    if (nLength >= sizeof(Address.sun_path))
    {
        sError = "the socket path is too long";
        return -1;
    }
    Address.sun_family = AF_UNIX;
    std::memcpy(Address.sun_path, szPath, nLength + 1);
    int const nSocket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (nSocket < 0 || !SetNonBlocking(nSocket) ||
        ::connect(nSocket, reinterpret_cast<sockaddr *>(&Address), sizeof(Address)) != 0)
    {
        sError = std::strerror(errno);
        if (nSocket >= 0)
            ::close(nSocket);
        return -1;
    }
    return nSocket;
}

int OpenInternet(bool bTcp, char const * szHost, char const * szPort, std::string & sError)
{
    addrinfo Hints{};
    Hints.ai_family = AF_UNSPEC;
    Hints.ai_socktype = bTcp ? SOCK_STREAM : SOCK_DGRAM;
    addrinfo * pFound = nullptr;
    int const nResolved = ::getaddrinfo(szHost, szPort, &Hints, &pFound);
    if (nResolved != 0)
    {
        sError = ::gai_strerror(nResolved);
        return -1;
    }
    int nSocket = -1;
    for (addrinfo * pEach = pFound; pEach != nullptr && nSocket < 0; pEach = pEach->ai_next)
    {
        nSocket = ::socket(pEach->ai_family, pEach->ai_socktype | SOCK_CLOEXEC, pEach->ai_protocol);
        if (nSocket < 0)
            continue;
        if (!SetNonBlocking(nSocket) ||
            (::connect(nSocket, pEach->ai_addr, pEach->ai_addrlen) != 0 && errno != EINPROGRESS))
        {
            sError = std::strerror(errno);
            ::close(nSocket);
            nSocket = -1;
        }
    }
    ::freeaddrinfo(pFound);
    if (nSocket < 0 && sError.empty())
        sError = "no usable address";
    return nSocket;
}
} // namespace

std::intptr_t PLATFORM_OpenClientSocket(ePlatformSocketKind eKind, char const * szHost,
                                        char const * szPort, std::string & sError)
{
    sError.clear();
    int const nSocket = eKind == PLATFORM_SOCKET_LOCAL
                            ? OpenLocal(szHost, sError)
                            : OpenInternet(eKind == PLATFORM_SOCKET_TCP, szHost, szPort, sError);
    return nSocket < 0 ? PLATFORM_INVALID_SOCKET : nSocket;
}

int PLATFORM_GetSocketConnected(std::intptr_t hSocket, std::string & sError)
{
    int const nSocket = static_cast<int>(hSocket);
    int nError = 0;
    socklen_t nLength = sizeof(nError);
    if (::getsockopt(nSocket, SOL_SOCKET, SO_ERROR, &nError, &nLength) != 0)
        nError = errno;
    if (nError != 0)
    {
        sError = std::strerror(nError);
        return -1;
    }
    sockaddr_storage Peer{};
    socklen_t nPeerLength = sizeof(Peer);
    if (::getpeername(nSocket, reinterpret_cast<sockaddr *>(&Peer), &nPeerLength) == 0)
        return 1;
    if (errno == ENOTCONN)
        return 0;
    sError = std::strerror(errno);
    return -1;
}

long long PLATFORM_SendSocket(std::intptr_t hSocket, void const * pData, std::size_t nSize,
                              std::string & sError)
{
    ssize_t const nSent =
        ::send(static_cast<int>(hSocket), pData, nSize, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (nSent >= 0)
        return nSent;
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR || errno == ENOBUFS)
        return 0;
    sError = std::strerror(errno);
    return -1;
}

bool PLATFORM_WaitSocketWritable(std::intptr_t hSocket, int nMilliseconds)
{
    pollfd Poll{static_cast<int>(hSocket), POLLOUT, 0};
    return ::poll(&Poll, 1, nMilliseconds) == 1;
}

void PLATFORM_CloseSocket(std::intptr_t hSocket)
{
    if (hSocket != PLATFORM_INVALID_SOCKET)
        ::close(static_cast<int>(hSocket));
}
