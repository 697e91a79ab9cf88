#include "common/platform/filestream.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/platform/diskpath.h"

// A stream opened into a block is a C stream over functions of ours (fopencookie) that
// read with pread and write with pwrite at an offset kept in the block: opening it asks
// the system for the open (and, to read, the regular-file check) only, where fdopen
// would ask for the descriptor's flags and a seek besides, and its position costs no
// system call. The block starts with that state; the stream's buffer follows. Small
// transfers and the position take the stream's buffer pointers, which glibc's stdio.h
// lays open for its getc and putc macros, as those macros do.
namespace
{
struct sStreamState
{
    std::FILE * m_pStream; // the stream open on this block, null after its close
    int m_nFile;
    std::int64_t m_llOffset; // where the next read from the file starts
};

constexpr std::size_t STATE_SIZE = 64;
constexpr std::size_t BUFFER_SIZE = 4096;
static_assert(sizeof(sStreamState) <= STATE_SIZE, "the state fits before the buffer");

ssize_t ReadFromFile(void * pCookie, char * pBuffer, std::size_t nSize)
{
    sStreamState * pState = static_cast<sStreamState *>(pCookie);
    ssize_t nRead = 0;
    do
        nRead = ::pread(pState->m_nFile, pBuffer, nSize, pState->m_llOffset);
    while (nRead < 0 && errno == EINTR);
    if (nRead > 0)
        pState->m_llOffset += nRead;
    return nRead;
}

ssize_t WriteToFile(void * pCookie, char const * pBuffer, std::size_t nSize)
{
    sStreamState * pState = static_cast<sStreamState *>(pCookie);
    std::size_t nDone = 0;
    while (nDone < nSize)
    {
        ssize_t const nWritten =
            ::pwrite(pState->m_nFile, pBuffer + nDone, nSize - nDone, pState->m_llOffset);
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            break;
        nDone += static_cast<std::size_t>(nWritten);
        pState->m_llOffset += nWritten;
    }
    // A failure is told by a short count, 0 when nothing went out: glibc takes a negative
    // count of a cookie stream as a count and reads past the caller's buffer behind it.
    return static_cast<ssize_t>(nDone);
}

int SeekInFile(void * pCookie, off64_t * pllOffset, int nWhence)
{
    sStreamState * pState = static_cast<sStreamState *>(pCookie);
    std::int64_t llBase = 0;
    if (nWhence == SEEK_CUR)
        llBase = pState->m_llOffset;
    else if (nWhence == SEEK_END)
    {
        struct stat Status;
        if (::fstat(pState->m_nFile, &Status) != 0)
            return -1;
        llBase = Status.st_size;
    }
    else if (nWhence != SEEK_SET)
    {
        errno = EINVAL;
        return -1;
    }
    std::int64_t const llTarget = llBase + *pllOffset;
    if (llTarget < 0)
    {
        errno = EINVAL;
        return -1;
    }
    pState->m_llOffset = llTarget;
    *pllOffset = llTarget;
    return 0;
}

int CloseFile(void * pCookie)
{
    sStreamState * pState = static_cast<sStreamState *>(pCookie);
    pState->m_pStream = nullptr;
    return ::close(pState->m_nFile);
}

// The state of pBlock when pStream is the stream open on it, else null.
sStreamState * StateOf(void * pBlock, std::FILE * pStream)
{
    sStreamState * pState = static_cast<sStreamState *>(pBlock);
    return pState != nullptr && pState->m_pStream == pStream ? pState : nullptr;
}

// Makes the stream of pState over its descriptor, buffered in the rest of the block.
std::FILE * OpenStateStream(sStreamState * pState, char const * szMode)
{
    cookie_io_functions_t const Functions = {ReadFromFile, WriteToFile, SeekInFile, CloseFile};
    std::FILE * pStream = ::fopencookie(pState, szMode, Functions);
    if (pStream == nullptr)
    {
        ::close(pState->m_nFile);
        return nullptr;
    }
    std::setvbuf(pStream, reinterpret_cast<char *>(pState) + STATE_SIZE, _IOFBF, BUFFER_SIZE);
    ::__fsetlocking(pStream, FSETLOCKING_BYCALLER);
    pState->m_pStream = pStream;
    return pStream;
}

// Without a block: a stream of the C library on the descriptor, placed by one seek.
std::FILE * OpenPlainStream(int nFile, std::uint64_t ullOffset)
{
    std::FILE * pStream = ::fdopen(nFile, "rb");
    if (pStream == nullptr)
    {
        ::close(nFile);
        return nullptr;
    }
    ::__fsetlocking(pStream, FSETLOCKING_BYCALLER);
    std::fseek(pStream, static_cast<long>(ullOffset), SEEK_CUR);
    return pStream;
}
} // namespace

std::size_t const PLATFORM_STREAM_BLOCK_SIZE = STATE_SIZE + BUFFER_SIZE;

std::FILE * PLATFORM_OpenStreamToRead(char const * szPath, std::uint64_t ullOffset, void * pBlock,
                                      std::uint64_t * pullSize)
{
    // A block that holds no open stream says so from here on, whatever it held before.
    sStreamState * pState = static_cast<sStreamState *>(pBlock);
    if (pState != nullptr)
        pState->m_pStream = nullptr;
    char szDiskPath[PATH_MAX];
    if (!PLATFORM_DiskPathInto(szPath, szDiskPath, sizeof(szDiskPath)))
    {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    // Without blocking, so that a pipe or device at the place of a file fails at once;
    // a regular file reads alike with or without the flag, so it stays.
    int const nFile = ::open(szDiskPath, O_RDONLY | O_NONBLOCK);
    if (nFile < 0)
        return nullptr;
    struct stat Status;
    if (::fstat(nFile, &Status) != 0 || !S_ISREG(Status.st_mode))
    {
        ::close(nFile);
        errno = EISDIR;
        return nullptr;
    }
    *pullSize = Status.st_size > 0 ? static_cast<std::uint64_t>(Status.st_size) : 0;
    if (pState == nullptr)
        return OpenPlainStream(nFile, ullOffset);

    pState->m_nFile = nFile;
    pState->m_llOffset = static_cast<std::int64_t>(ullOffset);
    return OpenStateStream(pState, "rb");
}

std::FILE * PLATFORM_OpenStreamToWrite(char const * szPath, char const * szMode, void * pBlock)
{
    sStreamState * pState = static_cast<sStreamState *>(pBlock);
    if (pState != nullptr)
        pState->m_pStream = nullptr;
    // Appending writes at the file's end whatever the offset, which the system knows
    // and the state would not: such a stream stays the C library's own.
    if (pState != nullptr && szMode[0] == 'w')
    {
        int const nFile =
            ::open(PLATFORM_DiskPath(szPath).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        if (nFile < 0)
            return nullptr;
        pState->m_nFile = nFile;
        pState->m_llOffset = 0;
        return OpenStateStream(pState, "wb");
    }
    std::FILE * pStream = std::fopen(PLATFORM_DiskPath(szPath).c_str(), szMode);
    if (pStream == nullptr)
        return nullptr;
    ::__fsetlocking(pStream, FSETLOCKING_BYCALLER);
    // The C library keeps a written stream's position only once it has learnt it: one
    // seek here, and ftell after each write needs no system call.
    if (szMode[0] == 'w')
        std::fseek(pStream, 0, SEEK_CUR);
    return pStream;
}

std::size_t PLATFORM_ReadFileStream(void * pBuffer, std::size_t nSize, std::FILE * pStream,
                                    void * pBlock)
{
    if (static_cast<std::size_t>(pStream->_IO_read_end - pStream->_IO_read_ptr) >= nSize)
    {
        std::memcpy(pBuffer, pStream->_IO_read_ptr, nSize);
        pStream->_IO_read_ptr += nSize;
        return nSize;
    }
    sStreamState * pState = StateOf(pBlock, pStream);
    if (pState == nullptr || nSize < BUFFER_SIZE)
        return ::fread_unlocked(pBuffer, 1, nSize, pStream);
    // A stream over our functions fills its buffer a buffer at a time, which would cut a
    // large read into as many system calls: the buffer gives what it holds, and the rest
    // comes straight from the file. The buffer is empty afterwards, so that the stream's
    // position is the state's offset, as it is after a read of the stream itself.
    long const lPosition = std::ftell(pStream);
    if (lPosition < 0 || lPosition > pState->m_llOffset)
        return ::fread_unlocked(pBuffer, 1, nSize, pStream);
    std::size_t nDone = 0;
    std::size_t const nBuffered = static_cast<std::size_t>(pState->m_llOffset - lPosition);
    if (nBuffered > 0)
    {
        nDone = ::fread_unlocked(pBuffer, 1, nBuffered < nSize ? nBuffered : nSize, pStream);
        if (nDone < nBuffered)
            return nDone;
    }
    char * pNext = static_cast<char *>(pBuffer);
    while (nDone < nSize)
    {
        ssize_t const nRead = ReadFromFile(pState, pNext + nDone, nSize - nDone);
        if (nRead <= 0)
            break;
        nDone += static_cast<std::size_t>(nRead);
    }
    return nDone;
}

std::size_t PLATFORM_WriteFileStream(void const * pBuffer, std::size_t nSize, std::FILE * pStream)
{
    // Room in the buffer is known by its pointers only while the stream writes; putc
    // relies on the same.
    if (static_cast<std::size_t>(pStream->_IO_write_end - pStream->_IO_write_ptr) > nSize)
    {
        std::memcpy(pStream->_IO_write_ptr, pBuffer, nSize);
        pStream->_IO_write_ptr += nSize;
        return nSize;
    }
    return ::fwrite_unlocked(pBuffer, 1, nSize, pStream);
}

long PLATFORM_TellFileStream(std::FILE * pStream, void const * pBlock)
{
    sStreamState const * pState = static_cast<sStreamState const *>(pBlock);
    if (pState == nullptr || pState->m_pStream != pStream)
        return std::ftell(pStream);
    // What ftell computes for such a stream, without its calls: the state's offset, plus
    // what waits in the buffer to be written, less what the buffer holds unread. A stream
    // opened here only reads or only writes, so one of the two is always 0.
    std::int64_t const llPosition = pState->m_llOffset +
                                    (pStream->_IO_write_ptr - pStream->_IO_write_base) -
                                    (pStream->_IO_read_end - pStream->_IO_read_ptr);
    return llPosition <= LONG_MAX ? static_cast<long>(llPosition) : -1;
}
