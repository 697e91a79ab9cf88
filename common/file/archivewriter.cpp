// Writing .arc archives. A directory becomes one unit: a provisional header, then three
// searches of the directory, one that counts its files and subdirectories, one that
// copies the files' data and one that writes a nested unit per subdirectory, so that all
// files precede all subdirectories whatever order the search delivers; then the records
// of the directory, and the header again with its numbers. The walk moves the process's
// current directory into each directory it packs and back, so one walk runs at a time.
// Sizes and offsets of the format have 32 bits: a source file of 4 GiB or more and a
// unit that would pass 4 GiB are refused before a wrong number is written.
#include <cstring>
#include <string>
#include <vector>

#include "common/exception/zrexception.h"
#include "common/file/archivebuffer.h"
#include "common/file/archivepath.h"
#include "common/file/extendedfilesystem.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"
#include "common/platform/currentdir.h"
#include "common/platform/dirsearch.h"
#include "common/platform/fileopen.h"
#include "common/platform/fullpath.h"
#include "common/platform/rawfile.h"
#include "common/platform/splitpath.h"
#include "common/platform/streamio.h"

static char const s_szSourceFile[] = "common/file/extendedfilesystem";

namespace
{
constexpr std::uint32_t ARCHIVE_MAGIC = 0x58435241; // "ARCX"
constexpr std::uint64_t UNIT_LIMIT = 0xFFFFFFFFu;
constexpr std::size_t PATH_BUFFER = 1024;
constexpr std::uint32_t FIND_ATTRIBUTE_DIRECTORY = 0x10;
// The archive is written in long runs; a large buffer saves a system call per small
// file and record.
constexpr std::size_t OUTPUT_BUFFER = 1 << 20;

char const s_szChangeDirectoryError[] =
    "Could not change to the directory, the directory doesn't probably exist.";
char const s_szOpenError[] = "Could not open file.";
char const s_szReadError[] = "Error reading from file.";
char const s_szWriteError[] = "Error writing to file.";
char const s_szDirectoryError[] = "Error writing archive directory.";

// The search's record of its latest hit, as _findfirst and _findnext fill it.
struct sFindData
{
    std::uint32_t m_ulAttribute; // FIND_ATTRIBUTE_DIRECTORY for a directory
    std::uint64_t m_ullSize;     // filled when a caller asks for it
    char m_szName[260];
};

// The search state of the process. s_hFind carries the platform's search; -1 is none.
ZR_LONG_PTR s_hFind = -1;
sFindData s_sFindData;
char const * const s_szFindMask = "*.*";

// The archive being written: the walk leaves it out when it lies inside the tree.
char s_szArchiveFileName[PLATFORM_MAX_FNAME + PLATFORM_MAX_EXT];
sFileIdentity s_ArchiveIdentity;
bool s_bArchiveKnown = false;

void * SearchOf(ZR_LONG_PTR hFind)
{
    return reinterpret_cast<void *>(hFind);
}

bool NextHit(void * hSearch, sFindData & Data)
{
    char const * szName = nullptr;
    bool bDirectory = false;
    if (!PLATFORM_NextDirSearchHit(hSearch, szName, bDirectory))
        return false;
    Data.m_ulAttribute = bDirectory ? FIND_ATTRIBUTE_DIRECTORY : 0;
    Data.m_ullSize = 0;
    ARCHIVE_CopyTextCut(Data.m_szName, sizeof(Data.m_szName), szName);
    return true;
}

// _findfirst in the current directory: the search with its first hit, or -1.
ZR_LONG_PTR FindFirst(char const * szMask, sFindData & Data)
{
    void * hSearch = PLATFORM_OpenDirSearch("", szMask);
    if (hSearch == nullptr)
        return -1;
    if (!NextHit(hSearch, Data))
    {
        PLATFORM_CloseDirSearch(hSearch);
        return -1;
    }
    return reinterpret_cast<ZR_LONG_PTR>(hSearch);
}

bool NextEntry(void * hSearch, sFindData & Data, bool & bHit)
{
    char const * szName = nullptr;
    bool bDirectory = false;
    if (!PLATFORM_NextDirSearchEntry(hSearch, szName, bDirectory, bHit))
        return false;
    Data.m_ulAttribute = bDirectory ? FIND_ATTRIBUTE_DIRECTORY : 0;
    Data.m_ullSize = 0;
    ARCHIVE_CopyTextCut(Data.m_szName, sizeof(Data.m_szName), szName);
    return true;
}

// The end of a search releases the platform's search as well as forgetting it.
void EndSearch(ZR_LONG_PTR hFind)
{
    if (hFind != -1)
        PLATFORM_CloseDirSearch(SearchOf(hFind));
}

// The survey's step through the search: as FindFiles, asking for the size, but also
// stopping at the names that the search leaves out, with bHit false.
char * SurveyStep(char const * szMask, bool & bDirectory, bool & bHit, std::uint64_t & ullSize)
{
    if (szMask != nullptr)
    {
        void * const hSearch = PLATFORM_OpenDirSearch("", szMask);
        if (hSearch == nullptr)
            return nullptr;
        s_hFind = reinterpret_cast<ZR_LONG_PTR>(hSearch);
    }
    if (s_hFind == -1)
        return nullptr;
    if (!NextEntry(SearchOf(s_hFind), s_sFindData, bHit))
    {
        EndSearch(s_hFind);
        s_hFind = -1;
        return nullptr;
    }
    bDirectory = (s_sFindData.m_ulAttribute & FIND_ATTRIBUTE_DIRECTORY) != 0;
    s_sFindData.m_ullSize = PLATFORM_GetDirSearchHitSize(SearchOf(s_hFind));
    ullSize = s_sFindData.m_ullSize;
    return s_sFindData.m_szName;
}

// A search put aside while a nested unit runs searches of its own: handed back when
// the nested unit is done, ended when an error leaves the walk. It takes the search
// from s_hFind, so that exactly one owner ends it: an error raised before the nested
// unit starts a search of its own would otherwise leave it in both places.
class CSavedSearch
{
public:
    CSavedSearch() : m_hFind(s_hFind) { s_hFind = -1; }
    ~CSavedSearch() { EndSearch(m_hFind); }
    CSavedSearch(CSavedSearch const &) = delete;
    CSavedSearch & operator=(CSavedSearch const &) = delete;
    ZR_LONG_PTR Release()
    {
        ZR_LONG_PTR const hFind = m_hFind;
        m_hFind = -1;
        return hFind;
    }

private:
    ZR_LONG_PTR m_hFind;
};

// Ends whatever search an error left running when the walk is left.
class CSearchCleanup
{
public:
    CSearchCleanup() = default;
    ~CSearchCleanup()
    {
        EndSearch(s_hFind);
        s_hFind = -1;
    }
    CSearchCleanup(CSearchCleanup const &) = delete;
    CSearchCleanup & operator=(CSearchCleanup const &) = delete;
};

// A block of the MEM_ heap, freed when it goes out of scope; null for 0 bytes.
class CBlock
{
public:
    explicit CBlock(std::uint32_t ulSize) : m_pMemory(ulSize > 0 ? MEM_Alloc(ulSize) : nullptr) {}
    ~CBlock()
    {
        if (m_pMemory != nullptr)
            MEM_Free(m_pMemory);
    }
    CBlock(CBlock const &) = delete;
    CBlock & operator=(CBlock const &) = delete;
    void * Get() const { return m_pMemory; }

private:
    void * m_pMemory;
};

// The archive's stream, closed when an error leaves the walk, so that what was written
// reaches the disk: every unit left unfinished keeps its provisional header, which
// reads as an empty unit.
class CArchiveStream
{
public:
    // Gives the stream a buffer of its own, which glibc's setvbuf doesn't allocate.
    explicit CArchiveStream(std::FILE * pStream) : m_pStream(pStream), m_Buffer(OUTPUT_BUFFER)
    {
        if (m_Buffer.Get() != nullptr)
            std::setvbuf(pStream, static_cast<char *>(m_Buffer.Get()), _IOFBF, OUTPUT_BUFFER);
    }
    ~CArchiveStream()
    {
        if (m_pStream != nullptr)
            std::fclose(m_pStream);
    }
    CArchiveStream(CArchiveStream const &) = delete;
    CArchiveStream & operator=(CArchiveStream const &) = delete;
    // Closes the stream; false when what it held can't be written.
    bool Close()
    {
        std::FILE * const pStream = m_pStream;
        m_pStream = nullptr;
        return std::fclose(pStream) == 0;
    }

private:
    std::FILE * m_pStream;
    CBlock const m_Buffer; // freed after the stream is closed
};

bool IsDotName(char const * szName)
{
    return std::strcmp(szName, ".") == 0 || std::strcmp(szName, "..") == 0;
}

void RememberArchiveName(char const * szArchive)
{
    char szFileName[PLATFORM_MAX_FNAME];
    char szExtension[PLATFORM_MAX_EXT];
    PLATFORM_SplitPath(szArchive, nullptr, nullptr, szFileName, szExtension);
    std::strcpy(s_szArchiveFileName, szFileName);
    std::strcat(s_szArchiveFileName, szExtension);
}

void RememberArchive(std::FILE * pStream, char const * szArchive)
{
    RememberArchiveName(szArchive);
    s_bArchiveKnown = PLATFORM_GetStreamIdentity(pStream, s_ArchiveIdentity);
}

// The archive that CreateArchive will write to szArchive, if a file stands there already.
void RememberArchivePath(char const * szArchive)
{
    RememberArchiveName(szArchive);
    s_bArchiveKnown = PLATFORM_GetPathIdentity(szArchive, s_ArchiveIdentity);
}

// Whether the file szName of the current directory is the archive being written.
bool IsArchiveItself(char const * szName)
{
    sFileIdentity Identity;
    return s_bArchiveKnown && std::strcmp(szName, s_szArchiveFileName) == 0 &&
           PLATFORM_GetPathIdentity(szName, Identity) &&
           Identity.m_ullDevice == s_ArchiveIdentity.m_ullDevice &&
           Identity.m_ullInode == s_ArchiveIdentity.m_ullInode;
}

// Whether a hit of the search becomes an entry of the unit: "." and ".." don't, and
// neither does the archive being written.
bool IsUnitEntry(char const * szName, bool bDirectory)
{
    return bDirectory ? !IsDotName(szName) : !IsArchiveItself(szName);
}

// The archive's file name as szArchive gives it, ".arc" added unless that is its
// extension; false when it doesn't fit the path buffer.
bool ArchiveNameOf(char const * szArchive, char (&szArchiveName)[PATH_BUFFER])
{
    if (szArchive == nullptr || !ARCHIVE_CopyText(szArchiveName, sizeof(szArchiveName), szArchive))
        return false;
    char szExtension[PLATFORM_MAX_EXT];
    PLATFORM_SplitPath(szArchiveName, nullptr, nullptr, nullptr, szExtension);
    return STR_stricmp(szExtension, ".arc") == 0 ||
           ARCHIVE_AppendText(szArchiveName, sizeof(szArchiveName), ".arc");
}

// Where the walk over szSource starts: the directory to change to, the name of the
// directory to pack there, and the current directory to come back to. False when
// one of them can't be had.
bool SourcePartsOf(char const * szSource, char (&szSourceDirectory)[PATH_BUFFER],
                   char (&szSourceName)[PLATFORM_MAX_FNAME], char (&szSaved)[PATH_BUFFER])
{
    if (szSource == nullptr ||
        !ARCHIVE_DirectoryPart(szSource, szSourceDirectory, sizeof(szSourceDirectory)) ||
        PLATFORM_GetCurrentDirectory(szSaved, sizeof(szSaved)) == nullptr)
        return false;
    PLATFORM_SplitPath(szSource, nullptr, nullptr, szSourceName, nullptr);
    return true;
}

// Forgets the archive being written when the walk is left, also by an error.
class CArchiveForget
{
public:
    CArchiveForget() = default;
    ~CArchiveForget() { s_bArchiveKnown = false; }
    CArchiveForget(CArchiveForget const &) = delete;
    CArchiveForget & operator=(CArchiveForget const &) = delete;
};

void Report(CExtendedFileSystem::pfnSurveyCallback pfnCallback, ZR_ULONG_PTR ulUserData, int nKind,
            char const * szName, std::uint64_t ullSize = 0)
{
    CExtendedFileSystem::sSurveyEntry const Entry{nKind, szName, ullSize};
    pfnCallback(Entry, ulUserData);
}

// A source file opened for reading, closed when it is done with, also by an error.
class CSourceFile
{
public:
    explicit CSourceFile(char const * szName)
        : m_nFile(PLATFORM_OpenFileForReading(szName, m_ullSize))
    {
    }
    ~CSourceFile() { Close(); }
    CSourceFile(CSourceFile const &) = delete;
    CSourceFile & operator=(CSourceFile const &) = delete;
    bool IsOpen() const { return m_nFile != -1; }
    int File() const { return m_nFile; }
    std::uint64_t Size() const { return m_ullSize; }
    void Close()
    {
        if (m_nFile != -1)
            PLATFORM_CloseFileDescriptor(m_nFile);
        m_nFile = -1;
    }

private:
    std::uint64_t m_ullSize = 0;
    int m_nFile; // after m_ullSize, which opening fills
};

// The size of the running search's latest hit, as the search reports it.
std::uint64_t HitSize()
{
    s_sFindData.m_ullSize = PLATFORM_GetDirSearchHitSize(SearchOf(s_hFind));
    return s_sFindData.m_ullSize;
}

// The bytes of one source file on their way into the archive. They are written as they
// are read, ahead of the event that announces their write, so that no file is held in
// memory whole. Until they are kept, an error that leaves the file's packing cuts them
// off again: the archive then holds what it would if the whole file had been read
// before the event and written after it.
class CPendingData
{
public:
    CPendingData(std::FILE * pStream, std::uint64_t ullFrom)
        : m_pStream(pStream), m_ullFrom(ullFrom)
    {
    }
    ~CPendingData()
    {
        if (m_bWritten)
            PLATFORM_CutStream(m_pStream, m_ullFrom);
    }
    CPendingData(CPendingData const &) = delete;
    CPendingData & operator=(CPendingData const &) = delete;
    void Written() { m_bWritten = true; }
    void Keep() { m_bWritten = false; }

private:
    std::FILE * m_pStream;
    std::uint64_t m_ullFrom; // where the file's bytes begin in the archive
    bool m_bWritten = false;
};

// Whether the bytes of nFile from ullFrom to ullTo can all be read.
bool ReadsToEnd(int nFile, std::uint64_t ullFrom, std::uint64_t ullTo)
{
    void * const pBuffer = ARCHIVE_CopyBuffer(ARCHIVE_COPY_CHUNK);
    for (std::uint64_t ullAt = ullFrom; ullAt < ullTo; ullAt += ARCHIVE_COPY_CHUNK)
    {
        std::size_t const nChunk = ullTo - ullAt < ARCHIVE_COPY_CHUNK
                                       ? static_cast<std::size_t>(ullTo - ullAt)
                                       : ARCHIVE_COPY_CHUNK;
        if (pBuffer == nullptr || !PLATFORM_ReadFileAt(nFile, pBuffer, nChunk, ullAt))
            return false;
    }
    return true;
}

// Reads the ulSize bytes of the file and writes them to the stream; false when the file
// reads short. A small file is read whole before it is written, a large one copied in
// pieces. A failed write is told in bWriteFailed once the rest of the file has been read,
// since a short read, which the whole file's read would meet first, takes precedence.
bool CopySource(int nFile, std::uint32_t ulSize, std::FILE * pStream, CPendingData & Pending,
                bool & bWriteFailed)
{
    bWriteFailed = false;
    if (ulSize == 0)
        return true;
    if (ulSize <= ARCHIVE_COPY_CHUNK)
    {
        void * const pBuffer = ARCHIVE_CopyBuffer(ulSize);
        if (pBuffer == nullptr || !PLATFORM_ReadFileAt(nFile, pBuffer, ulSize, 0))
            return false;
        Pending.Written();
        bWriteFailed = PLATFORM_WriteStream(pBuffer, ulSize, pStream) != ulSize;
        return true;
    }
    Pending.Written();
    std::uint64_t ullCopied = 0;
    eFileCopy const eCopy = PLATFORM_CopyFileToStream(nFile, 0, ulSize, pStream, ullCopied);
    if (eCopy == FILECOPY_SHORT_READ)
        return false;
    bWriteFailed = eCopy == FILECOPY_WRITE_FAILED;
    return !bWriteFailed || ReadsToEnd(nFile, ullCopied, ulSize);
}

std::uint64_t StreamPosition(std::FILE * pStream)
{
    long const lPosition = std::ftell(pStream);
    return lPosition > 0 ? static_cast<std::uint64_t>(lPosition) : 0;
}
} // namespace

bool CExtendedFileSystem::CreateArchive(char const * szArchive, char const * szSource)
{
    char szArchiveName[PATH_BUFFER];
    if (!ArchiveNameOf(szArchive, szArchiveName))
        ThrowException(4010, __LINE__, s_szSourceFile, s_szOpenError);
    std::FILE * pStream = PLATFORM_OpenFile(szArchiveName, "wb");
    if (pStream == nullptr)
        ThrowException(4010, __LINE__, s_szSourceFile, s_szOpenError);
    CArchiveStream Stream(pStream);
    RememberArchive(pStream, szArchiveName);

    char szSourceDirectory[PATH_BUFFER];
    char szSourceName[PLATFORM_MAX_FNAME];
    char szSaved[PATH_BUFFER];
    if (!SourcePartsOf(szSource, szSourceDirectory, szSourceName, szSaved))
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);

    CSearchCleanup const Cleanup;
    CArchiveBufferRelease const Release;
    if (PLATFORM_ChangeDirectory(szSourceDirectory) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    RecursiveArchiveCreate(szSourceName, pStream);
    if (PLATFORM_ChangeDirectory(szSaved) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    s_bArchiveKnown = false;
    // Written data may reach the disk only now: a failure here is a failed write.
    if (!Stream.Close())
        ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
    return true;
}

void CExtendedFileSystem::RecursiveArchiveCreate(char const * szDirectory, std::FILE * pStream)
{
    // The argument may be the search's own record, which the searches below overwrite.
    char szName[PLATFORM_MAX_FNAME];
    ARCHIVE_CopyTextCut(szName, sizeof(szName), szDirectory);
    char szSaved[PATH_BUFFER];
    if (PLATFORM_GetCurrentDirectory(szSaved, sizeof(szSaved)) == nullptr)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    std::uint64_t const ullStart = StreamPosition(pStream);
    if (PLATFORM_ChangeDirectory(szName) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    sArchiveFileEvent Event;
    MEM_Zero(&Event, sizeof(Event));
    ARCHIVE_ReadEventDirectory(Event.m_szDirectory);

    sHeader Header;
    MEM_Zero(&Header, sizeof(Header));
    Header.m_ulMagic = ARCHIVE_MAGIC;
    Header.m_ucMajorVersion = 1;
    Header.m_ucMinorVersion = 0;
    if (PLATFORM_WriteStream(&Header, sizeof(Header), pStream) != sizeof(Header))
        ThrowException(4012, __LINE__, s_szSourceFile, "Unable to write archive header.");

    Header.m_ulEntryCount = CountUnitEntries(Event);
    std::vector<sArchiveEntry> vEntries(Header.m_ulEntryCount); // zeroed
    std::uint32_t ulIndex = 0;
    PackUnitFiles(pStream, ullStart, vEntries, ulIndex, Event);
    PackUnitDirectories(pStream, ullStart, vEntries, ulIndex);
    if (ulIndex != Header.m_ulEntryCount)
    {
        Log(__LINE__, "CreateArchive: Directory entry count out of sync for ");
        Log(__LINE__, szName);
        Log(__LINE__, "\n");
    }
    FinishUnit(pStream, ullStart, Header, vEntries);
    if (PLATFORM_ChangeDirectory(szSaved) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
}

std::uint32_t CExtendedFileSystem::CountUnitEntries(sArchiveFileEvent & Event)
{
    std::uint32_t ulCount = 0;
    bool bDirectory = false;
    for (char * szName = FindFiles(s_szFindMask, &bDirectory, nullptr); szName != nullptr;
         szName = FindFiles(nullptr, &bDirectory, nullptr))
    {
        if (!IsUnitEntry(szName, bDirectory))
            continue;
        if (HasCallbacks())
        {
            ARCHIVE_CopyTextCut(Event.m_szFileName, sizeof(Event.m_szFileName), szName);
            Notify(XFS_NOTIFY_FOUND, reinterpret_cast<ZR_ULONG_PTR>(&Event), 0);
        }
        ++ulCount;
    }
    return ulCount;
}

void CExtendedFileSystem::PackUnitFiles(std::FILE * pStream, std::uint64_t ullStart,
                                        std::vector<sArchiveEntry> & vEntries,
                                        std::uint32_t & ulIndex, sArchiveFileEvent & Event)
{
    std::uint64_t ullPosition = StreamPosition(pStream) - ullStart;
    bool bDirectory = false;
    for (char * szName = FindFiles(s_szFindMask, &bDirectory, nullptr); szName != nullptr;
         szName = FindFiles(nullptr, &bDirectory, nullptr))
    {
        if (bDirectory || IsArchiveItself(szName))
            continue;
        // A hit beyond what the counting pass saw is packed like any other, but has no
        // record to fill; the count mismatch is reported at the end.
        sArchiveEntry * const pEntry = ulIndex < vEntries.size() ? &vEntries[ulIndex] : nullptr;
        // The size is the opened file's, which spares looking the name up once more for
        // the search's; that is asked for only when the file can't be opened, so that a
        // size that can't be stored is still reported before a file that can't be opened.
        CSourceFile Source(szName);
        std::uint64_t const ullSize = Source.IsOpen() ? Source.Size() : HitSize();
        if (ullSize > UNIT_LIMIT)
            ThrowException(4006, __LINE__, s_szSourceFile, s_szReadError);
        if (ullPosition + ullSize > UNIT_LIMIT)
            ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
        if (!Source.IsOpen())
            ThrowException(4010, __LINE__, s_szSourceFile, s_szOpenError);
        std::uint32_t const ulSize = static_cast<std::uint32_t>(ullSize);
        CPendingData Pending(pStream, ullStart + ullPosition);
        bool bWriteFailed = false;
        bool const bRead = CopySource(Source.File(), ulSize, pStream, Pending, bWriteFailed);
        Source.Close();
        if (!bRead)
            ThrowException(4006, __LINE__, s_szSourceFile, s_szReadError);

        if (pEntry != nullptr)
        {
            ARCHIVE_CopyTextCut(pEntry->m_szName, sizeof(pEntry->m_szName), szName);
            pEntry->m_ulOffset = static_cast<std::uint32_t>(ullPosition);
        }
        if (HasCallbacks())
        {
            ARCHIVE_CopyTextCut(Event.m_szFileName, sizeof(Event.m_szFileName), szName);
            Notify(XFS_NOTIFY_ADDFILE, reinterpret_cast<ZR_ULONG_PTR>(&Event), 0);
        }
        Pending.Keep();
        if (bWriteFailed)
            ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
        ullPosition += ulSize;
        if (pEntry != nullptr)
            pEntry->m_ulSize = ulSize;
        ++ulIndex;
    }
}

void CExtendedFileSystem::PackUnitDirectories(std::FILE * pStream, std::uint64_t ullStart,
                                              std::vector<sArchiveEntry> & vEntries,
                                              std::uint32_t & ulIndex)
{
    bool bDirectory = false;
    for (char * szName = FindFiles(s_szFindMask, &bDirectory, nullptr); szName != nullptr;
         szName = FindFiles(nullptr, &bDirectory, nullptr))
    {
        if (!bDirectory || IsDotName(szName))
            continue;
        // As in the file pass, a subdirectory beyond the count is packed without a record.
        sArchiveEntry * const pEntry = ulIndex < vEntries.size() ? &vEntries[ulIndex] : nullptr;
        std::uint64_t const ullOffset = StreamPosition(pStream) - ullStart;
        if (ullOffset > UNIT_LIMIT)
            ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
        if (pEntry != nullptr)
        {
            ARCHIVE_CopyTextCut(pEntry->m_szName, sizeof(pEntry->m_szName), szName);
            pEntry->m_ulOffset = static_cast<std::uint32_t>(ullOffset);
        }
        {
            CSavedSearch Saved;
            // The nested call copies the name before its searches overwrite it.
            RecursiveArchiveCreate(szName, pStream);
            s_hFind = Saved.Release();
        }
        std::uint64_t const ullEnd = StreamPosition(pStream) - ullStart;
        if (ullEnd > UNIT_LIMIT)
            ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
        if (pEntry != nullptr)
        {
            pEntry->m_ulSize = static_cast<std::uint32_t>(ullEnd - ullOffset);
            pEntry->m_bDirectory = 1;
        }
        ++ulIndex;
    }
}

void CExtendedFileSystem::FinishUnit(std::FILE * pStream, std::uint64_t ullStart, sHeader & Header,
                                     std::vector<sArchiveEntry> const & vEntries)
{
    std::uint64_t const ullDirectory = StreamPosition(pStream) - ullStart;
    std::uint64_t const ullBytes =
        static_cast<std::uint64_t>(vEntries.size()) * sizeof(sArchiveEntry);
    if (ullDirectory + ullBytes > UNIT_LIMIT)
        ThrowException(4007, __LINE__, s_szSourceFile, s_szWriteError);
    Header.m_ulDirectoryOffset = static_cast<std::uint32_t>(ullDirectory);
    if (ullBytes > 0 && PLATFORM_WriteStream(vEntries.data(), ullBytes, pStream) != ullBytes)
        ThrowException(4013, __LINE__, s_szSourceFile, s_szDirectoryError);
    Header.m_ulArchiveSize = static_cast<std::uint32_t>(ullDirectory + ullBytes);
    // A seek writes out what the stream holds: its failure is a failed write.
    if (std::fseek(pStream, static_cast<long>(ullStart), SEEK_SET) != 0 ||
        PLATFORM_WriteStream(&Header, sizeof(Header), pStream) != sizeof(Header) ||
        std::fseek(pStream, static_cast<long>(ullStart + Header.m_ulArchiveSize), SEEK_SET) != 0)
        ThrowException(4013, __LINE__, s_szSourceFile, s_szDirectoryError);
}

void CExtendedFileSystem::SurveyArchive(char const * szArchive, char const * szSource,
                                        pfnSurveyCallback pfnCallback, ZR_ULONG_PTR ulUserData)
{
    char szArchiveName[PATH_BUFFER];
    if (!ArchiveNameOf(szArchive, szArchiveName))
        ThrowException(4010, __LINE__, s_szSourceFile, s_szOpenError);
    char szSourceDirectory[PATH_BUFFER];
    char szSourceName[PLATFORM_MAX_FNAME];
    char szSaved[PATH_BUFFER];
    if (!SourcePartsOf(szSource, szSourceDirectory, szSourceName, szSaved))
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    // An archive that exists already is emptied by CreateArchive and left out of the
    // walk; one that doesn't exist yet can't be among the names.
    CArchiveForget const Forget;
    RememberArchivePath(szArchiveName);
    CSearchCleanup const Cleanup;
    if (PLATFORM_ChangeDirectory(szSourceDirectory) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    if (pfnCallback != nullptr)
        RecursiveArchiveSurvey(szSourceName, pfnCallback, ulUserData);
    if (PLATFORM_ChangeDirectory(szSaved) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
}

void CExtendedFileSystem::RecursiveArchiveSurvey(char const * szDirectory,
                                                 pfnSurveyCallback pfnCallback,
                                                 ZR_ULONG_PTR ulUserData)
{
    char szName[PLATFORM_MAX_FNAME];
    ARCHIVE_CopyTextCut(szName, sizeof(szName), szDirectory);
    // The steps where RecursiveArchiveCreate raises 4016 on its way in.
    char szSaved[PATH_BUFFER];
    if (PLATFORM_GetCurrentDirectory(szSaved, sizeof(szSaved)) == nullptr)
        return Report(pfnCallback, ulUserData, SURVEY_TOO_DEEP, szName);
    if (PLATFORM_ChangeDirectory(szName) == -1)
        return Report(pfnCallback, ulUserData, SURVEY_NOT_ENTERED, szName);
    Report(pfnCallback, ulUserData, SURVEY_DIRECTORY, szName);

    // One search gives both groups, each in the search's order, as the two passes of
    // packing do: the files as they come, the subdirectories afterwards; and between
    // them the names that packing leaves out.
    std::vector<std::string> vDirectories;
    std::vector<std::string> vLeftOut;
    bool bDirectory = false;
    bool bHit = false;
    std::uint64_t ullSize = 0;
    for (char * szEntry = SurveyStep(s_szFindMask, bDirectory, bHit, ullSize); szEntry != nullptr;
         szEntry = SurveyStep(nullptr, bDirectory, bHit, ullSize))
    {
        if (!bHit)
            vLeftOut.emplace_back(szEntry);
        else if (!IsUnitEntry(szEntry, bDirectory))
            continue;
        else if (bDirectory)
            vDirectories.emplace_back(szEntry);
        else
            Report(pfnCallback, ulUserData, SURVEY_FILE, szEntry, ullSize);
    }
    for (std::string const & sLeftOut : vLeftOut)
        Report(pfnCallback, ulUserData, SURVEY_LEFT_OUT, sLeftOut.c_str());
    for (std::string const & sSubdirectory : vDirectories)
        RecursiveArchiveSurvey(sSubdirectory.c_str(), pfnCallback, ulUserData);
    Report(pfnCallback, ulUserData, SURVEY_END, szName);
    if (PLATFORM_ChangeDirectory(szSaved) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
}

char * CExtendedFileSystem::FindFiles(char const * szMask, bool * pIsDirectory,
                                      std::uint64_t * pSize)
{
    if (szMask != nullptr)
    {
        s_hFind = FindFirst(szMask, s_sFindData);
        if (s_hFind == -1)
            return nullptr;
    }
    else
    {
        if (s_hFind == -1)
            return nullptr;
        if (!NextHit(SearchOf(s_hFind), s_sFindData))
        {
            EndSearch(s_hFind);
            s_hFind = -1;
            return nullptr;
        }
    }
    if (pIsDirectory != nullptr)
        *pIsDirectory = (s_sFindData.m_ulAttribute & FIND_ATTRIBUTE_DIRECTORY) != 0;
    if (pSize != nullptr)
    {
        s_sFindData.m_ullSize = PLATFORM_GetDirSearchHitSize(SearchOf(s_hFind));
        *pSize = s_sFindData.m_ullSize;
    }
    return s_sFindData.m_szName;
}
