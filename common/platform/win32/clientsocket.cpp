// Winsock: UDP and TCP through getaddrinfo, non-blocking and connected. Windows has no
// local datagram socket, so a path is refused.
#include "../clientsocket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

namespace
{
std::string ErrorText(int nError)
{
    char szText[256] = "";
    ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                     static_cast<DWORD>(nError), 0, szText, sizeof(szText), nullptr);
    std::string sText = szText;
    while (!sText.empty() && (sText.back() == '\n' || sText.back() == '\r' || sText.back() == '.'))
        sText.pop_back();
    return sText.empty() ? "Winsock error " + std::to_string(nError) : sText;
}

// Winsock is started once for the process and left running until it ends.
bool StartWinsock(std::string & sError)
{
    static bool s_bStarted = false;
    WSADATA Data;
    if (!s_bStarted && ::WSAStartup(MAKEWORD(2, 2), &Data) != 0)
    {
        sError = "Winsock could not be started";
        return false;
    }
    s_bStarted = true;
    return true;
}

SOCKET Handle(std::intptr_t hSocket)
{
    return static_cast<SOCKET>(hSocket);
}
} // namespace

std::intptr_t PLATFORM_OpenClientSocket(ePlatformSocketKind eKind, char const * szHost,
                                        char const * szPort, std::string & sError)
{
    sError.clear();
    if (eKind == PLATFORM_SOCKET_LOCAL)
    {
        sError = "Windows has no local datagram socket";
        return PLATFORM_INVALID_SOCKET;
    }
    if (!StartWinsock(sError))
        return PLATFORM_INVALID_SOCKET;
    addrinfo Hints{};
    Hints.ai_family = AF_UNSPEC;
    Hints.ai_socktype = eKind == PLATFORM_SOCKET_TCP ? SOCK_STREAM : SOCK_DGRAM;
    addrinfo * pFound = nullptr;
    int const nResolved = ::getaddrinfo(szHost, szPort, &Hints, &pFound);
    if (nResolved != 0)
    {
        sError = ErrorText(nResolved);
        return PLATFORM_INVALID_SOCKET;
    }
    SOCKET nSocket = INVALID_SOCKET;
    for (addrinfo * pEach = pFound; pEach != nullptr && nSocket == INVALID_SOCKET;
         pEach = pEach->ai_next)
    {
        nSocket = ::WSASocketW(pEach->ai_family, pEach->ai_socktype, pEach->ai_protocol, nullptr, 0,
                               WSA_FLAG_NO_HANDLE_INHERIT);
        if (nSocket == INVALID_SOCKET)
            continue;
        u_long ulNonBlocking = 1;
        if (::ioctlsocket(nSocket, FIONBIO, &ulNonBlocking) != 0 ||
            (::connect(nSocket, pEach->ai_addr, static_cast<int>(pEach->ai_addrlen)) != 0 &&
             ::WSAGetLastError() != WSAEWOULDBLOCK))
        {
            sError = ErrorText(::WSAGetLastError());
            ::closesocket(nSocket);
            nSocket = INVALID_SOCKET;
        }
    }
    ::freeaddrinfo(pFound);
    if (nSocket == INVALID_SOCKET)
    {
        if (sError.empty())
            sError = "no usable address";
        return PLATFORM_INVALID_SOCKET;
    }
    return static_cast<std::intptr_t>(nSocket);
}

int PLATFORM_GetSocketConnected(std::intptr_t hSocket, std::string & sError)
{
    // A connection that failed is reported in the exception set.
    fd_set Failed;
    FD_ZERO(&Failed);
    FD_SET(Handle(hSocket), &Failed);
    timeval Now{0, 0};
    if (::select(0, nullptr, nullptr, &Failed, &Now) == 1)
    {
        int nError = 0;
        int nLength = sizeof(nError);
        ::getsockopt(Handle(hSocket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&nError),
                     &nLength);
        sError = ErrorText(nError != 0 ? nError : WSAECONNREFUSED);
        return -1;
    }
    sockaddr_storage Peer{};
    int nPeerLength = sizeof(Peer);
    if (::getpeername(Handle(hSocket), reinterpret_cast<sockaddr *>(&Peer), &nPeerLength) == 0)
        return 1;
    int const nError = ::WSAGetLastError();
    if (nError == WSAENOTCONN)
        return 0;
    sError = ErrorText(nError);
    return -1;
}

long long PLATFORM_SendSocket(std::intptr_t hSocket, void const * pData, std::size_t nSize,
                              std::string & sError)
{
    int const nSent =
        ::send(Handle(hSocket), static_cast<char const *>(pData), static_cast<int>(nSize), 0);
    if (nSent != SOCKET_ERROR)
        return nSent;
    int const nError = ::WSAGetLastError();
    if (nError == WSAEWOULDBLOCK || nError == WSAENOBUFS)
        return 0;
    sError = ErrorText(nError);
    return -1;
}

bool PLATFORM_WaitSocketWritable(std::intptr_t hSocket, int nMilliseconds)
{
    fd_set Writable;
    fd_set Failed;
    FD_ZERO(&Writable);
    FD_ZERO(&Failed);
    FD_SET(Handle(hSocket), &Writable);
    FD_SET(Handle(hSocket), &Failed);
    timeval Timeout{nMilliseconds / 1000, (nMilliseconds % 1000) * 1000};
    return ::select(0, nullptr, &Writable, &Failed, &Timeout) > 0;
}

void PLATFORM_CloseSocket(std::intptr_t hSocket)
{
    if (hSocket != PLATFORM_INVALID_SOCKET)
        ::closesocket(Handle(hSocket));
}
