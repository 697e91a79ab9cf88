#include "common/file/fileio.h"

#include <cstdarg>
#include <new>

#include "common/exception/zrexception.h"
#include "common/kernel/libraryobjects.h"

static char const s_szSourceFile[] = "common/file/fileio";

static_assert(sizeof(float) == 4 && sizeof(double) == 8 && sizeof(short) == 2 && sizeof(int) == 4,
              "the stored widths are those of the types in memory");
// Values are stored as they lie in memory, which is the little-endian stored form.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "values are stored in place");

namespace
{
// A stored string length that passes the end of the stream by more than this is taken
// as damage and reads as false, so that a bad length never allocates gigabytes. Below
// it, a string cut off by the end keeps its stored length, as every cut value does.
constexpr std::uint32_t MAX_STRING_OVERRUN = 1024 * 1024;
} // namespace

CFileIO::CFileIO() : m_ulFileHandle(0), m_ulParsePos(0) {}

CFileIO::~CFileIO() noexcept(false)
{
    if (CFileIO::IsOpened())
    {
        CFileIO::Flush();
        CFileIO::Close();
    }
}

bool CFileIO::Open(char const * szName, int nMode)
{
    XfsSetupOnDemand();
    if (IsOpened())
    {
        Flush();
        Close();
    }
    if ((nMode & FILEIO_READ) != 0)
        m_ulFileHandle = g_FileSystem.OpenFile(szName);
    else if ((nMode & FILEIO_CREATE) != 0)
        m_ulFileHandle = g_FileSystem.CreateFile(szName);
    else if ((nMode & FILEIO_APPEND) != 0)
        m_ulFileHandle = g_FileSystem.AppendFile(szName);
    else
        ThrowException(4500, __LINE__, s_szSourceFile, "Invalid file mode specified.");
    return m_ulFileHandle > 0;
}

bool CFileIO::Close()
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    bool const bClosed = g_FileSystem.CloseFile(m_ulFileHandle);
    if (bClosed)
        m_ulFileHandle = 0;
    return bClosed;
}

bool CFileIO::Flush()
{
    XfsSetupOnDemand();
    if (m_ulFileHandle == 0)
        return false;
    return g_FileSystem.Flush(m_ulFileHandle);
}

bool CFileIO::Read(vector4 & vValue)
{
    return Read(vValue.x) && Read(vValue.y) && Read(vValue.z) && Read(vValue.w);
}

bool CFileIO::Read(vector3 & vValue)
{
    return Read(vValue.x) && Read(vValue.y) && Read(vValue.z);
}

bool CFileIO::Read(vector2 & vValue)
{
    return Read(vValue.x) && Read(vValue.y);
}

bool CFileIO::Read(bool & bValue)
{
    // Read through a byte, since a bool object may hold only 0 or 1.
    unsigned char ucValue = bValue ? 1 : 0;
    bool const bRead = Read(&ucValue, 1);
    bValue = ucValue != 0;
    return bRead;
}

bool CFileIO::Read(unsigned long & ulValue)
{
    // 4 bytes whatever the width of long; a short read keeps the old high bytes of
    // the 32-bit value, as it would for a 4-byte long.
    std::uint32_t ulStored = static_cast<std::uint32_t>(ulValue);
    bool const bRead = Read(&ulStored, 4);
    ulValue = ulStored;
    return bRead;
}

bool CFileIO::Read(long & lValue)
{
    std::int32_t lStored = static_cast<std::int32_t>(lValue);
    bool const bRead = Read(&lStored, 4);
    lValue = lStored;
    return bRead;
}

bool CFileIO::Read(double & dValue)
{
    return Read(&dValue, 8);
}

bool CFileIO::Read(char & cValue)
{
    return Read(&cValue, 1);
}

bool CFileIO::Read(float & fValue)
{
    return Read(&fValue, 4);
}

bool CFileIO::Read(unsigned int & uValue)
{
    return Read(&uValue, 4);
}

bool CFileIO::Read(int & nValue)
{
    return Read(&nValue, 4);
}

bool CFileIO::Read(unsigned short & usValue)
{
    return Read(&usValue, 2);
}

bool CFileIO::Read(short & sValue)
{
    return Read(&sValue, 2);
}

bool CFileIO::Read(CZRString & sValue)
{
    std::int32_t lLength = 0;
    if (!Read(&lLength, 4))
        return false;
    if (lLength <= 0)
        return true;
    std::uint32_t const ulPosition = GetFilePointerPos();
    std::uint32_t const ulSize = GetSize();
    std::uint32_t const ulRemaining = ulPosition < ulSize ? ulSize - ulPosition : 0;
    if (static_cast<std::uint32_t>(lLength) > ulRemaining &&
        static_cast<std::uint32_t>(lLength) - ulRemaining > MAX_STRING_OVERRUN)
        return false;
    // A length backed by the stream may still be more than memory holds: bad input too.
    char * pBuffer = nullptr;
    try
    {
        pBuffer = sValue.GetBuffer(lLength);
    }
    catch (std::bad_alloc const &)
    {
        return false;
    }
    bool const bRead = Read(pBuffer, static_cast<std::uint32_t>(lLength));
    // The loan ends also on false, so that the string stays usable.
    sValue.ReleaseBuffer(bRead ? lLength : 0);
    return bRead;
}

bool CFileIO::Read(void * pBuffer, std::uint32_t ulSize)
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    return g_FileSystem.ReadFile(m_ulFileHandle, pBuffer, ulSize);
}

int CFileIO::ReadRaw(void * pBuffer, std::uint32_t ulSize, int nCount)
{
    std::int32_t const lPosition = static_cast<std::int32_t>(GetFilePointerPos());
    std::int32_t const lSize = static_cast<std::int32_t>(GetSize());
    // 32-bit signed arithmetic throughout, wrapping as it would there.
    std::int32_t lCount = static_cast<std::int32_t>(ulSize * static_cast<std::uint32_t>(nCount));
    std::int32_t const lRest = static_cast<std::int32_t>(
        static_cast<std::uint32_t>(lSize) -
        (static_cast<std::uint32_t>(lPosition) + static_cast<std::uint32_t>(lCount)));
    if (lRest < 0)
        lCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(lCount) +
                                           static_cast<std::uint32_t>(lRest));
    if (lCount < 0)
        return 0;
    Read(pBuffer, static_cast<std::uint32_t>(lCount));
    return lCount;
}

bool CFileIO::Write(vector4 const & vValue)
{
    return Write(vValue.x) && Write(vValue.y) && Write(vValue.z) && Write(vValue.w);
}

bool CFileIO::Write(vector3 const & vValue)
{
    return Write(vValue.x) && Write(vValue.y) && Write(vValue.z);
}

bool CFileIO::Write(vector2 const & vValue)
{
    return Write(vValue.x) && Write(vValue.y);
}

bool CFileIO::Write(bool bValue)
{
    unsigned char const ucValue = bValue ? 1 : 0;
    return Write(&ucValue, 1);
}

bool CFileIO::Write(unsigned long ulValue)
{
    std::uint32_t const ulStored = static_cast<std::uint32_t>(ulValue);
    return Write(&ulStored, 4);
}

bool CFileIO::Write(long lValue)
{
    std::int32_t const lStored = static_cast<std::int32_t>(lValue);
    return Write(&lStored, 4);
}

bool CFileIO::Write(double dValue)
{
    return Write(&dValue, 8);
}

bool CFileIO::Write(char cValue)
{
    return Write(&cValue, 1);
}

bool CFileIO::Write(float fValue)
{
    return Write(&fValue, 4);
}

bool CFileIO::Write(unsigned int uValue)
{
    return Write(&uValue, 4);
}

bool CFileIO::Write(int nValue)
{
    return Write(&nValue, 4);
}

bool CFileIO::Write(unsigned short usValue)
{
    return Write(&usValue, 2);
}

bool CFileIO::Write(short sValue)
{
    return Write(&sValue, 2);
}

bool CFileIO::Write(CZRString const & sValue)
{
    std::int32_t const lLength = sValue.GetLength();
    if (!Write(&lLength, 4))
        return false;
    if (lLength > 0 && !Write(sValue.GetString(), static_cast<std::uint32_t>(lLength)))
        return false;
    return true;
}

bool CFileIO::Write(void const * pBuffer, std::uint32_t ulSize)
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    return g_FileSystem.WriteFile(m_ulFileHandle, pBuffer, ulSize);
}

int CFileIO::WriteRaw(void * pBuffer, std::uint32_t ulSize, int nCount)
{
    static_cast<void>(pBuffer);
    static_cast<void>(ulSize);
    static_cast<void>(nCount);
    return -1;
}

bool CFileIO::Printf(char const * szFormat, ...)
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    va_list pArgs;
    va_start(pArgs, szFormat);
    // Ends the argument list also when the file system raises.
    struct sArgsGuard
    {
        va_list & m_pArgs;
        ~sArgsGuard() { va_end(m_pArgs); }
    } Guard{pArgs};
    return g_FileSystem.VPrintf(m_ulFileHandle, szFormat, pArgs);
}

bool CFileIO::IsOpened() const
{
    XfsSetupOnDemand();
    return m_ulFileHandle != 0;
}

bool CFileIO::IsEof() const
{
    XfsSetupOnDemand();
    if (m_ulFileHandle == 0)
        return false;
    return g_FileSystem.IsEof(m_ulFileHandle);
}

bool CFileIO::SetFilePointerPos(std::uint32_t ulPos)
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    g_FileSystem.Seek(m_ulFileHandle, ulPos);
    return true;
}

bool CFileIO::Skip(std::int32_t lOffset)
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    return g_FileSystem.SeekCurrent(m_ulFileHandle, lOffset);
}

std::uint32_t CFileIO::GetFilePointerPos() const
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    return g_FileSystem.Tell(m_ulFileHandle);
}

std::uint32_t CFileIO::GetSize() const
{
    XfsSetupOnDemand();
    NeedFile(__LINE__);
    return g_FileSystem.GetFileSize(m_ulFileHandle);
}

bool CFileIO::FileExists(char const * szName)
{
    XfsSetupOnDemand();
    return g_FileSystem.FileExists(szName);
}

void CFileIO::ThrowException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                             char const * szError) const
{
    CFileIOException const Error(ulCode, ulLine, szFile, szError);
    throw Error;
}

void CFileIO::NeedFile(std::uint32_t ulLine) const
{
    if (m_ulFileHandle == 0)
        ThrowException(4501, ulLine, s_szSourceFile, "No file is opened.");
}

void CFileIO::XfsSetupOnDemand()
{
    if (!g_FileSystem.IsSetup())
        g_FileSystem.Setup();
}
