#include "common/platform/filestream.h"

#include "common/platform/fileopen.h"

// The run-time library reads a request larger than the buffer straight into the
// caller's memory and keeps the position of its streams itself, so the block is the
// stream's buffer and nothing more. The one that mingw-w64 links has no unlocked forms.
std::size_t const PLATFORM_STREAM_BLOCK_SIZE = 4096;

std::FILE * PLATFORM_OpenStreamToRead(char const * szPath, std::uint64_t ullOffset, void * pBlock,
                                      std::uint64_t * pullSize)
{
    return PLATFORM_OpenFileToRead(szPath, ullOffset, static_cast<char *>(pBlock),
                                   PLATFORM_STREAM_BLOCK_SIZE, pullSize);
}

std::FILE * PLATFORM_OpenStreamToWrite(char const * szPath, char const * szMode, void * pBlock)
{
    std::FILE * pStream = PLATFORM_OpenFile(szPath, szMode);
    if (pStream != nullptr && pBlock != nullptr)
        std::setvbuf(pStream, static_cast<char *>(pBlock), _IOFBF, PLATFORM_STREAM_BLOCK_SIZE);
    return pStream;
}

std::size_t PLATFORM_ReadFileStream(void * pBuffer, std::size_t nSize, std::FILE * pStream,
                                    void * pBlock)
{
    static_cast<void>(pBlock);
    return std::fread(pBuffer, 1, nSize, pStream);
}

std::size_t PLATFORM_WriteFileStream(void const * pBuffer, std::size_t nSize, std::FILE * pStream)
{
    return std::fwrite(pBuffer, 1, nSize, pStream);
}

long PLATFORM_TellFileStream(std::FILE * pStream, void const * pBlock)
{
    static_cast<void>(pBlock);
    return std::ftell(pStream);
}
