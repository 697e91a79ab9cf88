// Unpacking .arc archives. The archive is registered as for reading; its top unit
// becomes a new directory named like the archive below the target directory, and each
// nested unit a directory below that, files first, then subdirectories. The walk moves
// the process's current directory into each directory it fills and back, so one walk
// runs at a time. The archive comes from outside: a name that could leave the directory
// being filled (empty, ".", "..", or with a slash or backslash) is refused before
// anything is written for it, and an entry whose bytes don't lie inside the archive
// file is refused before anything is allocated for it.
#include <algorithm>
#include <cstring>
#include <vector>

#include "common/exception/zrexception.h"
#include "common/file/archivebuffer.h"
#include "common/file/archivepath.h"
#include "common/file/extendedfilesystem.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"
#include "common/platform/currentdir.h"
#include "common/platform/rawfile.h"
#include "common/platform/safeplace.h"
#include "common/platform/splitpath.h"

static char const s_szSourceFile[] = "common/file/extendedfilesystem";

namespace
{
constexpr std::size_t PATH_BUFFER = 1024;

char const s_szChangeDirectoryError[] =
    "Could not change to the directory, the directory doesn't probably exist.";
char const s_szCreateError[] = "Could not create file.";

bool IsSafeName(char const * szName)
{
    return szName[0] != '\0' && std::strcmp(szName, ".") != 0 && std::strcmp(szName, "..") != 0 &&
           std::strpbrk(szName, "/\\") == nullptr;
}

// Where the bytes of a unit's files lie in the archive: from the first to the end of
// the last; both 0 when it has none.
void FileBytesOf(CExtendedFileSystem::sArchiveInfo const * pArchive, std::uint32_t ulCount,
                 std::uint64_t & ullFrom, std::uint64_t & ullTo)
{
    ullFrom = 0;
    ullTo = 0;
    for (std::uint32_t ulIndex = 0; ulIndex < ulCount; ++ulIndex)
    {
        CExtendedFileSystem::sArchiveEntry const & Entry = pArchive->m_pEntries[ulIndex];
        if (Entry.m_bDirectory != 0 || Entry.m_ulSize == 0)
            continue;
        std::uint64_t const ullStart =
            static_cast<std::uint64_t>(pArchive->m_ulBaseOffset) + Entry.m_ulOffset;
        if (ullFrom == ullTo)
            ullFrom = ullTo = ullStart;
        ullFrom = ullStart < ullFrom ? ullStart : ullFrom;
        ullTo = ullStart + Entry.m_ulSize > ullTo ? ullStart + Entry.m_ulSize : ullTo;
    }
}
} // namespace

bool CExtendedFileSystem::ExtractArchive(char const * szArchive, char const * szTarget)
{
    char szArchiveName[PATH_BUFFER];
    if (szArchive == nullptr || !ARCHIVE_CopyText(szArchiveName, sizeof(szArchiveName), szArchive))
        return false;
    char szFileName[PLATFORM_MAX_FNAME];
    char szExtension[PLATFORM_MAX_EXT];
    PLATFORM_SplitPath(szArchiveName, nullptr, nullptr, szFileName, szExtension);
    if (STR_stricmp(szExtension, ".arc") != 0 &&
        !ARCHIVE_AppendText(szArchiveName, sizeof(szArchiveName), ".arc"))
        return false;
    sArchiveInfo * pArchive = RegisterArchive(nullptr, szArchiveName);
    if (pArchive == nullptr)
        return false;

    char szTargetDirectory[PATH_BUFFER];
    char szSaved[PATH_BUFFER];
    if (szTarget == nullptr ||
        !ARCHIVE_DirectoryPart(szTarget, szTargetDirectory, sizeof(szTargetDirectory)) ||
        PLATFORM_GetCurrentDirectory(szSaved, sizeof(szSaved)) == nullptr ||
        PLATFORM_ChangeDirectory(szTargetDirectory) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    RecursiveArchiveExtract(szFileName, pArchive);
    if (PLATFORM_ChangeDirectory(szSaved) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    return true;
}

void CExtendedFileSystem::RecursiveArchiveExtract(char const * szDirectory, sArchiveInfo * pArchive)
{
    if (szDirectory == nullptr || pArchive == nullptr)
        return;
    char szSaved[PATH_BUFFER];
    if (PLATFORM_GetCurrentDirectory(szSaved, sizeof(szSaved)) == nullptr)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    if (HasCallbacks())
    {
        char szNewDirectory[PATH_BUFFER + PLATFORM_MAX_FNAME + 1];
        std::strcpy(szNewDirectory, szSaved);
        std::strcat(szNewDirectory, "\\");
        std::strncat(szNewDirectory, szDirectory, PLATFORM_MAX_FNAME - 1);
        Notify(XFS_NOTIFY_MAKEDIR, reinterpret_cast<ZR_ULONG_PTR>(szNewDirectory), 0);
    }
    // The top directory's name comes from the archive's file name, not from its content:
    // there only ".." would leave the target, while an empty name fails to be changed to
    // and "." fills the target itself.
    bool const bTopLevel = pArchive->m_szPath == pArchive->m_szName;
    if (bTopLevel ? std::strcmp(szDirectory, "..") == 0 : !IsSafeName(szDirectory))
        ThrowException(4005, __LINE__, s_szSourceFile, s_szCreateError);
    // An existing directory is used as it is, and files in it are overwritten; but a
    // link in its place is not followed, since it could lead anywhere.
    PLATFORM_MakeDirectory(szDirectory);
    if (PLATFORM_EnterOwnDirectory(szDirectory) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
    sArchiveFileEvent Event;
    MEM_Zero(&Event, sizeof(Event));
    ARCHIVE_ReadEventDirectory(Event.m_szDirectory);

    std::uint32_t const ulCount =
        pArchive->m_pEntries != nullptr ? pArchive->m_sHeader.m_ulEntryCount : 0;
    {
        std::uint64_t ullFilesFrom = 0;
        std::uint64_t ullFilesTo = 0;
        FileBytesOf(pArchive, ulCount, ullFilesFrom, ullFilesTo);
        CArchiveSource Source(ullFilesFrom, ullFilesTo);
        for (std::uint32_t ulIndex = 0; ulIndex < ulCount; ++ulIndex)
        {
            if (pArchive->m_pEntries[ulIndex].m_bDirectory == 0)
                ExtractEntry(pArchive, &pArchive->m_pEntries[ulIndex], Event, Source);
        }
    }
    // Entries of one name (without regard to case) lead to one registered unit, which is
    // written once: a crafted archive repeating a name at every level would otherwise
    // multiply the bytes written with each level. A unit that can't be registered
    // because the table is full leaves its subtree out, as reading does; arc checks
    // the number of units before it extracts.
    std::vector<sArchiveInfo *> vDone;
    for (std::uint32_t ulIndex = 0; ulIndex < ulCount; ++ulIndex)
    {
        sArchiveEntry const & Entry = pArchive->m_pEntries[ulIndex];
        if (Entry.m_bDirectory == 0)
            continue;
        sArchiveInfo * pUnit = RegisterArchive(pArchive, Entry.m_szName);
        if (pUnit != nullptr && std::find(vDone.begin(), vDone.end(), pUnit) != vDone.end())
            continue;
        vDone.push_back(pUnit);
        RecursiveArchiveExtract(Entry.m_szName, pUnit);
    }
    if (PLATFORM_ChangeDirectory(szSaved) == -1)
        ThrowException(4016, __LINE__, s_szSourceFile, s_szChangeDirectoryError);
}

void CExtendedFileSystem::ExtractEntry(sArchiveInfo const * pArchive, sArchiveEntry const * pEntry,
                                       sArchiveFileEvent & Event, CArchiveSource & Source)
{
    if (HasCallbacks())
    {
        ARCHIVE_CopyTextCut(Event.m_szFileName, sizeof(Event.m_szFileName), pEntry->m_szName);
        Notify(XFS_NOTIFY_EXTRACTFILE, reinterpret_cast<ZR_ULONG_PTR>(&Event), 0);
    }
    if (!IsSafeName(pEntry->m_szName))
        ThrowException(4005, __LINE__, s_szSourceFile, s_szCreateError);
    if (!Source.IsOpen() && !Source.Open(pArchive->m_szPath))
        ThrowException(4010, __LINE__, s_szSourceFile, "Could not open file.");
    std::uint64_t const ullFrom =
        static_cast<std::uint64_t>(pArchive->m_ulBaseOffset) + pEntry->m_ulOffset;
    std::uint32_t const ulSize = pEntry->m_ulSize;
    if (ullFrom + ulSize > Source.Length())
        ThrowException(4006, __LINE__, s_szSourceFile, "Error reading from file.");
    // A name nobody uses is created and written in place. Where the name is taken, the
    // file is written under a new name of its own and takes the entry's name only when
    // complete: what stands there is kept until then, and a link of that name is replaced
    // rather than written through. Either way a file that fails is removed, so that no
    // half-written file keeps the entry's name.
    bool bTaken = false;
    char szPartName[PATH_BUFFER];
    szPartName[0] = '\0';
    int nFile = PLATFORM_CreateNewFile(pEntry->m_szName, bTaken);
    if (nFile == -1 && bTaken)
        nFile = PLATFORM_CreateUniqueFile(pEntry->m_szName, szPartName, sizeof(szPartName));
    if (nFile == -1)
        ThrowException(4005, __LINE__, s_szSourceFile, s_szCreateError);
    bool const bInPlace = szPartName[0] == '\0';

    // Bytes in the unit's view are written from it; others are copied from file to file
    // in pieces, so that no entry is held in memory whole whatever its size.
    bool bRead = true;
    bool bWritten = true;
    if (void const * const pView = Source.ViewOf(ullFrom, ulSize))
    {
        bWritten = PLATFORM_WriteFileData(nFile, pView, ulSize);
    }
    else if (ulSize > 0)
    {
        std::uint64_t ullCopied = 0;
        eFileCopy const eCopy =
            PLATFORM_CopyFileData(Source.File(), ullFrom, ulSize, nFile, ullCopied);
        bRead = eCopy != FILECOPY_SHORT_READ;
        bWritten = eCopy == FILECOPY_DONE;
    }
    bool const bClosed = PLATFORM_CloseFileDescriptor(nFile);
    bool const bPlaced =
        bWritten && bClosed && (bInPlace || PLATFORM_ReplaceFile(szPartName, pEntry->m_szName));
    if (!bPlaced)
        PLATFORM_RemoveFile(bInPlace ? pEntry->m_szName : szPartName);
    // Short reads and writes raise here, as they do in creation.
    if (!bRead)
        ThrowException(4006, __LINE__, s_szSourceFile, "Error reading from file.");
    if (!bWritten || !bClosed)
        ThrowException(4007, __LINE__, s_szSourceFile, "Error writing to file.");
    if (!bPlaced)
        ThrowException(4005, __LINE__, s_szSourceFile, s_szCreateError);
}
