#include "common/file/memfileio.h"

#include <cstdint>

#include "common/exception/zrexception.h"
#include "common/kernel/check.h"
#include "common/kernel/memory.h"

static char const s_szSourceFile[] = "common/file/memfileio";

CMemFileIO::CMemFileIO(std::uint32_t ulGrowBytes)
    : m_ulGrowBytes(ulGrowBytes), m_ulPosition(0), m_ulBufferSize(0), m_ulFileSize(0),
      m_pBuffer(nullptr), m_bOwnsBuffer(true)
{
}

CMemFileIO::CMemFileIO(unsigned char * pBuffer, std::uint32_t ulBufferSize,
                       std::uint32_t ulGrowBytes)
    : m_ulGrowBytes(0), m_ulPosition(0), m_ulBufferSize(0), m_ulFileSize(0), m_pBuffer(nullptr),
      m_bOwnsBuffer(true)
{
    Attach(pBuffer, ulBufferSize, ulGrowBytes);
}

CMemFileIO::CMemFileIO(CMemFileIO const & Other)
    : CFileIO(Other), m_ulGrowBytes(0), m_ulPosition(0), m_ulBufferSize(0), m_ulFileSize(0),
      m_pBuffer(nullptr), m_bOwnsBuffer(false)
{
    CopyFrom(Other);
}

CMemFileIO & CMemFileIO::operator=(CMemFileIO const & Other)
{
    if (this == &Other)
        return *this;
    CMemFileIO Copy(Other);
    Close();
    CFileIO::operator=(Other);
    // The copy's block becomes this stream's: the copy is left empty, owning nothing.
    m_ulGrowBytes = Copy.m_ulGrowBytes;
    m_ulPosition = Copy.m_ulPosition;
    m_ulBufferSize = Copy.m_ulBufferSize;
    m_ulFileSize = Copy.m_ulFileSize;
    m_pBuffer = Copy.m_pBuffer;
    m_bOwnsBuffer = Copy.m_bOwnsBuffer;
    Copy.m_pBuffer = nullptr;
    Copy.m_ulBufferSize = 0;
    Copy.m_ulFileSize = 0;
    return *this;
}

CMemFileIO::~CMemFileIO() noexcept(false)
{
    Flush();
    Close();
}

void CMemFileIO::Attach(unsigned char * pBuffer, std::uint32_t ulBufferSize,
                        std::uint32_t ulGrowBytes)
{
    ZR_CHECK(pBuffer != NULL, s_szSourceFile);
    m_ulGrowBytes = ulGrowBytes;
    m_ulPosition = 0;
    m_ulBufferSize = ulBufferSize;
    m_pBuffer = pBuffer;
    m_bOwnsBuffer = false;
    m_ulFileSize = ulGrowBytes == 0 ? ulBufferSize : 0;
}

unsigned char * CMemFileIO::Detach()
{
    unsigned char * pBuffer = m_pBuffer;
    m_pBuffer = nullptr;
    m_ulPosition = 0;
    m_ulBufferSize = 0;
    m_ulFileSize = 0;
    m_bOwnsBuffer = false;
    return pBuffer;
}

void CMemFileIO::SetSize(std::uint32_t ulNewSize)
{
    if (ulNewSize > m_ulBufferSize)
        GrowFile(ulNewSize);
    if (ulNewSize < m_ulPosition)
        m_ulPosition = ulNewSize;
    m_ulFileSize = ulNewSize;
}

bool CMemFileIO::Open(char const * szName, int nMode)
{
    static_cast<void>(szName);
    static_cast<void>(nMode);
    return true;
}

bool CMemFileIO::Close()
{
    m_ulGrowBytes = 0;
    m_ulPosition = 0;
    m_ulBufferSize = 0;
    m_ulFileSize = 0;
    if (m_pBuffer != nullptr && m_bOwnsBuffer)
        Free(m_pBuffer);
    m_pBuffer = nullptr;
    return true;
}

bool CMemFileIO::Flush()
{
    return true;
}

bool CMemFileIO::Read(vector3 & vValue)
{
    return CFileIO::Read(vValue);
}

bool CMemFileIO::Read(vector2 & vValue)
{
    return CFileIO::Read(vValue);
}

bool CMemFileIO::Read(bool & bValue)
{
    return CFileIO::Read(bValue);
}

bool CMemFileIO::Read(unsigned long & ulValue)
{
    return CFileIO::Read(ulValue);
}

bool CMemFileIO::Read(long & lValue)
{
    return CFileIO::Read(lValue);
}

bool CMemFileIO::Read(double & dValue)
{
    return CFileIO::Read(dValue);
}

bool CMemFileIO::Read(char & cValue)
{
    return CFileIO::Read(cValue);
}

bool CMemFileIO::Read(float & fValue)
{
    return CFileIO::Read(fValue);
}

bool CMemFileIO::Read(unsigned int & uValue)
{
    return CFileIO::Read(uValue);
}

bool CMemFileIO::Read(int & nValue)
{
    return CFileIO::Read(nValue);
}

bool CMemFileIO::Read(unsigned short & usValue)
{
    return CFileIO::Read(usValue);
}

bool CMemFileIO::Read(short & sValue)
{
    return CFileIO::Read(sValue);
}

bool CMemFileIO::Read(CZRString & sValue)
{
    return CFileIO::Read(sValue);
}

bool CMemFileIO::Read(void * pBuffer, std::uint32_t ulSize)
{
    if (ulSize == 0)
        return true;
    if (m_ulPosition > m_ulFileSize)
        return false;
    std::uint32_t const ulRemaining = m_ulFileSize - m_ulPosition;
    std::uint32_t const ulCount = ulSize > ulRemaining ? ulRemaining : ulSize;
    if (ulCount == 0)
        return false;
    Memcpy(static_cast<unsigned char *>(pBuffer), m_pBuffer + m_ulPosition, ulCount);
    m_ulPosition += ulCount;
    return true;
}

bool CMemFileIO::Write(vector3 const & vValue)
{
    return CFileIO::Write(vValue);
}

bool CMemFileIO::Write(vector2 const & vValue)
{
    return CFileIO::Write(vValue);
}

bool CMemFileIO::Write(bool bValue)
{
    return CFileIO::Write(bValue);
}

bool CMemFileIO::Write(unsigned long ulValue)
{
    return CFileIO::Write(ulValue);
}

bool CMemFileIO::Write(long lValue)
{
    return CFileIO::Write(lValue);
}

bool CMemFileIO::Write(double dValue)
{
    return CFileIO::Write(dValue);
}

bool CMemFileIO::Write(char cValue)
{
    return CFileIO::Write(cValue);
}

bool CMemFileIO::Write(float fValue)
{
    return CFileIO::Write(fValue);
}

bool CMemFileIO::Write(unsigned int uValue)
{
    return CFileIO::Write(uValue);
}

bool CMemFileIO::Write(int nValue)
{
    return CFileIO::Write(nValue);
}

bool CMemFileIO::Write(unsigned short usValue)
{
    return CFileIO::Write(usValue);
}

bool CMemFileIO::Write(short sValue)
{
    return CFileIO::Write(sValue);
}

bool CMemFileIO::Write(CZRString const & sValue)
{
    return CFileIO::Write(sValue);
}

bool CMemFileIO::Write(void const * pBuffer, std::uint32_t ulSize)
{
    if (ulSize == 0)
        return true;
    // Positions are 32-bit: an end beyond them is a block that can't be had.
    std::uint64_t const ullEnd = static_cast<std::uint64_t>(m_ulPosition) + ulSize;
    if (ullEnd > UINT32_MAX)
        ThrowException(m_ulGrowBytes == 0 ? 4600 : 4601, __LINE__, s_szSourceFile, "");
    if (m_ulPosition + ulSize > m_ulBufferSize)
        GrowFile(m_ulPosition + ulSize);
    ZR_CHECK((m_ulPosition + ulSize) <= m_ulBufferSize, s_szSourceFile);
    Memcpy(m_pBuffer + m_ulPosition, static_cast<unsigned char const *>(pBuffer), ulSize);
    m_ulPosition += ulSize;
    if (m_ulPosition > m_ulFileSize)
        m_ulFileSize = m_ulPosition;
    return true;
}

bool CMemFileIO::Printf(char const * szFormat, ...)
{
    static_cast<void>(szFormat);
    return false;
}

bool CMemFileIO::IsOpened() const
{
    return true;
}

bool CMemFileIO::IsEof() const
{
    return m_ulPosition >= m_ulFileSize;
}

bool CMemFileIO::SetFilePointerPos(std::uint32_t ulPos)
{
    m_ulPosition = ulPos;
    return true;
}

bool CMemFileIO::Skip(std::int32_t lOffset)
{
    // Signed 32-bit arithmetic: a position from 2147483648 on counts as below the start.
    std::int32_t const lPosition =
        static_cast<std::int32_t>(m_ulPosition + static_cast<std::uint32_t>(lOffset));
    if (lPosition < 0)
        ThrowException(4602, __LINE__, s_szSourceFile, "");
    m_ulPosition = static_cast<std::uint32_t>(lPosition);
    return true;
}

std::uint32_t CMemFileIO::GetFilePointerPos() const
{
    return m_ulPosition;
}

std::uint32_t CMemFileIO::GetSize() const
{
    return m_ulFileSize;
}

std::uint32_t CMemFileIO::GetBufferSize() const
{
    return m_ulBufferSize;
}

unsigned char * CMemFileIO::GetBuffer() const
{
    return m_pBuffer;
}

CMemFileIO::operator void *() const
{
    return GetBuffer();
}

unsigned char * CMemFileIO::Alloc(std::uint32_t ulSize)
{
    return static_cast<unsigned char *>(MEM_Alloc(ulSize));
}

unsigned char * CMemFileIO::Realloc(unsigned char * pMemoryBlock, std::uint32_t ulSize)
{
    return static_cast<unsigned char *>(MEM_Realloc(pMemoryBlock, ulSize));
}

void CMemFileIO::Free(unsigned char * pMemoryBlock)
{
    ZR_CHECK(pMemoryBlock != NULL, s_szSourceFile);
    MEM_Free(pMemoryBlock);
}

void CMemFileIO::Memcpy(unsigned char * pDstMemoryBlock, unsigned char const * pSrcMemoryBlock,
                        std::uint32_t ulSize)
{
    ZR_CHECK(pDstMemoryBlock != NULL, s_szSourceFile);
    ZR_CHECK(pSrcMemoryBlock != NULL, s_szSourceFile);
    MEM_Copy(pDstMemoryBlock, pSrcMemoryBlock, ulSize);
}

void CMemFileIO::GrowFile(std::uint32_t ulNewLen)
{
    if (ulNewLen <= m_ulBufferSize)
        return;
    if (m_ulGrowBytes == 0)
        ThrowException(4600, __LINE__, s_szSourceFile, "");
    // The old capacity plus the fewest whole steps that suffice, by one division.
    std::uint64_t const ullSteps =
        (static_cast<std::uint64_t>(ulNewLen - m_ulBufferSize) + m_ulGrowBytes - 1) / m_ulGrowBytes;
    std::uint64_t const ullCapacity = m_ulBufferSize + ullSteps * m_ulGrowBytes;
    if (ullCapacity > UINT32_MAX)
        ThrowException(4601, __LINE__, s_szSourceFile, "");
    std::uint32_t const ulCapacity = static_cast<std::uint32_t>(ullCapacity);
    unsigned char * pNewBuffer =
        m_pBuffer == nullptr ? Alloc(ulCapacity) : Realloc(m_pBuffer, ulCapacity);
    if (pNewBuffer == nullptr)
        ThrowException(4601, __LINE__, s_szSourceFile, "");
    m_pBuffer = pNewBuffer;
    m_ulBufferSize = ulCapacity;
}

void CMemFileIO::CopyFrom(CMemFileIO const & Other)
{
    m_ulGrowBytes = Other.m_ulGrowBytes;
    m_ulPosition = Other.m_ulPosition;
    m_ulBufferSize = Other.m_ulBufferSize;
    m_ulFileSize = Other.m_ulFileSize;
    m_pBuffer = Other.m_pBuffer;
    m_bOwnsBuffer = Other.m_bOwnsBuffer;
    if (!Other.m_bOwnsBuffer || Other.m_pBuffer == nullptr)
        return;
    m_pBuffer = Alloc(Other.m_ulBufferSize);
    if (m_pBuffer == nullptr)
    {
        m_ulBufferSize = 0;
        m_ulFileSize = 0;
        ThrowException(4601, __LINE__, s_szSourceFile, "");
    }
    Memcpy(m_pBuffer, Other.m_pBuffer, Other.m_ulFileSize);
}

void CMemFileIO::ThrowException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                                char const * szError) const
{
    CMemFileIOException const Error(ulCode, ulLine, szFile, szError);
    throw Error;
}
