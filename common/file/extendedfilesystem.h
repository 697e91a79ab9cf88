// CExtendedFileSystem: the one place through which file bytes pass. It hands out file
// handles 1 to 256 (slot index + 1, 0 is no file) from a fixed table, keeps its own
// position and size for each open file, and finds a name on disk, inside .arc archives
// named in the path, and under a list of search roots, in that order; a file inside an
// archive reads as an ordinary read-only file. Opening allocates nothing; an archive's
// directory is read once, at its first use, and stays in memory. No lock: one thread
// at a time. Failures of the outside world raise CXfsException, codes 4001 to 4016;
// every operation on a handle raises 4008 when the handle names no open file.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "common/kernel/api.h"
#include "common/string/zrstring.h"

// The events raised to callbacks by archive creation and extraction.
enum eXfsNotify
{
    XFS_NOTIFY_ADDFILE = 1,
    XFS_NOTIFY_EXTRACTFILE = 2,
    XFS_NOTIFY_MAKEDIR = 3,
    XFS_NOTIFY_FOUND = 4,
};

// What SurveyArchive reports of the tree it walks, in the order in which CreateArchive
// packs it: a directory entered, its files, the names it leaves out, each of its
// subdirectories in the same way, then the end of the directory. A subdirectory the walk can't go
// into is reported instead of being entered: CreateArchive would stop there with 4016.
enum eArchiveSurvey
{
    SURVEY_DIRECTORY = 1,   // entered; its content follows up to SURVEY_END
    SURVEY_FILE = 2,        // with its size
    SURVEY_END = 3,         // of the directory entered last and not yet ended
    SURVEY_NOT_ENTERED = 4, // changing into it failed
    SURVEY_TOO_DEEP = 5,    // the directory around it has a path of 1024 bytes or more
    SURVEY_LEFT_OUT = 6,    // a name of the directory that the search leaves out, and so
                            // packing too: a link to a directory, a dangling link, a FIFO,
                            // a socket, a device
};

class CArchiveSource;
class CFileWatch;

class COMMON_API CExtendedFileSystem
{
public:
    // Event code, two arguments and the user data given to AddCallback.
    typedef void (*pfnCallback)(int, ZR_ULONG_PTR, ZR_ULONG_PTR, ZR_ULONG_PTR);

    // One open file; the slot is free while m_pFile is null.
    struct sFileInfo
    {
        std::FILE * m_pFile;          // the open stream, or null
        std::uint32_t m_ulBaseOffset; // where byte 0 of the file lies in the stream
        std::uint32_t m_ulFileSize;   // the file's size, or the archive entry's
        std::uint32_t m_ulPosition;   // counted from the file's byte 0
    };

    // One registered event function and the user value it is called with.
    struct sCallback
    {
        pfnCallback m_pfnCallback; // never null
        ZR_ULONG_PTR m_ulUserData; // passed as the last argument of each call
    };

    // What events 1, 2 and 4 point to.
    struct sArchiveFileEvent
    {
        char m_szDirectory[260]; // the directory being packed or filled, terminated
        char m_szFileName[256];  // the file or directory name, terminated
    };

    // The 32-byte header of an archive unit, stored little-endian and packed.
    struct __attribute__((packed)) sHeader
    {
        std::uint32_t m_ulMagic;           // "ARCX"
        std::uint8_t m_ucMajorVersion;     // 1
        std::uint8_t m_ucMinorVersion;     // 0
        std::uint32_t m_ulArchiveSize;     // the whole unit
        std::uint32_t m_ulDirectoryOffset; // from the start of the unit
        std::uint32_t m_ulEntryCount;      // records in the directory
        std::uint8_t m_aReserved[14];      // written as zeros
    };

    // One 276-byte directory record, stored and kept in memory in this form.
    struct sArchiveEntry
    {
        char m_szName[256];           // no path; terminated
        std::uint32_t m_ulOffset;     // from the start of the unit holding the directory
        std::uint32_t m_ulSize;       // data size, or a nested unit's whole size
        std::uint8_t m_bDirectory;    // 1: the bytes are a nested unit
        std::uint8_t m_aReserved[11]; // written as zeros
    };

    // One registered unit, top-level or nested.
    struct sArchiveInfo
    {
        char m_szName[1024];           // top-level: its key, the full path; nested: entry name
        std::uint32_t m_ulBaseOffset;  // of the unit's header in the archive file
        sHeader m_sHeader;             // as read from the file
        sArchiveEntry * m_pEntries;    // owned, null when there are none; name hashes follow
        sArchiveInfo * m_pFirstChild;  // the child registered last
        sArchiveInfo * m_pNextSibling; // the next older child of the same parent
        char * m_szPath;               // the archive file on disk
    };

    // One report of SurveyArchive; the name is valid during the call only.
    struct sSurveyEntry
    {
        int m_nKind;             // eArchiveSurvey
        char const * m_szName;   // without a path; for SURVEY_END the directory's
        std::uint64_t m_ullSize; // a file's full size, 0 for the others
    };
    // Receives each report of SurveyArchive and the user value given to it.
    typedef void (*pfnSurveyCallback)(sSurveyEntry const &, ZR_ULONG_PTR);

    CExtendedFileSystem();
    // Copies member by member; the archive records get directories of their own.
    CExtendedFileSystem(CExtendedFileSystem const & Other);
    // Copies member by member, as the copy constructor does.
    CExtendedFileSystem & operator=(CExtendedFileSystem const & Other);
    // Clears roots and callbacks and frees the archive directories; closes no file.
    virtual ~CExtendedFileSystem();

    // Marks the object set up and returns true; the operations work without it, and
    // CFileIO calls it on its first use of the process-wide object.
    bool Setup();
    // True after Setup.
    bool IsSetup() const;

    // An empty root is ignored; duplicates stay.
    void AddRoot(CZRString const & sRoot);
    // AddRoot of the text; the result means nothing.
    int AddRoot(char const * szRoot);
    // Removes the first root equal to sRoot without regard to case.
    void RemoveRoot(CZRString const & sRoot);
    // RemoveRoot of the text; the result means nothing.
    int RemoveRoot(char const * szRoot);
    // Removes every root.
    void RemoveAllRoots();
    // The number of roots.
    std::int32_t GetRootCount() const;
    // True when there is at least one root.
    bool HasRoots() const;
    // The root at lIndex, which must lie in 0 to GetRootCount() - 1.
    CZRString const & GetRoot(std::int32_t lIndex) const;

    // Opens for reading: the name on disk, then through archives, then under each root.
    // Raises 4002 when it is found nowhere (a null name, or all handles taken, too); a
    // damaged archive on the way raises its own error (4006, 4010, 4014).
    std::uint32_t OpenFile(char const * szName);
    // Creates or truncates a file on disk; null gives 0. Raises 4001 when all handles
    // are taken, 4005 when the file cannot be created.
    std::uint32_t CreateFile(char const * szPath);
    // Opens a file on disk at its end, creating it; null gives 0. Raises 4001 when all
    // handles are taken, 4015 when the file cannot be opened.
    std::uint32_t AppendFile(char const * szPath);
    // Closes the file and frees its handle; true. Raises 4008 for a handle that names no
    // open file.
    bool CloseFile(std::uint32_t ulHandle);

    // False at the end; a read past the end delivers what remains and gives true.
    // Raises 4008 for a size of 0, 4006 when the stream fails to read.
    bool ReadFile(std::uint32_t ulHandle, void * pBuffer, std::uint32_t ulSize);
    // ReadFile of one byte into the low-order byte of *pChar.
    bool ReadChar(std::uint32_t ulHandle, int * pChar);
    // Puts back nChar, the byte that the last read delivered: the position goes back by
    // one as Seek would take it there, but the stream keeps its buffer and asks the
    // system nothing. Raises as Seek does.
    bool UnreadChar(std::uint32_t ulHandle, int nChar);
    // One line, its line end included, cut to ulSize - 1 bytes and terminated. Unlike
    // ReadFile it raises 4006 at the end of the file; 4008 for a size of 0.
    bool ReadLine(std::uint32_t ulHandle, char * pBuffer, std::uint32_t ulSize);
    // Writes at the position, growing the size when it passes the end. A size of 0 gives
    // true at once; raises 4008 for a bad handle, 4007 when the stream refuses the bytes
    // (a file opened for reading, every file inside an archive).
    bool WriteFile(std::uint32_t ulHandle, void const * pBuffer, std::uint32_t ulSize);
    // Writes the low-order byte of nChar.
    bool WriteFile(std::uint32_t ulHandle, int nChar);
    // Writes the text without terminator or line end; raises 4008 for a null text, 4007
    // when the write fails.
    bool WriteLine(std::uint32_t ulHandle, char const * szText);
    // Formatted text by the rules of printf; see VPrintf.
    bool Printf(std::uint32_t ulHandle, char const * szFormat, ...)
        __attribute__((format(printf, 3, 4)));
    // Formatted text by the rules of vprintf; raises 4008 for a bad handle or a null
    // format, 4007 when the write fails.
    bool VPrintf(std::uint32_t ulHandle, char const * szFormat, va_list pArgs);

    // The end of the file is a valid target; no seek goes beyond it or before 0: a
    // target outside raises 4009, as does a failing seek of the stream.
    bool Seek(std::uint32_t ulHandle, std::uint32_t ulPosition);
    // lOffset bytes from the position, forward or back.
    bool SeekCurrent(std::uint32_t ulHandle, std::int32_t lOffset);
    // ulDistance bytes back from the end.
    bool SeekEnd(std::uint32_t ulHandle, std::uint32_t ulDistance);
    // Seek to 0.
    bool Rewind(std::uint32_t ulHandle);
    // The position, counted from the file's byte 0 (the entry's, inside an archive).
    std::uint32_t Tell(std::uint32_t ulHandle) const;
    // Flushes the stream; false when that fails.
    bool Flush(std::uint32_t ulHandle);
    // True when the position is at the end.
    bool IsEof(std::uint32_t ulHandle) const;
    // The size of the file, or of the entry inside an archive.
    std::uint32_t GetFileSize(std::uint32_t ulHandle) const;
    // The search of OpenFile without its "File not found." exception.
    bool FileExists(char const * szName) const;

    // A null function is ignored; the same function may stand several times.
    void AddCallback(pfnCallback pfnFunction, ZR_ULONG_PTR ulUserData);
    // Removes the first record with this function.
    void RemoveCallback(pfnCallback pfnFunction);
    // The number of callback records.
    std::int32_t GetCallbackCount() const;
    // True when there is at least one callback record.
    bool HasCallbacks() const;

    // Packs the directory szSource (its directory part says where it lies, its file-name
    // part without extension names it) into the file szArchive, ".arc" added unless it
    // has that extension. Changes the current directory while it works; events 4 and 1.
    // Raises 4010 when the archive or a source file cannot be opened, 4006 or 4007 when
    // one cannot be read or the archive written, 4012 or 4013 for a header or directory
    // that cannot be written, 4016 for a directory it cannot change to; what was
    // written so far stays, and the current directory stays where the walk was.
    bool CreateArchive(char const * szArchive, char const * szSource);
    // Unpacks szArchive into a new directory named like the archive, below the directory
    // part of szTarget; false when the archive cannot be registered (no such file, or
    // the 256 archive records all taken). Events 3 and 2. A damaged archive raises its
    // error (4006, 4014), a file that cannot be created 4005, a directory it cannot
    // change to 4016; the files written so far stay.
    bool ExtractArchive(char const * szArchive, char const * szTarget);
    // Walks szSource as CreateArchive(szArchive, szSource) would, with the same searches
    // and the same changes of directory, and writes nothing: every name the archive
    // would hold is reported to pfnCallback, in packing order, with ulUserData. Raises
    // what CreateArchive raises before its walk, and 4016 when it can't get back.
    void SurveyArchive(char const * szArchive, char const * szSource, pfnSurveyCallback pfnCallback,
                       ZR_ULONG_PTR ulUserData);

    // Lists what OpenFile could open under szDirectory (backslash-separated, "" for the
    // top): names on disk, in the archives the walk reaches and under each root, merged
    // in the order of the search. Each name comes once, as the source that the search
    // would open has it (names from archives compare without regard to case); archive
    // units and top-level archives ("maps" for maps.arc) count as directories. Only
    // names matching szMask by the scanner's mask rules are taken, null being "*.*";
    // both lists are sorted without regard to case, then byte-wise. Gives the number of
    // names, 0 for a directory found nowhere. Archives are registered as the search
    // registers them, and a damaged one raises the search's error, leaving the lists.
    std::int32_t ListDirectory(char const * szDirectory, char const * szMask,
                               std::vector<CZRString> & vFiles,
                               std::vector<CZRString> & vDirectories);

    // Starts watching the file that OpenFile(szName) would open, through the system's
    // notification on its directory, so that saves by rename are seen too. False when
    // there is no such file or its directory can't be watched; a damaged archive raises
    // as in the search. Watching a name twice is one watch.
    bool Watch(char const * szName);
    // Ends the watch of szName; a name that isn't watched does nothing.
    void Unwatch(char const * szName);
    // Without waiting: the watched names whose content changed since the last call, each
    // once, in the order they were watched; gives their number. A file on disk changes
    // when it is written and closed, replaced, created or deleted; a name inside an
    // archive when the archive file changed and the member's bytes differ (a member
    // that is gone differs). The registered units of such an archive are read anew, so
    // that its members open with their new bytes. No system call when nothing is watched.
    std::int32_t PollChanges(std::vector<CZRString> & vChanged);

private:
    sFileInfo * GetFileForHandle(std::uint32_t ulHandle);
    sFileInfo const * GetFileForHandle(std::uint32_t ulHandle) const;
    std::uint32_t GetHandleForFile(sFileInfo const * pFileInfo) const;
    sFileInfo * AllocFileInfo();
    // The slot of an open file; 4008 with szError when the handle names none.
    sFileInfo * GetOpenFile(std::uint32_t ulHandle, char const * szError) const;
    [[noreturn]] void ThrowException(std::uint32_t ulCode, std::uint32_t ulLine,
                                     char const * szFile, char const * szError) const;
    void Notify(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR ulArg2);
    // The position check: logs "VERIFY_FILEPOS failure" when the stream disagrees.
    void VerifyFilePos(sFileInfo const * pFileInfo) const;
    // Puts the stream back where the file's position says; false when that fails.
    bool ReSeek(sFileInfo * pFileInfo) const;
    void SeekTo(sFileInfo * pFileInfo, std::int64_t llTarget);
    void AfterWrite(sFileInfo * pFileInfo, std::uint32_t ulWritten);
    void Log(int nLine, char const * szMessage) const;
    // Opens szPath for reading, standing at ulOffset, as the stream of the slot: it reads
    // through the slot's own stream block, made at the slot's first use and kept for the
    // streams that follow. Gives the file's size; null when it can't be opened.
    std::FILE * OpenSlotStream(sFileInfo const * pFileInfo, char const * szPath,
                               std::uint32_t ulOffset, std::uint64_t * pullSize);
    // The slot's stream block, made at its first use; null when none could be had.
    char * SlotBlock(sFileInfo const * pFileInfo);
    // The slot's stream block as it is, null before the slot's first stream.
    char * StreamBlock(sFileInfo const * pFileInfo) const;
    // Frees the blocks of closed slots; those of open ones go on with their streams.
    void FreeStreamBuffers();
    void AdoptStreamBuffers(CExtendedFileSystem const & Other);

    std::uint32_t ArchiveFileOpen(char const * szName);
    // The walk into archives, on a free slot; archivereader.cpp.
    std::uint32_t ArchiveFileOpenInArchive(char const * szName, sFileInfo * pFileInfo);
    sArchiveInfo * RegisterArchive(sArchiveInfo * pParent, char const * szName);
    // Registers the unit of the directory entry pEntry of pParent under szName; null when
    // the table of units is full. The entry must lie inside the parent's data.
    sArchiveInfo * RegisterNestedUnit(sArchiveInfo * pParent, sArchiveEntry const * pEntry,
                                      char const * szName);
    sArchiveInfo * FindArchive(sArchiveInfo * pParent, char const * szName);
    sArchiveEntry * FindArchiveEntry(sArchiveInfo * pArchive, char const * szName) const;
    void ReadArchiveUnit(sArchiveInfo * pRecord, std::FILE * pStream);
    // Archive creation; archivewriter.cpp.
    void RecursiveArchiveCreate(char const * szDirectory, std::FILE * pStream);
    std::uint32_t CountUnitEntries(sArchiveFileEvent & Event);
    void PackUnitFiles(std::FILE * pStream, std::uint64_t ullStart,
                       std::vector<sArchiveEntry> & vEntries, std::uint32_t & ulIndex,
                       sArchiveFileEvent & Event);
    void PackUnitDirectories(std::FILE * pStream, std::uint64_t ullStart,
                             std::vector<sArchiveEntry> & vEntries, std::uint32_t & ulIndex);
    // Writes the unit's records and its header with the final numbers.
    void FinishUnit(std::FILE * pStream, std::uint64_t ullStart, sHeader & Header,
                    std::vector<sArchiveEntry> const & vEntries);
    void RecursiveArchiveSurvey(char const * szDirectory, pfnSurveyCallback pfnCallback,
                                ZR_ULONG_PTR ulUserData);
    // Starts a search with szMask, or goes on with the running one when it is null; the
    // name of the hit, valid until the next step, or null at the end. The size is the
    // file's full size, so that files of 4 GiB or more are seen as such.
    char * FindFiles(char const * szMask, bool * pIsDirectory, std::uint64_t * pSize);
    // Archive extraction; archiveextractor.cpp.
    void RecursiveArchiveExtract(char const * szDirectory, sArchiveInfo * pArchive);
    // Writes one file; Source is the unit's archive file, opened at its first use.
    void ExtractEntry(sArchiveInfo const * pArchive, sArchiveEntry const * pEntry,
                      sArchiveFileEvent & Event, CArchiveSource & Source);
    void CopyArchivesFrom(CExtendedFileSystem const & Other);
    void FreeArchives();
    // The unit that the whole of szPath names, every part registered on the way as the
    // walk does; null when a part is empty or names no unit. directorylisting.cpp.
    sArchiveInfo * WalkToUnit(char const * szPath);
    // Reads the registered units of the top-level archive pTop anew from its file; a unit
    // that can no longer be read is left without entries. filewatch.cpp.
    void ReloadArchive(sArchiveInfo * pTop);
    void ReloadUnit(sArchiveInfo * pUnit, std::uint64_t ullBase);
    // Ends every watch and frees the watch state; a null one is allowed.
    static void EndWatches(CFileWatch *& pWatch);
    friend class CFileWatch;

    std::vector<CZRString> m_vRoots;     // in the order they were added
    sFileInfo m_aFileInfo[256];          // slot index + 1 is the handle
    sArchiveInfo m_sArchiveRoot;         // head of the tree: only m_pFirstChild is used
    sArchiveInfo m_aArchives[256];       // records in the order of registration
    bool m_bSetup;                       // only serves CFileIO's set-up on demand
    std::vector<sCallback> m_vCallbacks; // in the order they were added
    char * m_apStreamBuffers[256];       // per slot stream blocks, see OpenSlotStream
    CFileWatch * m_pWatch;               // the watched names; null until the first Watch

    // Units registered by all instances together; only grows, at most 256.
    static std::uint32_t s_ulArchiveCount;
};

// The event record under its short name as well, for the host's callbacks.
typedef CExtendedFileSystem::sArchiveFileEvent sArchiveFileEvent;
