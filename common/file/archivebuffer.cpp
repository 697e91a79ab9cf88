#include "common/file/archivebuffer.h"

#include "common/kernel/memory.h"
#include "common/platform/largeblock.h"
#include "common/platform/rawfile.h"

namespace
{
// Below this a block of the MEM_ heap serves; above it a large block, whose first touch
// costs far fewer page faults.
constexpr std::uint32_t LARGE_BUFFER = 1u << 20;
// From this size on a file is mapped rather than copied: below it, the copy stays in
// the cache and costs less than setting up and tearing down a mapping.
constexpr std::uint32_t VIEW_SIZE = 1u << 20;
// Up to this much of a unit's file bytes are read in one view, sparing a read per
// entry; more would hold too much of the archive at once.
constexpr std::uint64_t UNIT_VIEW_SIZE = 4u << 20;

void * s_pBuffer = nullptr;
std::uint32_t s_ulBufferSize = 0;
} // namespace

void * ARCHIVE_CopyBuffer(std::uint32_t ulSize)
{
    if (ulSize == 0)
        return nullptr;
    if (ulSize > s_ulBufferSize)
    {
        ARCHIVE_ReleaseCopyBuffer();
        s_pBuffer = ulSize >= LARGE_BUFFER ? PLATFORM_AllocLargeBlock(ulSize) : MEM_Alloc(ulSize);
        s_ulBufferSize = s_pBuffer != nullptr ? ulSize : 0;
    }
    return s_pBuffer;
}

void ARCHIVE_ReleaseCopyBuffer()
{
    if (s_pBuffer != nullptr && s_ulBufferSize >= LARGE_BUFFER)
        PLATFORM_FreeLargeBlock(s_pBuffer, s_ulBufferSize);
    else if (s_pBuffer != nullptr)
        MEM_Free(s_pBuffer);
    s_pBuffer = nullptr;
    s_ulBufferSize = 0;
}

bool CArchiveData::Read(int nFile, std::uint64_t ullFileSize, std::uint64_t ullOffset,
                        std::uint32_t ulSize)
{
    PLATFORM_UnmapFileRange(m_View);
    m_pData = nullptr;
    m_bView = false;
    if (ulSize == 0)
        return true;
    if (ullOffset > ullFileSize || ullFileSize - ullOffset < ulSize)
        return false;
    // A mapping that can't be had (memory, or a file system without mappings) leaves
    // the copy, which reports a failure to read as before.
    if (ulSize >= VIEW_SIZE && PLATFORM_MapFileRange(nFile, ullOffset, ulSize, m_View))
    {
        m_pData = m_View.pData;
        m_bView = true;
        return true;
    }
    void * const pBuffer = ARCHIVE_CopyBuffer(ulSize);
    if (pBuffer == nullptr || !PLATFORM_ReadFileAt(nFile, pBuffer, ulSize, ullOffset))
        return false;
    m_pData = pBuffer;
    return true;
}

void CArchiveData::Borrow(void const * pData)
{
    PLATFORM_UnmapFileRange(m_View);
    m_pData = pData;
    m_bView = true;
}

CArchiveSource::CArchiveSource(std::uint64_t ullFilesFrom, std::uint64_t ullFilesTo)
    : m_ullFilesFrom(ullFilesFrom), m_ullFilesTo(ullFilesTo)
{
}

CArchiveSource::~CArchiveSource()
{
    PLATFORM_UnmapFileRange(m_View);
    if (m_nFile != -1)
        PLATFORM_CloseFileDescriptor(m_nFile);
}

bool CArchiveSource::Open(char const * szPath)
{
    m_nFile = PLATFORM_OpenFileForReading(szPath, m_ullLength);
    if (m_nFile == -1)
        return false;
    std::uint64_t const ullBytes = m_ullFilesTo - m_ullFilesFrom;
    if (m_ullFilesFrom < m_ullFilesTo && m_ullFilesTo <= m_ullLength && ullBytes <= UNIT_VIEW_SIZE)
        PLATFORM_MapFileRange(m_nFile, m_ullFilesFrom, static_cast<std::size_t>(ullBytes), m_View);
    return true;
}

bool CArchiveSource::Read(std::uint64_t ullOffset, std::uint32_t ulSize, CArchiveData & Data) const
{
    if (ulSize > 0 && m_View.pBase != nullptr && ullOffset >= m_ullFilesFrom &&
        ullOffset + ulSize <= m_ullFilesTo)
    {
        Data.Borrow(static_cast<char const *>(m_View.pData) + (ullOffset - m_ullFilesFrom));
        return true;
    }
    return Data.Read(m_nFile, m_ullLength, ullOffset, ulSize);
}
