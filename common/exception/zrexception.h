// The exception family: one flat record of error class, code, source line, source file
// and text, held entirely inside the object (no heap), thrown by value and caught by
// the concrete class or by CZRException. Both texts are cut to 255 bytes and always
// terminated. The derived classes add nothing but their error class. Records are
// immutable after construction and share nothing, so any thread may use its own.
#pragma once

#include <cstdint>

#include "common/kernel/api.h"

// The coarse family of an error; only these two values are produced by the library.
enum eErrorClass : std::int32_t
{
    // File system, file and memory streams, parameter lists.
    ERRORCLASS_FILE = 9,
    // The mailslot transport.
    ERRORCLASS_MAILSLOT = 10,
};

// The base of the family: catch it to catch every error the library raises.
class COMMON_API CZRException
{
public:
    // Note the order: the source file comes before the text. A null text gives "".
    CZRException(eErrorClass eClass, std::uint32_t ulCode, std::uint32_t ulLine,
                 char const * szFile, char const * szError);

    // The text of the failure, never null.
    virtual char const * GetErrorString() const;
    // The source file of the library where the failure was found, not the file it
    // concerns.
    virtual char const * GetFileName() const;
    // The source line of the library where the failure was found.
    virtual std::uint32_t GetLine() const;
    // ERRORCLASS_MAILSLOT for CMailSlotException, ERRORCLASS_FILE for all others.
    virtual eErrorClass GetErrorClass() const;
    // The number of the failure; the band names the class that raised it.
    virtual std::uint32_t GetErrorCode() const;

private:
    eErrorClass m_eErrorClass;   // given by the derived class
    std::uint32_t m_ulErrorCode; // from the owner's band
    std::uint32_t m_ulLine;      // source line of the failure site
    char m_szErrorString[256];   // text of the failure
    char m_szFileName[256];      // source path of the failure site
};

// Raised by CExtendedFileSystem, codes 4001 to 4016.
class COMMON_API CXfsException : public CZRException
{
public:
    // A record of class ERRORCLASS_FILE.
    CXfsException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                  char const * szError);
};

// Raised by CFileIO, codes 4500 and 4501.
class COMMON_API CFileIOException : public CZRException
{
public:
    // A record of class ERRORCLASS_FILE.
    CFileIOException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                     char const * szError);
};

// Raised by CMemFileIO, codes 4600 to 4602.
class COMMON_API CMemFileIOException : public CZRException
{
public:
    // A record of class ERRORCLASS_FILE.
    CMemFileIOException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                        char const * szError);
};

// Raised by CZRMailSlot, codes 5000 to 5003.
class COMMON_API CMailSlotException : public CZRException
{
public:
    // A record of class ERRORCLASS_MAILSLOT.
    CMailSlotException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                       char const * szError);
};

// Raised by CZRParams, codes 6001 to 6003. Not exported: a host sees it only as what
// it catches, so its constructor lives here, inline.
class CZRParamsException : public CZRException
{
public:
    // A record of class ERRORCLASS_FILE.
    CZRParamsException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                       char const * szError)
        : CZRException(ERRORCLASS_FILE, ulCode, ulLine, szFile, szError)
    {
    }
};
