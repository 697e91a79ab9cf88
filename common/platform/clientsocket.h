// Client sockets to a server on this machine or another: a local datagram socket
// (Linux), UDP or TCP. logmon forwards records to syslog through them, so nothing here
// may hold it up: every socket is non-blocking, a TCP connection is made in the
// background, and only PLATFORM_WaitSocketWritable waits, for at most the time it is
// given. These functions are not part of the shared library: logmon links them alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

enum ePlatformSocketKind
{
    PLATFORM_SOCKET_LOCAL, // a datagram socket at a path (none on Windows)
    PLATFORM_SOCKET_UDP,
    PLATFORM_SOCKET_TCP,
};

constexpr std::intptr_t PLATFORM_INVALID_SOCKET = -1;

// Makes the socket and starts connecting it to szHost:szPort, or to the path szHost of
// a local socket (szPort unused). A TCP connection may still be on its way when this
// returns. PLATFORM_INVALID_SOCKET on failure, with the reason in sError.
std::intptr_t PLATFORM_OpenClientSocket(ePlatformSocketKind eKind, char const * szHost,
                                        char const * szPort, std::string & sError);
// 1 when connected, 0 while a connection is still being made, -1 when it failed (the
// reason in sError). Datagram sockets are connected as soon as they are open.
int PLATFORM_GetSocketConnected(std::intptr_t hSocket, std::string & sError);
// Sends without waiting: the bytes the system took (all or none of a datagram, maybe a
// part for TCP), 0 when it has no room now, -1 when the socket failed (the reason in
// sError; close it then). A refused UDP port or a vanished local server shows here.
long long PLATFORM_SendSocket(std::intptr_t hSocket, void const * pData, std::size_t nSize,
                              std::string & sError);
// Waits at most nMilliseconds until a send can take bytes or a connection is made or
// failed; false on time-out.
bool PLATFORM_WaitSocketWritable(std::intptr_t hSocket, int nMilliseconds);
// PLATFORM_INVALID_SOCKET is allowed.
void PLATFORM_CloseSocket(std::intptr_t hSocket);
