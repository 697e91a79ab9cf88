// CMemFileIO: a CFileIO whose file is a block of memory, so every stored form, binary
// and text, works on it unchanged. It owns a block of its own that grows linearly by
// m_ulGrowBytes, or works on a caller's block (Attach): fixed when the step is 0, else
// grown by MEM_Realloc, which makes the caller's pointer void. The position may pass
// the end of the data; reading there gives false, writing there fills the gap with
// whatever the block held. Never touches the file system. One thread at a time.
#pragma once

#include <cstdint>

#include "common/file/fileio.h"
#include "common/kernel/api.h"

class COMMON_API CMemFileIO : public CFileIO
{
public:
    // An empty stream with no block yet; the block grows in steps of ulGrowBytes as
    // writes need it.
    CMemFileIO(std::uint32_t ulGrowBytes = 1024);
    // Attaches the caller's block; see Attach.
    CMemFileIO(unsigned char * pBuffer, std::uint32_t ulBufferSize, std::uint32_t ulGrowBytes = 0);
    // A copy shares an attached block. A block the stream owns is copied, so that the two
    // streams never free the same block.
    CMemFileIO(CMemFileIO const & Other);
    // Closes this stream (freeing an owned block), then takes a copy of Other by the
    // rules of the copy constructor.
    CMemFileIO & operator=(CMemFileIO const & Other);
    ~CMemFileIO() noexcept(false) override;

    // Works on pBuffer from position 0 without owning it. With ulGrowBytes 0 the block is
    // fixed and all of it is data; otherwise it is an empty file in a block that grows
    // by MEM_Realloc. A block held before is forgotten, not freed.
    void Attach(unsigned char * pBuffer, std::uint32_t ulBufferSize, std::uint32_t ulGrowBytes);
    // Hands the block to the caller, who frees it with MEM_Free; the stream is empty after.
    unsigned char * Detach();
    // Sets the data size; grows the block when needed, never shrinks it, clears nothing.
    void SetSize(std::uint32_t ulNewSize);

    // Nothing to open or flush: both return true.
    bool Open(char const * szName, int nMode) override;
    // Frees an owned block and empties the stream, growth step included. Always true.
    bool Close() override;
    // Always true.
    bool Flush() override;

    // The typed forms are those of CFileIO; each comes down to the raw Read and Write.
    using CFileIO::Read;
    using CFileIO::Write;
    bool Read(vector3 & vValue) override;
    bool Read(vector2 & vValue) override;
    bool Read(bool & bValue) override;
    bool Read(unsigned long & ulValue) override;
    bool Read(long & lValue) override;
    bool Read(double & dValue) override;
    bool Read(char & cValue) override;
    bool Read(float & fValue) override;
    bool Read(unsigned int & uValue) override;
    bool Read(int & nValue) override;
    bool Read(unsigned short & usValue) override;
    bool Read(short & sValue) override;
    bool Read(CZRString & sValue) override;
    // True for size 0; false at or past the end; a read across the end copies what
    // remains and is true.
    bool Read(void * pBuffer, std::uint32_t ulSize) override;

    bool Write(vector3 const & vValue) override;
    bool Write(vector2 const & vValue) override;
    bool Write(bool bValue) override;
    bool Write(unsigned long ulValue) override;
    bool Write(long lValue) override;
    bool Write(double dValue) override;
    bool Write(char cValue) override;
    bool Write(float fValue) override;
    bool Write(unsigned int uValue) override;
    bool Write(int nValue) override;
    bool Write(unsigned short usValue) override;
    bool Write(short sValue) override;
    bool Write(CZRString const & sValue) override;
    // Grows the block when needed (4600 when it can't, 4601 when memory runs out).
    bool Write(void const * pBuffer, std::uint32_t ulSize) override;

    // Not supported on memory: writes nothing and returns false.
    __attribute__((format(printf, 2, 3))) bool Printf(char const * szFormat, ...) override;

    // Always true, also after Close.
    bool IsOpened() const override;
    // True when the position is at or past the end of the data.
    bool IsEof() const override;
    // Any position, also past the end of the data.
    bool SetFilePointerPos(std::uint32_t ulPos) override;
    // 4602 before the start; no limit past the end.
    bool Skip(std::int32_t lOffset) override;
    // The position, which may lie past the end of the data; raises nothing.
    std::uint32_t GetFilePointerPos() const override;
    // The size of the data, not of the block.
    std::uint32_t GetSize() const override;

    // The capacity of the block.
    virtual std::uint32_t GetBufferSize() const;
    // The block, or null; the stream keeps it.
    virtual unsigned char * GetBuffer() const;
    // GetBuffer.
    operator void *() const;

private:
    unsigned char * Alloc(std::uint32_t ulSize);
    unsigned char * Realloc(unsigned char * pMemoryBlock, std::uint32_t ulSize);
    void Free(unsigned char * pMemoryBlock);
    void Memcpy(unsigned char * pDstMemoryBlock, unsigned char const * pSrcMemoryBlock,
                std::uint32_t ulSize);
    // Grows the block linearly to hold at least ulNewLen bytes.
    void GrowFile(std::uint32_t ulNewLen);
    void CopyFrom(CMemFileIO const & Other);
    [[noreturn]] void ThrowException(std::uint32_t ulCode, std::uint32_t ulLine,
                                     char const * szFile, char const * szError) const;

    std::uint32_t m_ulGrowBytes;  // growth step; 0 means the block can't grow
    std::uint32_t m_ulPosition;   // may lie beyond m_ulFileSize
    std::uint32_t m_ulBufferSize; // capacity of the block
    std::uint32_t m_ulFileSize;   // bytes of data, never above m_ulBufferSize
    unsigned char * m_pBuffer;    // the block, or null
    bool m_bOwnsBuffer;           // Close frees the block
};
