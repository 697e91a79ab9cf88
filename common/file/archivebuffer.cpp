#include "common/file/archivebuffer.h"

#include "common/kernel/memory.h"
#include "common/platform/rawfile.h"

namespace
{
// Up to this much of a unit's file bytes are read in one view, sparing a system call
// per entry; more would hold too much of the archive at once.
constexpr std::uint64_t UNIT_VIEW_SIZE = 4u << 20;

void * s_pBuffer = nullptr;
std::uint32_t s_ulBufferSize = 0;
} // namespace

void * ARCHIVE_CopyBuffer(std::uint32_t ulSize)
{
    if (ulSize == 0 || ulSize > ARCHIVE_COPY_CHUNK)
        return nullptr;
    if (ulSize > s_ulBufferSize)
    {
        ARCHIVE_ReleaseCopyBuffer();
        s_pBuffer = MEM_Alloc(ulSize);
        s_ulBufferSize = s_pBuffer != nullptr ? ulSize : 0;
    }
    return s_pBuffer;
}

void ARCHIVE_ReleaseCopyBuffer()
{
    if (s_pBuffer != nullptr)
        MEM_Free(s_pBuffer);
    s_pBuffer = nullptr;
    s_ulBufferSize = 0;
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

void const * CArchiveSource::ViewOf(std::uint64_t ullOffset, std::uint32_t ulSize) const
{
    if (ulSize == 0 || m_View.pBase == nullptr || ullOffset < m_ullFilesFrom ||
        ullOffset + ulSize > m_ullFilesTo)
        return nullptr;
    return static_cast<char const *>(m_View.pData) + (ullOffset - m_ullFilesFrom);
}
