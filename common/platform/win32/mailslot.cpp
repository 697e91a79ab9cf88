// Windows mailslots. A server creates "\\.\mailslot\NAME" with a read time-out of 0, so
// that no read waits; a client opens the name with CreateFileA. A "\\*\" client is a
// broadcast, which Windows opens without a server. Where the system cannot open a
// broadcast name (wine), the client sends to the local slot of the same NAME instead,
// opening it when a send finds it closed; a send that finds no server is dropped.
// Windows keeps no bound on a slot's queue, so a send never finds it full.
#include "common/platform/mailslot.h"

#include <atomic>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <windows.h>

namespace
{
struct sMailSlotEndpoint
{
    std::atomic<int> m_nShares; // handles on this endpoint; freed with the last
    HANDLE m_hSlot;             // INVALID_HANDLE_VALUE for a local broadcast that found no server
    std::uint32_t m_ulLost;     // client: messages not delivered
    bool m_bServer;
    bool m_bBroadcast;
    bool m_bLocalBroadcast; // sends to m_sLocalName, opened on demand
    std::string m_sLocalName;
};

// NAME's local slot.
std::string LocalName(char const * szBase)
{
    return std::string("\\\\.\\mailslot\\") + szBase;
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

// A second writer of the same slot needs the share flags (wine insists on them).
HANDLE OpenForWriting(char const * szName)
{
    return ::CreateFileA(szName, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

void * NewEndpoint(HANDLE hSlot, bool bServer, bool bBroadcast, bool bLocalBroadcast,
                   std::string const & sLocalName)
{
    sMailSlotEndpoint * pEndpoint = new (std::nothrow) sMailSlotEndpoint;
    if (pEndpoint == nullptr)
    {
        if (hSlot != INVALID_HANDLE_VALUE)
            ::CloseHandle(hSlot);
        return PLATFORM_INVALID_MAILSLOT;
    }
    pEndpoint->m_nShares = 1;
    pEndpoint->m_hSlot = hSlot;
    pEndpoint->m_ulLost = 0;
    pEndpoint->m_bServer = bServer;
    pEndpoint->m_bBroadcast = bBroadcast;
    pEndpoint->m_bLocalBroadcast = bLocalBroadcast;
    pEndpoint->m_sLocalName = sLocalName;
    return pEndpoint;
}

void CountLost(sMailSlotEndpoint & Endpoint)
{
    if (Endpoint.m_ulLost < 0xFFFFFFFFu)
        ++Endpoint.m_ulLost;
}

bool SendLocalBroadcast(sMailSlotEndpoint & Endpoint, void const * pData, std::uint32_t ulSize)
{
    if (Endpoint.m_hSlot == INVALID_HANDLE_VALUE)
        Endpoint.m_hSlot = OpenForWriting(Endpoint.m_sLocalName.c_str());
    if (Endpoint.m_hSlot == INVALID_HANDLE_VALUE)
    {
        CountLost(Endpoint);
        return true;
    }
    DWORD dwWritten = 0;
    if (!::WriteFile(Endpoint.m_hSlot, pData, ulSize, &dwWritten, nullptr))
    {
        CountLost(Endpoint);
        // The server went away: this message is lost, the next send looks again.
        ::CloseHandle(Endpoint.m_hSlot);
        Endpoint.m_hSlot = INVALID_HANDLE_VALUE;
    }
    return true;
}
} // namespace

void * PLATFORM_CreateMailSlot(char const * szName)
{
    char cHost;
    char const * szBase = nullptr;
    if (!PLATFORM_ParseMailSlotName(szName, cHost, szBase) || cHost != '.')
        return PLATFORM_INVALID_MAILSLOT;
    // A read time-out of 0: a read never waits. A second server of the name is refused.
    HANDLE const hSlot =
        ::CreateMailslotA(LocalName(szBase).c_str(), PLATFORM_MAILSLOT_MAX_MESSAGE, 0, nullptr);
    if (hSlot == INVALID_HANDLE_VALUE)
        return PLATFORM_INVALID_MAILSLOT;
    return NewEndpoint(hSlot, true, false, false, std::string());
}

void * PLATFORM_OpenMailSlot(char const * szName)
{
    char cHost;
    char const * szBase = nullptr;
    if (!PLATFORM_ParseMailSlotName(szName, cHost, szBase))
        return PLATFORM_INVALID_MAILSLOT;
    if (cHost == '.')
    {
        HANDLE const hSlot = OpenForWriting(LocalName(szBase).c_str());
        if (hSlot == INVALID_HANDLE_VALUE)
            return PLATFORM_INVALID_MAILSLOT;
        return NewEndpoint(hSlot, false, false, false, std::string());
    }
    HANDLE const hBroadcast = OpenForWriting(szName);
    if (hBroadcast != INVALID_HANDLE_VALUE)
        return NewEndpoint(hBroadcast, false, true, false, std::string());
    return NewEndpoint(INVALID_HANDLE_VALUE, false, true, true, LocalName(szBase));
}

bool PLATFORM_WriteMailSlot(void * hSlot, void const * pData, std::uint32_t ulSize,
                            std::uint32_t & ulWritten)
{
    ulWritten = 0;
    sMailSlotEndpoint * pEndpoint = Endpoint(hSlot);
    if (pEndpoint == nullptr || pEndpoint->m_bServer)
        return false;
    if (ulSize > PLATFORM_MAILSLOT_MAX_MESSAGE)
    {
        CountLost(*pEndpoint);
        if (!pEndpoint->m_bBroadcast)
            return false;
        ulWritten = ulSize;
        return true;
    }
    if (pEndpoint->m_bLocalBroadcast)
    {
        SendLocalBroadcast(*pEndpoint, pData, ulSize);
        ulWritten = ulSize;
        return true;
    }
    DWORD dwWritten = 0;
    if (!::WriteFile(pEndpoint->m_hSlot, pData, ulSize, &dwWritten, nullptr))
    {
        CountLost(*pEndpoint);
        // A broadcast that nobody takes is lost and still counts as sent.
        if (!pEndpoint->m_bBroadcast)
            return false;
        dwWritten = ulSize;
    }
    ulWritten = dwWritten;
    return true;
}

bool PLATFORM_ReadMailSlot(void * hSlot, void * pBuffer, std::uint32_t ulSize,
                           std::uint32_t & ulRead)
{
    ulRead = 0;
    sMailSlotEndpoint * pEndpoint = ServerEndpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    DWORD dwNext = MAILSLOT_NO_MESSAGE;
    if (!::GetMailslotInfo(pEndpoint->m_hSlot, nullptr, &dwNext, nullptr, nullptr) ||
        dwNext == MAILSLOT_NO_MESSAGE)
        return false;
    if (dwNext > ulSize)
    {
        // Windows keeps a message that does not fit; it is taken and dropped here, so
        // that a fixed-size reader gets past it.
        std::vector<char> Discard(dwNext);
        DWORD dwDiscarded = 0;
        ::ReadFile(pEndpoint->m_hSlot, Discard.data(), dwNext, &dwDiscarded, nullptr);
        return false;
    }
    DWORD dwRead = 0;
    if (!::ReadFile(pEndpoint->m_hSlot, pBuffer, ulSize, &dwRead, nullptr))
        return false;
    ulRead = dwRead;
    return true;
}

bool PLATFORM_GetMailSlotInfo(void * hSlot, std::uint32_t * pulMaxMessageSize,
                              std::uint32_t * pulNextSize, std::uint32_t * pulMessageCount)
{
    sMailSlotEndpoint * pEndpoint = ServerEndpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    DWORD dwMax = 0;
    DWORD dwNext = MAILSLOT_NO_MESSAGE;
    DWORD dwCount = 0;
    if (!::GetMailslotInfo(pEndpoint->m_hSlot, &dwMax, &dwNext, &dwCount, nullptr))
        return false;
    if (pulMaxMessageSize != nullptr)
        *pulMaxMessageSize = dwMax;
    if (pulNextSize != nullptr)
        *pulNextSize = dwNext;
    // As elsewhere, the count says whether a message waits, not how many.
    if (pulMessageCount != nullptr)
        *pulMessageCount = dwNext == MAILSLOT_NO_MESSAGE ? 0 : 1;
    return true;
}

bool PLATFORM_WaitForMailSlot(void * hSlot, std::uint32_t ulTimeout)
{
    sMailSlotEndpoint * pEndpoint = ServerEndpoint(hSlot);
    if (pEndpoint == nullptr)
        return false;
    // A mailslot handle cannot be waited on, and a read with a time-out would take the
    // message: the slot is looked at every millisecond until the time is up.
    DWORD const dwStart = ::GetTickCount();
    for (;;)
    {
        DWORD dwNext = MAILSLOT_NO_MESSAGE;
        if (!::GetMailslotInfo(pEndpoint->m_hSlot, nullptr, &dwNext, nullptr, nullptr))
            return false;
        if (dwNext != MAILSLOT_NO_MESSAGE)
            return true;
        if (::GetTickCount() - dwStart >= ulTimeout)
            return false;
        ::Sleep(1);
    }
}

// Windows does not tell a mailslot server who sent a message.
bool PLATFORM_GetMailSlotSender(void *, sMailSlotSender & Sender)
{
    Sender = sMailSlotSender{false, 0, 0};
    return false;
}

// A Windows sender has no way to tell the server what it lost, so a server counts 0.
std::uint32_t PLATFORM_GetMailSlotLost(void * hSlot)
{
    sMailSlotEndpoint const * pEndpoint = Endpoint(hSlot);
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
    if (pEndpoint->m_nShares.fetch_sub(1) != 1)
        return true;
    if (pEndpoint->m_hSlot != INVALID_HANDLE_VALUE)
        ::CloseHandle(pEndpoint->m_hSlot);
    delete pEndpoint;
    return true;
}
