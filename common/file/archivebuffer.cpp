#include "common/file/archivebuffer.h"

#include "common/kernel/memory.h"
#include "common/platform/largeblock.h"

namespace
{
// Below this a block of the MEM_ heap serves; above it a large block, whose first touch
// costs far fewer page faults.
constexpr std::uint32_t LARGE_BUFFER = 1u << 20;

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
