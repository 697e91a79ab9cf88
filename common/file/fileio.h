// CFileIO: the library's stream. It holds one handle of the process-wide
// CExtendedFileSystem, which it sets up on the first operation, and so sees search
// roots and files inside .arc archives. Its typed Read and Write define the binary
// stored form: no header, no padding, little-endian, long as 4 bytes, a string as a
// signed 4-byte length and its bytes. All typed and text operations go through the
// virtual raw Read/Write and position operations, so a subclass that replaces those
// (CMemFileIO) inherits every stored form. Keeps no buffer; one thread at a time.
#pragma once

#include <cstdint>

#include "common/file/vectors.h"
#include "common/kernel/api.h"
#include "common/string/zrstring.h"

// The mode bits of Open, tested in this order; the first that is set decides.
enum eFileIOMode
{
    FILEIO_READ = 1,
    FILEIO_CREATE = 2,
    FILEIO_APPEND = 4,
};

class COMMON_API CFileIO
{
public:
    CFileIO();
    // A copy names the same handle; whichever closes it first invalidates the other.
    CFileIO(CFileIO const & Other) = default;
    CFileIO & operator=(CFileIO const & Other) = default;
    // Flushes and closes an open file. Nothing is caught on the way: a handle that a
    // copy has closed already raises 4008 from here, and the host sees it.
    virtual ~CFileIO() noexcept(false);

    // Closes an open file first, then reads (1), creates (2) or appends (4); 4500 when
    // no mode bit is set. True when a file is open afterwards.
    virtual bool Open(char const * szName, int nMode);
    virtual bool Close();
    // False without a file; raises nothing.
    virtual bool Flush();

    // Typed reads: false when nothing was left to read; a value cut off by the end of
    // the file reads as true with its last bytes unset.
    virtual bool Read(vector4 & vValue);
    virtual bool Read(vector3 & vValue);
    virtual bool Read(vector2 & vValue);
    virtual bool Read(bool & bValue);
    virtual bool Read(unsigned long & ulValue);
    virtual bool Read(long & lValue);
    virtual bool Read(double & dValue);
    virtual bool Read(char & cValue);
    virtual bool Read(float & fValue);
    virtual bool Read(unsigned int & uValue);
    virtual bool Read(int & nValue);
    virtual bool Read(unsigned short & usValue);
    virtual bool Read(short & sValue);
    // A stored length of 0 or below leaves the target as it was.
    virtual bool Read(CZRString & sValue);
    // The raw read that every typed read goes through.
    virtual bool Read(void * pBuffer, std::uint32_t ulSize);
    // Reads ulSize * nCount bytes or what remains; returns the count of bytes.
    virtual int ReadRaw(void * pBuffer, std::uint32_t ulSize, int nCount);

    virtual bool Write(vector4 const & vValue);
    virtual bool Write(vector3 const & vValue);
    virtual bool Write(vector2 const & vValue);
    virtual bool Write(bool bValue);
    virtual bool Write(unsigned long ulValue);
    virtual bool Write(long lValue);
    virtual bool Write(double dValue);
    virtual bool Write(char cValue);
    virtual bool Write(float fValue);
    virtual bool Write(unsigned int uValue);
    virtual bool Write(int nValue);
    virtual bool Write(unsigned short usValue);
    virtual bool Write(short sValue);
    virtual bool Write(CZRString const & sValue);
    // The raw write that every typed write goes through; a size of 0 writes nothing.
    virtual bool Write(void const * pBuffer, std::uint32_t ulSize);
    // Not implemented: writes nothing and returns -1.
    virtual int WriteRaw(void * pBuffer, std::uint32_t ulSize, int nCount);

    // The text form: values separated by "; ", quoted strings and characters, "//"
    // comments. Numbers are read up to cDelimiter.
    virtual bool ReadAscii(unsigned long & ulValue, char cDelimiter = ';');
    virtual bool ReadAscii(long & lValue, char cDelimiter = ';');
    virtual bool ReadAscii(float & fValue, char cDelimiter = ';');
    virtual bool ReadAscii(int & nValue, char cDelimiter = ';');
    virtual bool ReadAscii(CZRString & sValue);
    // The next character; bSkip skips white space. Comments are always skipped.
    virtual bool ReadAscii(char & cValue, bool bSkip = true);
    // Matches a constant byte by byte, each after its own blanks and comments.
    virtual bool ReadConstAscii(CZRString const & sConstant);
    virtual bool ReadConstAscii(char cConstant);
    virtual bool WriteAscii(unsigned long ulValue);
    virtual bool WriteAscii(long lValue);
    virtual bool WriteAscii(float fValue);
    virtual bool WriteAscii(int nValue);
    virtual bool WriteAscii(CZRString const & sValue);
    virtual bool WriteAscii(char cValue);
    // A line feed becomes CR LF; every other byte is written unchanged.
    virtual bool WriteConstAscii(char cValue);
    // The string's bytes, unchanged.
    virtual bool WriteConstAscii(CZRString const & sValue);

    // Formatted text straight to the file, by the rules of printf.
    virtual bool Printf(char const * szFormat, ...) __attribute__((format(printf, 2, 3)));
    // One line into pBuffer of nSize bytes, without its line end.
    virtual bool ReadLine(void * pBuffer, unsigned int nSize);

    virtual bool IsOpened() const;
    // False without a file; raises nothing.
    virtual bool IsEof() const;
    // Only the size itself is a valid target beyond the data; past it raises 4009.
    virtual bool SetFilePointerPos(std::uint32_t ulPos);
    // Relative to the current position; neither before the start nor past the size.
    virtual bool Skip(std::int32_t lOffset);
    virtual std::uint32_t GetFilePointerPos() const;
    virtual std::uint32_t GetSize() const;
    // Goes back to the position remembered by the last text read.
    virtual void StepBack();

    // The search of the file system (disk, archives, roots) without opening anything.
    static bool FileExists(char const * szName);

private:
    [[noreturn]] void ThrowException(std::uint32_t ulCode, std::uint32_t ulLine,
                                     char const * szFile, char const * szError) const;
    // Raises 4501 when no file is open.
    void NeedFile(std::uint32_t ulLine) const;
    void RememberParsePos();
    static void XfsSetupOnDemand();

    std::uint32_t m_ulFileHandle; // of the file system; 0 means no file
    std::uint32_t m_ulParsePos;   // remembered by the text readers for StepBack
};
