#include "common/mailslot/zrmailslot.h"

#include <cstring>

#include "common/exception/zrexception.h"
#include "common/platform/mailslot.h"

static char const s_szSourceFile[] = "common/mailslot/zrmailslot";

static char const s_szOpenError[] = "Mailslot could not be opened.";
static char const s_szNotOpenedError[] = "There is no mailslot opened.";
static char const s_szReadError[] = "Could not read data to mailslot.";
static char const s_szWriteError[] = "Could not write data to mailslot.";

// The block and the cursor are left alone: BeginRead and BeginWrite set them.
CZRMailSlot::CZRMailSlot()
    : m_hMailSlot(nullptr), m_bServer(false), m_ulTotalBytesWritten(0), m_ulTotalBytesRead(0)
{
}

CZRMailSlot::CZRMailSlot(CZRMailSlot const & Other)
    : m_hMailSlot(Other.m_hMailSlot), m_bServer(Other.m_bServer),
      m_ulTotalBytesWritten(Other.m_ulTotalBytesWritten),
      m_ulTotalBytesRead(Other.m_ulTotalBytesRead), m_ulBufferPos(Other.m_ulBufferPos)
{
    std::memcpy(m_achBuffer, Other.m_achBuffer, sizeof(m_achBuffer));
    if (Other.IsOpened())
        m_hMailSlot = PLATFORM_ShareMailSlot(Other.m_hMailSlot);
}

CZRMailSlot & CZRMailSlot::operator=(CZRMailSlot const & Other)
{
    if (this == &Other)
        return *this;
    void * hShared =
        Other.IsOpened() ? PLATFORM_ShareMailSlot(Other.m_hMailSlot) : Other.m_hMailSlot;
    if (IsOpened())
        Close();
    m_hMailSlot = hShared;
    m_bServer = Other.m_bServer;
    m_ulTotalBytesWritten = Other.m_ulTotalBytesWritten;
    m_ulTotalBytesRead = Other.m_ulTotalBytesRead;
    std::memcpy(m_achBuffer, Other.m_achBuffer, sizeof(m_achBuffer));
    m_ulBufferPos = Other.m_ulBufferPos;
    return *this;
}

CZRMailSlot::~CZRMailSlot()
{
    if (IsOpened())
        Close();
}

bool CZRMailSlot::Open(char const * szName, bool bServer)
{
    if (bServer)
    {
        m_hMailSlot = PLATFORM_CreateMailSlot(szName);
        if (m_hMailSlot == PLATFORM_INVALID_MAILSLOT)
            ThrowException(5000, __LINE__, s_szSourceFile, s_szOpenError);
        m_ulTotalBytesRead = 0;
    }
    else
    {
        m_hMailSlot = PLATFORM_OpenMailSlot(szName);
        if (m_hMailSlot == PLATFORM_INVALID_MAILSLOT)
            ThrowException(5000, __LINE__, s_szSourceFile, s_szOpenError);
        m_ulTotalBytesWritten = 0;
    }
    m_bServer = bServer;
    return true;
}

bool CZRMailSlot::Close()
{
    if (!IsOpened())
        return false;
    PLATFORM_CloseMailSlot(m_hMailSlot);
    m_hMailSlot = nullptr;
    return true;
}

bool CZRMailSlot::IsOpened() const
{
    return m_hMailSlot != nullptr && m_hMailSlot != PLATFORM_INVALID_MAILSLOT;
}

void CZRMailSlot::BeginRead()
{
    if (!IsOpened())
        ThrowException(5001, __LINE__, s_szSourceFile, s_szNotOpenedError);
    m_ulBufferPos = 0;
    std::memset(m_achBuffer, 0, sizeof(m_achBuffer));
    std::uint32_t ulRead = 0;
    // A failed read leaves the zero block; AreMessagesWaiting tells a caller beforehand.
    if (PLATFORM_ReadMailSlot(m_hMailSlot, m_achBuffer, MESSAGE_SIZE, ulRead))
        m_ulTotalBytesRead += ulRead;
    else
        std::memset(m_achBuffer, 0, sizeof(m_achBuffer));
}

bool CZRMailSlot::Read(void * pData, std::uint32_t ulSize)
{
    // Written as a difference, so that a huge ulSize cannot wrap the sum below 400.
    if (ulSize > MESSAGE_SIZE - m_ulBufferPos)
        ThrowException(5002, __LINE__, s_szSourceFile, s_szReadError);
    std::memcpy(pData, m_achBuffer + m_ulBufferPos, ulSize);
    m_ulBufferPos += ulSize;
    return true;
}

bool CZRMailSlot::Read(CZRString & sString)
{
    std::int32_t lLength = 0;
    Read(&lLength, 4);
    if (lLength < 1)
        return true;
    // The length comes from outside: test it before the string lends a buffer of that
    // size, so that a bad block raises 5002 without a huge allocation and without
    // leaving the string's buffer on loan.
    if (static_cast<std::uint32_t>(lLength) > MESSAGE_SIZE - m_ulBufferPos)
        ThrowException(5002, __LINE__, s_szSourceFile, s_szReadError);
    char * pText = sString.GetBuffer(lLength);
    Read(pText, static_cast<std::uint32_t>(lLength));
    sString.ReleaseBuffer(lLength);
    return true;
}

void CZRMailSlot::EndRead() {}

void CZRMailSlot::BeginWrite()
{
    if (!IsOpened())
        ThrowException(5001, __LINE__, s_szSourceFile, s_szNotOpenedError);
    std::memset(m_achBuffer, 0, sizeof(m_achBuffer));
    m_ulBufferPos = 0;
}

bool CZRMailSlot::Write(void const * pData, std::uint32_t ulSize)
{
    if (ulSize > MESSAGE_SIZE - m_ulBufferPos)
        ThrowException(5003, __LINE__, s_szSourceFile, s_szWriteError);
    std::memcpy(m_achBuffer + m_ulBufferPos, pData, ulSize);
    m_ulBufferPos += ulSize;
    return true;
}

bool CZRMailSlot::Write(CZRString const & sString)
{
    std::int32_t const lLength = sString.GetLength();
    Write(&lLength, 4);
    if (lLength >= 1)
        Write(sString.GetString(), static_cast<std::uint32_t>(lLength));
    return true;
}

void CZRMailSlot::EndWrite()
{
    std::uint32_t ulWritten = 0;
    if (!PLATFORM_WriteMailSlot(m_hMailSlot, m_achBuffer, MESSAGE_SIZE, ulWritten))
        ThrowException(5003, __LINE__, s_szSourceFile, s_szWriteError);
    m_ulTotalBytesWritten += ulWritten;
}

bool CZRMailSlot::AreMessagesWaiting() const
{
    if (!m_bServer)
        return false;
    std::uint32_t ulCount = 0;
    if (!PLATFORM_GetMailSlotInfo(m_hMailSlot, nullptr, nullptr, &ulCount))
        return false;
    return ulCount > 0;
}

std::uint32_t CZRMailSlot::GetMessageSize() const
{
    std::uint32_t ulSize = 0;
    if (!PLATFORM_GetMailSlotInfo(m_hMailSlot, nullptr, &ulSize, nullptr))
        return 0;
    return ulSize;
}

std::uint32_t CZRMailSlot::GetMaxMessageSize() const
{
    std::uint32_t ulSize = 0;
    if (!PLATFORM_GetMailSlotInfo(m_hMailSlot, &ulSize, nullptr, nullptr))
        return 0;
    return ulSize;
}

std::uint32_t CZRMailSlot::GetTotalBytesRead() const
{
    return m_ulTotalBytesRead;
}

std::uint32_t CZRMailSlot::GetTotalBytesWritten() const
{
    return m_ulTotalBytesWritten;
}

bool CZRMailSlot::WaitForMessage(std::uint32_t ulTimeout) const
{
    if (!m_bServer)
        return false;
    return PLATFORM_WaitForMailSlot(m_hMailSlot, ulTimeout);
}

bool CZRMailSlot::GetSender(std::uint32_t & ulProcessId, std::uint32_t & ulUserId) const
{
    sMailSlotSender Sender{false, 0, 0};
    if (!m_bServer || !PLATFORM_GetMailSlotSender(m_hMailSlot, Sender))
        return false;
    ulProcessId = Sender.m_ulProcessId;
    ulUserId = Sender.m_ulUserId;
    return true;
}

std::uint32_t CZRMailSlot::GetMessagesLost() const
{
    return IsOpened() ? PLATFORM_GetMailSlotLost(m_hMailSlot) : 0;
}

void CZRMailSlot::ThrowException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                                 char const * szText) const
{
    throw CMailSlotException(ulCode, ulLine, szFile, szText);
}
