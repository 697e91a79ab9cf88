#include "common/file/archivebuffer.h"

#include "common/kernel/memory.h"

namespace
{
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
