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
    // Takes Other's handle without closing its own: an open file of this stream stays
    // open and unowned.
    CFileIO & operator=(CFileIO const & Other) = default;
    // Flushes and closes an open file. Nothing is caught on the way: a handle that a
    // copy has closed already raises 4008 from here, and the host sees it.
    virtual ~CFileIO() noexcept(false);

    // Closes an open file first, then reads (1), creates (2) or appends (4); 4500 when
    // no mode bit is set. True when a file is open afterwards. The file system's
    // CXfsException passes through: 4002 for a file to read that is not found (or with
    // all 256 handles taken), 4001 for creating or appending with all handles taken,
    // 4005 or 4015 when the file cannot be created or appended to.
    virtual bool Open(char const * szName, int nMode);
    // Closes the file; true when it was closed. Raises 4501 when no file is open.
    virtual bool Close();
    // False without a file; raises nothing.
    virtual bool Flush();

    // Typed reads: false when nothing was left to read; a value cut off by the end of
    // the file reads as true with its last bytes unset.
    virtual bool Read(vector4 & vValue);
    // Three 4-byte components.
    virtual bool Read(vector3 & vValue);
    // Two 4-byte components.
    virtual bool Read(vector2 & vValue);
    // One byte: 0 is false, anything else true.
    virtual bool Read(bool & bValue);
    // 4 bytes, whatever the width of unsigned long.
    virtual bool Read(unsigned long & ulValue);
    // 4 bytes, whatever the width of long.
    virtual bool Read(long & lValue);
    // 8 bytes.
    virtual bool Read(double & dValue);
    // 1 byte.
    virtual bool Read(char & cValue);
    // 4 bytes.
    virtual bool Read(float & fValue);
    // 4 bytes.
    virtual bool Read(unsigned int & uValue);
    // 4 bytes.
    virtual bool Read(int & nValue);
    // 2 bytes.
    virtual bool Read(unsigned short & usValue);
    // 2 bytes.
    virtual bool Read(short & sValue);
    // A stored length of 0 or below leaves the target as it was.
    virtual bool Read(CZRString & sValue);
    // The raw read that every typed read goes through: false at the end of the file,
    // true with what remains when ulSize reaches past it. Raises 4501 without a file,
    // 4008 for a size of 0, 4006 when the system fails to read.
    virtual bool Read(void * pBuffer, std::uint32_t ulSize);
    // Reads ulSize * nCount bytes or what remains; returns the count of bytes.
    virtual int ReadRaw(void * pBuffer, std::uint32_t ulSize, int nCount);

    // Typed writes in the binary stored form, each through the raw Write; false when
    // that gives false. A vector may leave its first components on the file.
    // Four 4-byte components.
    virtual bool Write(vector4 const & vValue);
    // Three 4-byte components.
    virtual bool Write(vector3 const & vValue);
    // Two 4-byte components.
    virtual bool Write(vector2 const & vValue);
    // One byte, 0 or 1.
    virtual bool Write(bool bValue);
    // 4 bytes, whatever the width of unsigned long.
    virtual bool Write(unsigned long ulValue);
    // 4 bytes, whatever the width of long.
    virtual bool Write(long lValue);
    // 8 bytes.
    virtual bool Write(double dValue);
    // 1 byte.
    virtual bool Write(char cValue);
    // 4 bytes.
    virtual bool Write(float fValue);
    // 4 bytes.
    virtual bool Write(unsigned int uValue);
    // 4 bytes.
    virtual bool Write(int nValue);
    // 2 bytes.
    virtual bool Write(unsigned short usValue);
    // 2 bytes.
    virtual bool Write(short sValue);
    // The signed 4-byte length, then the bytes; an empty string is 4 zero bytes.
    virtual bool Write(CZRString const & sValue);
    // The raw write that every typed write goes through; a size of 0 writes nothing.
    // Raises 4501 without a file, 4007 when the file refuses the bytes.
    virtual bool Write(void const * pBuffer, std::uint32_t ulSize);
    // Not implemented: writes nothing and returns -1.
    virtual int WriteRaw(void * pBuffer, std::uint32_t ulSize, int nCount);

    // The text form: values separated by "; ", quoted strings and characters, "//"
    // comments. Numbers are read up to cDelimiter, as "%i" here. The readers give false
    // at the end of the stream; a number that does not parse reads as true and leaves
    // the target unchanged. Nothing is raised but what the raw operations raise.
    virtual bool ReadAscii(unsigned long & ulValue, char cDelimiter = ';');
    // A number read as "%i": 0x is hexadecimal, a leading 0 octal.
    virtual bool ReadAscii(long & lValue, char cDelimiter = ';');
    // A number read as "%f".
    virtual bool ReadAscii(float & fValue, char cDelimiter = ';');
    // A number read as "%i": 0x is hexadecimal, a leading 0 octal.
    virtual bool ReadAscii(int & nValue, char cDelimiter = ';');
    // A quoted string with backslash escapes, up to the ';' behind it; false at the end
    // of the stream (the text so far stays) or without an opening quote (the target
    // unchanged).
    virtual bool ReadAscii(CZRString & sValue);
    // The next character; bSkip skips white space. Comments are always skipped.
    virtual bool ReadAscii(char & cValue, bool bSkip = true);
    // Matches a constant byte by byte, each after its own blanks and comments.
    virtual bool ReadConstAscii(CZRString const & sConstant);
    // False on a mismatch, the stream behind the byte tried; StepBack goes back.
    virtual bool ReadConstAscii(char cConstant);
    // The writers put out a value and its "; "; false when the raw Write gives false.
    // As a signed 32-bit number, "%i; ": 4000000000 writes as -294967296 and reads back.
    virtual bool WriteAscii(unsigned long ulValue);
    // "%i; ".
    virtual bool WriteAscii(long lValue);
    // "%.4f; ".
    virtual bool WriteAscii(float fValue);
    // "%i; ".
    virtual bool WriteAscii(int nValue);
    // The bytes between double quotes, without escaping, then "; ".
    virtual bool WriteAscii(CZRString const & sValue);
    // The character in single quotes, tab, LF and CR as \t, \n, \r, then "; ".
    virtual bool WriteAscii(char cValue);
    // A line feed becomes CR LF; every other byte is written unchanged.
    virtual bool WriteConstAscii(char cValue);
    // The string's bytes, unchanged.
    virtual bool WriteConstAscii(CZRString const & sValue);

    // Formatted text straight to the file, by the rules of printf, not the text form.
    // Raises 4501 without a file, 4007 when the write fails.
    virtual bool Printf(char const * szFormat, ...) __attribute__((format(printf, 2, 3)));
    // One line into pBuffer of nSize bytes, without its line end; CR LF, CR and LF end
    // a line. False for a null buffer or a size of 0, and when the stream ends first:
    // a last line without a line end arrives with false.
    virtual bool ReadLine(void * pBuffer, unsigned int nSize);

    // True while a file is open; raises nothing.
    virtual bool IsOpened() const;
    // False without a file; raises nothing.
    virtual bool IsEof() const;
    // Only the size itself is a valid target beyond the data; past it raises 4009,
    // without a file 4501.
    virtual bool SetFilePointerPos(std::uint32_t ulPos);
    // Relative to the current position; neither before the start nor past the size
    // (4009), and 4501 without a file.
    virtual bool Skip(std::int32_t lOffset);
    // The position in the file, or in the member for a file inside an archive; raises
    // 4501 without a file.
    virtual std::uint32_t GetFilePointerPos() const;
    // The size of the file or archive member; raises 4501 without a file.
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
