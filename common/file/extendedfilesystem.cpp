#include "common/file/extendedfilesystem.h"

#include <climits>
#include <map>

#include "common/exception/zrexception.h"
#include "common/kernel/check.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"
#include "common/log/zrlog.h"
#include "common/platform/filestream.h"

static char const s_szSourceFile[] = "common/file/extendedfilesystem";

namespace
{
constexpr std::uint32_t FILE_SLOTS = 256;

char const s_szInvalidHandle[] = "Invalid file handle.";
char const s_szSeekError[] = "Error trying to set the file pointer.";
char const s_szReadError[] = "Error reading from file.";
char const s_szWriteError[] = "Error writing to file.";

// A copy of a file system holds the open streams of its original in its own table.
// For each stream that several tables hold: how many hold it beyond the first. A table
// that closes such a stream lets go of its share only, so that the stream is closed
// once, by the last, and no table reuses a block that a stream of another still fills.
// Never freed, since the process-wide
// object may still need it while the statics of the library go down.
std::map<std::FILE *, std::uint32_t> & SharedStreams()
{
    static auto * s_pShared = new std::map<std::FILE *, std::uint32_t>;
    return *s_pShared;
}

void ShareStream(std::FILE * pStream)
{
    ++SharedStreams()[pStream];
}

// False when no other table holds the stream.
bool LetGoOfShare(std::FILE * pStream)
{
    auto & Shared = SharedStreams();
    auto const Found = Shared.find(pStream);
    if (Found == Shared.end())
        return false;
    if (--Found->second == 0)
        Shared.erase(Found);
    return true;
}
} // namespace

CExtendedFileSystem::CExtendedFileSystem() : m_bSetup(false), m_pWatch(nullptr)
{
    MEM_Zero(m_aFileInfo, sizeof(m_aFileInfo));
    MEM_Zero(&m_sArchiveRoot, sizeof(m_sArchiveRoot));
    MEM_Zero(m_aArchives, sizeof(m_aArchives));
    MEM_Zero(m_apStreamBuffers, sizeof(m_apStreamBuffers));
}

CExtendedFileSystem::CExtendedFileSystem(CExtendedFileSystem const & Other)
    : m_vRoots(Other.m_vRoots), m_bSetup(Other.m_bSetup), m_vCallbacks(Other.m_vCallbacks),
      m_pWatch(nullptr) // a copy watches nothing: the system's watches stay with their owner
{
    MEM_Copy(m_aFileInfo, Other.m_aFileInfo, sizeof(m_aFileInfo));
    CopyArchivesFrom(Other);
    AdoptStreamBuffers(Other);
}

CExtendedFileSystem & CExtendedFileSystem::operator=(CExtendedFileSystem const & Other)
{
    if (this == &Other)
        return *this;
    m_vRoots = Other.m_vRoots;
    // The files open here can't be reached once the table is overwritten.
    for (sFileInfo & FileInfo : m_aFileInfo)
    {
        if (FileInfo.m_pFile != nullptr)
            CloseFile(GetHandleForFile(&FileInfo));
    }
    FreeStreamBuffers();
    MEM_Copy(m_aFileInfo, Other.m_aFileInfo, sizeof(m_aFileInfo));
    AdoptStreamBuffers(Other);
    m_bSetup = Other.m_bSetup;
    m_vCallbacks = Other.m_vCallbacks;
    FreeArchives();
    CopyArchivesFrom(Other);
    EndWatches(m_pWatch);
    return *this;
}

CExtendedFileSystem::~CExtendedFileSystem()
{
    if (HasCallbacks())
        m_vCallbacks.clear();
    if (HasRoots())
        RemoveAllRoots();
    FreeArchives();
    FreeStreamBuffers();
    EndWatches(m_pWatch);
}

bool CExtendedFileSystem::Setup()
{
    m_bSetup = true;
    return true;
}

bool CExtendedFileSystem::IsSetup() const
{
    return m_bSetup;
}

void CExtendedFileSystem::AddRoot(CZRString const & sRoot)
{
    if (!sRoot.IsEmpty())
        m_vRoots.push_back(sRoot);
}

int CExtendedFileSystem::AddRoot(char const * szRoot)
{
    AddRoot(CZRString(szRoot));
    return 0;
}

void CExtendedFileSystem::RemoveRoot(CZRString const & sRoot)
{
    if (sRoot.IsEmpty())
        return;
    for (std::size_t nIndex = 0; nIndex < m_vRoots.size(); ++nIndex)
    {
        if (m_vRoots[nIndex].CompareNoCase(sRoot) == 0)
        {
            m_vRoots.erase(m_vRoots.begin() + static_cast<std::ptrdiff_t>(nIndex));
            return;
        }
    }
}

int CExtendedFileSystem::RemoveRoot(char const * szRoot)
{
    RemoveRoot(CZRString(szRoot));
    return 0;
}

void CExtendedFileSystem::RemoveAllRoots()
{
    m_vRoots.clear();
}

std::int32_t CExtendedFileSystem::GetRootCount() const
{
    return static_cast<std::int32_t>(m_vRoots.size());
}

bool CExtendedFileSystem::HasRoots() const
{
    return GetRootCount() >= 1;
}

CZRString const & CExtendedFileSystem::GetRoot(std::int32_t lIndex) const
{
    ZR_CHECK(lIndex >= 0 && lIndex < GetRootCount(), s_szSourceFile);
    return m_vRoots[static_cast<std::size_t>(lIndex)];
}

std::uint32_t CExtendedFileSystem::OpenFile(char const * szName)
{
    if (szName != nullptr)
    {
        std::uint32_t ulHandle = ArchiveFileOpen(szName);
        if (ulHandle > 0)
            return ulHandle;
        for (std::size_t nRoot = 0; nRoot < m_vRoots.size(); ++nRoot)
        {
            CZRString const sName = m_vRoots[nRoot] + '\\' + szName;
            ulHandle = ArchiveFileOpen(sName.GetString());
            if (ulHandle > 0)
                return ulHandle;
        }
    }
    ThrowException(4002, __LINE__, s_szSourceFile, "File not found.");
}

bool CExtendedFileSystem::FileExists(char const * szName) const
{
    if (szName == nullptr)
        return false;
    // The search registers archives and borrows a slot for a moment; the caller sees
    // no change beyond archives that stay registered, which is why this is const.
    CExtendedFileSystem * pThis = const_cast<CExtendedFileSystem *>(this);
    std::uint32_t ulHandle = pThis->ArchiveFileOpen(szName);
    for (std::size_t nRoot = 0; ulHandle == 0 && nRoot < m_vRoots.size(); ++nRoot)
    {
        CZRString const sName = m_vRoots[nRoot] + '\\' + szName;
        ulHandle = pThis->ArchiveFileOpen(sName.GetString());
    }
    if (ulHandle == 0)
        return false;
    pThis->CloseFile(ulHandle);
    return true;
}

std::uint32_t CExtendedFileSystem::ArchiveFileOpen(char const * szName)
{
    if (szName == nullptr)
        return 0;
    sFileInfo * pFileInfo = AllocFileInfo();
    if (pFileInfo == nullptr)
        return 0;
    std::uint64_t ullSize = 0;
    std::FILE * pFile = OpenSlotStream(pFileInfo, szName, 0, &ullSize);
    if (pFile == nullptr)
        return ArchiveFileOpenInArchive(szName, pFileInfo);
    pFileInfo->m_pFile = pFile;
    pFileInfo->m_ulBaseOffset = 0;
    pFileInfo->m_ulFileSize = static_cast<std::uint32_t>(ullSize);
    pFileInfo->m_ulPosition = 0;
    return GetHandleForFile(pFileInfo);
}

std::uint32_t CExtendedFileSystem::CreateFile(char const * szPath)
{
    if (szPath == nullptr)
        return 0;
    sFileInfo * pFileInfo = AllocFileInfo();
    if (pFileInfo == nullptr)
        ThrowException(4001, __LINE__, s_szSourceFile, "Too many open files.");
    std::FILE * pFile = PLATFORM_OpenStreamToWrite(szPath, "wb", SlotBlock(pFileInfo));
    if (pFile == nullptr)
        ThrowException(4005, __LINE__, s_szSourceFile, "Could not create file for writing.");
    pFileInfo->m_pFile = pFile;
    pFileInfo->m_ulBaseOffset = 0;
    pFileInfo->m_ulFileSize = 0;
    pFileInfo->m_ulPosition = 0;
    return GetHandleForFile(pFileInfo);
}

std::uint32_t CExtendedFileSystem::AppendFile(char const * szPath)
{
    if (szPath == nullptr)
        return 0;
    sFileInfo * pFileInfo = AllocFileInfo();
    if (pFileInfo == nullptr)
        ThrowException(4001, __LINE__, s_szSourceFile, "Too many open files.");
    std::FILE * pFile = PLATFORM_OpenStreamToWrite(szPath, "ab", nullptr);
    if (pFile == nullptr)
        ThrowException(4015, __LINE__, s_szSourceFile, "Could not open file for appending.");
    std::fseek(pFile, 0, SEEK_END);
    long const lEnd = std::ftell(pFile);
    pFileInfo->m_pFile = pFile;
    pFileInfo->m_ulBaseOffset = 0;
    pFileInfo->m_ulFileSize = lEnd > 0 ? static_cast<std::uint32_t>(lEnd) : 0;
    pFileInfo->m_ulPosition = pFileInfo->m_ulFileSize;
    return GetHandleForFile(pFileInfo);
}

bool CExtendedFileSystem::CloseFile(std::uint32_t ulHandle)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    if (LetGoOfShare(pFileInfo->m_pFile))
        m_apStreamBuffers[pFileInfo - m_aFileInfo] = nullptr; // goes on with the stream
    else
        std::fclose(pFileInfo->m_pFile);
    pFileInfo->m_pFile = nullptr;
    return true;
}

bool CExtendedFileSystem::ReadFile(std::uint32_t ulHandle, void * pBuffer, std::uint32_t ulSize)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    if (ulSize == 0)
        ThrowException(4008, __LINE__, s_szSourceFile, s_szInvalidHandle);
    // At or (never expected) beyond the end: nothing to read, and no count can wrap.
    if (pFileInfo->m_ulPosition >= pFileInfo->m_ulFileSize)
        return false;
    std::uint32_t const ulRemaining = pFileInfo->m_ulFileSize - pFileInfo->m_ulPosition;
    std::uint32_t const ulCount = ulSize < ulRemaining ? ulSize : ulRemaining;
    if (PLATFORM_ReadFileStream(pBuffer, ulCount, pFileInfo->m_pFile, StreamBlock(pFileInfo)) !=
        ulCount)
    {
        if (!ReSeek(pFileInfo))
            Log(__LINE__, "ReadFile Error: Could not re-seek");
        ThrowException(4006, __LINE__, s_szSourceFile, s_szReadError);
    }
    pFileInfo->m_ulPosition += ulCount;
    VerifyFilePos(pFileInfo);
    return true;
}

bool CExtendedFileSystem::UnreadChar(std::uint32_t ulHandle, int nChar)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    if (pFileInfo->m_ulPosition == 0)
        ThrowException(4009, __LINE__, s_szSourceFile, s_szSeekError);
    if (std::ungetc(static_cast<unsigned char>(nChar), pFileInfo->m_pFile) == EOF)
    {
        SeekTo(pFileInfo, pFileInfo->m_ulPosition - 1);
        return true;
    }
    --pFileInfo->m_ulPosition;
    VerifyFilePos(pFileInfo);
    return true;
}

bool CExtendedFileSystem::ReadChar(std::uint32_t ulHandle, int * pChar)
{
    // The low-order byte of a little-endian int is its first.
    return ReadFile(ulHandle, pChar, 1);
}

bool CExtendedFileSystem::ReadLine(std::uint32_t ulHandle, char * pBuffer, std::uint32_t ulSize)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    if (ulSize == 0)
        ThrowException(4008, __LINE__, s_szSourceFile, s_szInvalidHandle);
    std::uint32_t const ulRemaining = pFileInfo->m_ulPosition < pFileInfo->m_ulFileSize
                                          ? pFileInfo->m_ulFileSize - pFileInfo->m_ulPosition
                                          : 0;
    // The capacity is cut so that the line ends at the end of the file or entry.
    std::uint64_t ullCapacity = ulSize;
    if (ullCapacity > static_cast<std::uint64_t>(ulRemaining) + 1)
        ullCapacity = static_cast<std::uint64_t>(ulRemaining) + 1;
    if (ullCapacity > INT_MAX)
        ullCapacity = INT_MAX;
    long const lBefore = std::ftell(pFileInfo->m_pFile);
    if (ulRemaining == 0 ||
        std::fgets(pBuffer, static_cast<int>(ullCapacity), pFileInfo->m_pFile) == nullptr)
    {
        if (!ReSeek(pFileInfo))
            Log(__LINE__, "ReadFile Error: Could not re-seek");
        ThrowException(4006, __LINE__, s_szSourceFile, s_szReadError);
    }
    // Counted in the stream, since a line of a binary file may hold zero bytes.
    long const lAfter = std::ftell(pFileInfo->m_pFile);
    pFileInfo->m_ulPosition += static_cast<std::uint32_t>(lAfter - lBefore);
    VerifyFilePos(pFileInfo);
    return true;
}

bool CExtendedFileSystem::WriteFile(std::uint32_t ulHandle, void const * pBuffer,
                                    std::uint32_t ulSize)
{
    if (ulSize == 0)
        return true;
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    if (PLATFORM_WriteFileStream(pBuffer, ulSize, pFileInfo->m_pFile) != ulSize)
    {
        if (!ReSeek(pFileInfo))
            Log(__LINE__, "WriteFile Error: Could not re-seek");
        ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
    }
    AfterWrite(pFileInfo, ulSize);
    return true;
}

bool CExtendedFileSystem::WriteFile(std::uint32_t ulHandle, int nChar)
{
    unsigned char const ucChar = static_cast<unsigned char>(nChar);
    return WriteFile(ulHandle, &ucChar, 1);
}

bool CExtendedFileSystem::WriteLine(std::uint32_t ulHandle, char const * szText)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    if (szText == nullptr)
        ThrowException(4008, __LINE__, s_szSourceFile, s_szInvalidHandle);
    if (std::fputs(szText, pFileInfo->m_pFile) == EOF)
    {
        if (!ReSeek(pFileInfo))
            Log(__LINE__, "WriteFile Error: Could not re-seek");
        ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
    }
    AfterWrite(pFileInfo, static_cast<std::uint32_t>(STR_strlen(szText)));
    return true;
}

bool CExtendedFileSystem::Printf(std::uint32_t ulHandle, char const * szFormat, ...)
{
    va_list pArgs;
    va_start(pArgs, szFormat);
    // Ends the argument list also when VPrintf raises.
    struct sArgsGuard
    {
        va_list & m_pArgs;
        ~sArgsGuard() { va_end(m_pArgs); }
    } Guard{pArgs};
    return VPrintf(ulHandle, szFormat, pArgs);
}

bool CExtendedFileSystem::VPrintf(std::uint32_t ulHandle, char const * szFormat, va_list pArgs)
{
    char const szError[] = "Invalid file handle or invalid argument.";
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, szError);
    if (szFormat == nullptr)
        ThrowException(4008, __LINE__, s_szSourceFile, szError);
    int const nWritten = std::vfprintf(pFileInfo->m_pFile, szFormat, pArgs);
    if (nWritten < 0)
    {
        if (!ReSeek(pFileInfo))
            Log(__LINE__, "WriteFile Error: Could not re-seek");
        ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
    }
    AfterWrite(pFileInfo, static_cast<std::uint32_t>(nWritten));
    return true;
}

bool CExtendedFileSystem::Seek(std::uint32_t ulHandle, std::uint32_t ulPosition)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    if (ulPosition > pFileInfo->m_ulFileSize)
        ThrowException(4009, __LINE__, s_szSourceFile, s_szSeekError);
    SeekTo(pFileInfo, ulPosition);
    return true;
}

bool CExtendedFileSystem::SeekCurrent(std::uint32_t ulHandle, std::int32_t lOffset)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    // The target is formed and compared as a signed 32-bit number.
    std::int32_t const lTarget =
        static_cast<std::int32_t>(pFileInfo->m_ulPosition + static_cast<std::uint32_t>(lOffset));
    if (lTarget < 0 || lTarget > static_cast<std::int32_t>(pFileInfo->m_ulFileSize))
        ThrowException(4009, __LINE__, s_szSourceFile, s_szSeekError);
    SeekTo(pFileInfo, lTarget);
    return true;
}

bool CExtendedFileSystem::SeekEnd(std::uint32_t ulHandle, std::uint32_t ulDistance)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    std::int32_t const lTarget = static_cast<std::int32_t>(pFileInfo->m_ulFileSize - ulDistance);
    if (lTarget < 0 || lTarget > static_cast<std::int32_t>(pFileInfo->m_ulFileSize))
        ThrowException(4009, __LINE__, s_szSourceFile, s_szSeekError);
    SeekTo(pFileInfo, lTarget);
    return true;
}

bool CExtendedFileSystem::Rewind(std::uint32_t ulHandle)
{
    return Seek(ulHandle, 0);
}

std::uint32_t CExtendedFileSystem::Tell(std::uint32_t ulHandle) const
{
    sFileInfo const * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    VerifyFilePos(pFileInfo);
    return pFileInfo->m_ulPosition;
}

bool CExtendedFileSystem::Flush(std::uint32_t ulHandle)
{
    sFileInfo * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    return std::fflush(pFileInfo->m_pFile) == 0;
}

bool CExtendedFileSystem::IsEof(std::uint32_t ulHandle) const
{
    sFileInfo const * pFileInfo = GetOpenFile(ulHandle, s_szInvalidHandle);
    return pFileInfo->m_ulPosition == pFileInfo->m_ulFileSize;
}

std::uint32_t CExtendedFileSystem::GetFileSize(std::uint32_t ulHandle) const
{
    return GetOpenFile(ulHandle, s_szInvalidHandle)->m_ulFileSize;
}

void CExtendedFileSystem::AddCallback(pfnCallback pfnFunction, ZR_ULONG_PTR ulUserData)
{
    if (pfnFunction != nullptr)
        m_vCallbacks.push_back(sCallback{pfnFunction, ulUserData});
}

void CExtendedFileSystem::RemoveCallback(pfnCallback pfnFunction)
{
    if (pfnFunction == nullptr)
        return;
    for (std::size_t nIndex = 0; nIndex < m_vCallbacks.size(); ++nIndex)
    {
        if (m_vCallbacks[nIndex].m_pfnCallback == pfnFunction)
        {
            m_vCallbacks.erase(m_vCallbacks.begin() + static_cast<std::ptrdiff_t>(nIndex));
            return;
        }
    }
}

std::int32_t CExtendedFileSystem::GetCallbackCount() const
{
    return static_cast<std::int32_t>(m_vCallbacks.size());
}

bool CExtendedFileSystem::HasCallbacks() const
{
    return GetCallbackCount() >= 1;
}

void CExtendedFileSystem::Notify(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR ulArg2)
{
    // The count is read anew at each step: a callback may add or remove callbacks.
    for (std::size_t nIndex = 0; nIndex < m_vCallbacks.size(); ++nIndex)
    {
        sCallback const Callback = m_vCallbacks[nIndex];
        if (Callback.m_pfnCallback != nullptr)
            Callback.m_pfnCallback(nCode, ulArg1, ulArg2, Callback.m_ulUserData);
    }
}

CExtendedFileSystem::sFileInfo * CExtendedFileSystem::GetFileForHandle(std::uint32_t ulHandle)
{
    if (ulHandle < 1 || ulHandle > FILE_SLOTS)
        return nullptr;
    return &m_aFileInfo[ulHandle - 1];
}

CExtendedFileSystem::sFileInfo const *
CExtendedFileSystem::GetFileForHandle(std::uint32_t ulHandle) const
{
    if (ulHandle < 1 || ulHandle > FILE_SLOTS)
        return nullptr;
    return &m_aFileInfo[ulHandle - 1];
}

std::uint32_t CExtendedFileSystem::GetHandleForFile(sFileInfo const * pFileInfo) const
{
    if (pFileInfo == nullptr)
        return 0;
    return static_cast<std::uint32_t>(pFileInfo - m_aFileInfo) + 1;
}

CExtendedFileSystem::sFileInfo * CExtendedFileSystem::AllocFileInfo()
{
    for (sFileInfo & FileInfo : m_aFileInfo)
    {
        if (FileInfo.m_pFile == nullptr)
            return &FileInfo;
    }
    return nullptr;
}

CExtendedFileSystem::sFileInfo * CExtendedFileSystem::GetOpenFile(std::uint32_t ulHandle,
                                                                  char const * szError) const
{
    // Const callers only read the slot they get.
    sFileInfo * pFileInfo = const_cast<CExtendedFileSystem *>(this)->GetFileForHandle(ulHandle);
    if (pFileInfo == nullptr || pFileInfo->m_pFile == nullptr)
        ThrowException(4008, __LINE__, s_szSourceFile, szError);
    return pFileInfo;
}

void CExtendedFileSystem::ThrowException(std::uint32_t ulCode, std::uint32_t ulLine,
                                         char const * szFile, char const * szError) const
{
    CXfsException const Error(ulCode, ulLine, szFile, szError);
    throw Error;
}

void CExtendedFileSystem::Log(int nLine, char const * szMessage) const
{
    _ZR_Log_Fn(s_szSourceFile, "Unknown", "", static_cast<std::uint32_t>(nLine), 0, LOG_DEBUGOUTPUT,
               5, "%s", szMessage);
}

std::FILE * CExtendedFileSystem::OpenSlotStream(sFileInfo const * pFileInfo, char const * szPath,
                                                std::uint32_t ulOffset, std::uint64_t * pullSize)
{
    return PLATFORM_OpenStreamToRead(szPath, ulOffset, SlotBlock(pFileInfo), pullSize);
}

char * CExtendedFileSystem::SlotBlock(sFileInfo const * pFileInfo)
{
    // Without a block of its own (none could be had) the stream makes its buffer itself.
    char *& pBlock = m_apStreamBuffers[pFileInfo - m_aFileInfo];
    if (pBlock == nullptr)
        pBlock =
            static_cast<char *>(MEM_Alloc(static_cast<std::uint32_t>(PLATFORM_STREAM_BLOCK_SIZE)));
    return pBlock;
}

char * CExtendedFileSystem::StreamBlock(sFileInfo const * pFileInfo) const
{
    return m_apStreamBuffers[pFileInfo - m_aFileInfo];
}

void CExtendedFileSystem::AdoptStreamBuffers(CExtendedFileSystem const & Other)
{
    // A stream copied with the file table keeps reading through its buffer; every other
    // slot makes a buffer of its own at its first use.
    for (std::uint32_t ulSlot = 0; ulSlot < FILE_SLOTS; ++ulSlot)
    {
        std::FILE * const pStream = Other.m_aFileInfo[ulSlot].m_pFile;
        m_apStreamBuffers[ulSlot] = pStream != nullptr ? Other.m_apStreamBuffers[ulSlot] : nullptr;
        if (pStream != nullptr)
            ShareStream(pStream);
    }
}

void CExtendedFileSystem::FreeStreamBuffers()
{
    // The block of a file still open goes on serving its stream: a copy of this object
    // that holds the stream too keeps it, and closes the stream; a stream no copy holds
    // stays open, since no file is closed here, and its block stays with it.
    for (std::uint32_t ulSlot = 0; ulSlot < FILE_SLOTS; ++ulSlot)
    {
        std::FILE * const pStream = m_aFileInfo[ulSlot].m_pFile;
        if (pStream == nullptr && m_apStreamBuffers[ulSlot] != nullptr)
            MEM_Free(m_apStreamBuffers[ulSlot]);
        else if (pStream != nullptr)
            LetGoOfShare(pStream);
        m_apStreamBuffers[ulSlot] = nullptr;
    }
}

void CExtendedFileSystem::VerifyFilePos(sFileInfo const * pFileInfo) const
{
    long const lStream = PLATFORM_TellFileStream(pFileInfo->m_pFile, StreamBlock(pFileInfo));
    if (lStream - static_cast<long>(pFileInfo->m_ulBaseOffset) !=
        static_cast<long>(pFileInfo->m_ulPosition))
        Log(__LINE__, "VERIFY_FILEPOS failure");
}

bool CExtendedFileSystem::ReSeek(sFileInfo * pFileInfo) const
{
    std::clearerr(pFileInfo->m_pFile);
    long const lTarget =
        static_cast<long>(pFileInfo->m_ulBaseOffset) + static_cast<long>(pFileInfo->m_ulPosition);
    return std::fseek(pFileInfo->m_pFile, lTarget, SEEK_SET) == 0;
}

void CExtendedFileSystem::SeekTo(sFileInfo * pFileInfo, std::int64_t llTarget)
{
    long const lStreamTarget = static_cast<long>(pFileInfo->m_ulBaseOffset) + llTarget;
    if (std::fseek(pFileInfo->m_pFile, lStreamTarget, SEEK_SET) != 0)
        ThrowException(4009, __LINE__, s_szSourceFile, s_szSeekError);
    pFileInfo->m_ulPosition = static_cast<std::uint32_t>(llTarget);
    VerifyFilePos(pFileInfo);
}

void CExtendedFileSystem::AfterWrite(sFileInfo * pFileInfo, std::uint32_t ulWritten)
{
    pFileInfo->m_ulPosition += ulWritten;
    if (pFileInfo->m_ulPosition > pFileInfo->m_ulFileSize)
        pFileInfo->m_ulFileSize = pFileInfo->m_ulPosition;
    VerifyFilePos(pFileInfo);
}
