// Reading .arc archives. An archive is one recursive unit: a 32-byte header ("ARCX",
// version 1.0, unit size, directory offset, entry count), the data of its files, one
// nested unit per subdirectory, and at the end a directory of 276-byte records whose
// offsets count from the unit's own header. A unit is registered at its first use by
// a path: "maps\town\hall.dat" walks into maps.arc in the current directory, then into
// its nested unit "town", and opens the entry "hall.dat" there. Paths split at
// backslashes only; entry names compare without regard to case. The archive is input
// from outside: nothing in it may make a read leave the archive file or its entry, or
// make the reader allocate more than the file could hold.
#include <cstring>
#include <random>

#include "common/exception/zrexception.h"
#include "common/file/archivepath.h"
#include "common/file/extendedfilesystem.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"
#include "common/platform/currentdir.h"
#include "common/platform/fileopen.h"
#include "common/platform/fullpath.h"
#include "common/platform/splitpath.h"

static char const s_szSourceFile[] = "common/file/extendedfilesystem";

static_assert(sizeof(CExtendedFileSystem::sHeader) == 32, "the stored header has 32 bytes");
static_assert(sizeof(CExtendedFileSystem::sArchiveEntry) == 276,
              "a stored directory record has 276 bytes");
// Headers and records are read into memory as they are stored, little-endian.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "archives are read in place");

std::uint32_t CExtendedFileSystem::s_ulArchiveCount = 0;

namespace
{
constexpr std::uint32_t ARCHIVE_MAGIC = 0x58435241; // "ARCX"
constexpr std::uint32_t ARCHIVE_UNITS = 256;
constexpr std::size_t NAME_BUFFER = 1024;
constexpr std::uint64_t NO_OFFSET = 0xFFFFFFFFu;

// Copies szName into a 1024-byte buffer; false when it doesn't fit.
bool CopyName(char (&szBuffer)[NAME_BUFFER], char const * szName)
{
    std::size_t const nLength = std::strlen(szName);
    if (nLength >= NAME_BUFFER)
        return false;
    std::memcpy(szBuffer, szName, nLength + 1);
    return true;
}

bool AppendName(char (&szBuffer)[NAME_BUFFER], char const * szTail)
{
    std::size_t const nLength = std::strlen(szBuffer);
    std::size_t const nTail = std::strlen(szTail);
    if (nLength + nTail >= NAME_BUFFER)
        return false;
    std::memcpy(szBuffer + nLength, szTail, nTail + 1);
    return true;
}

// A stream offset of the 32-bit file system; one that 32 bits can't hold lies past
// the end of every archive, and is kept at the largest offset so that it reads short.
std::uint32_t ClampOffset(std::uint64_t ullOffset)
{
    return static_cast<std::uint32_t>(ullOffset < NO_OFFSET ? ullOffset : NO_OFFSET);
}

// The key of the name hashes, drawn once per process, so that names can't be made to
// collide by whoever writes an archive.
std::uint64_t HashKey()
{
    static std::uint64_t const s_ullKey = []
    {
        std::random_device Device;
        return (static_cast<std::uint64_t>(Device()) << 32) ^ Device() ^ 0x9E3779B97F4A7C15u;
    }();
    return s_ullKey;
}

// A keyed hash of the name with the ASCII letters folded, as the case-blind compare
// folds them: names that compare equal have equal hashes.
std::uint32_t FoldedNameHash(char const * szName)
{
    std::uint64_t ullHash = HashKey();
    for (unsigned char const * p = reinterpret_cast<unsigned char const *>(szName); *p != 0; ++p)
    {
        unsigned char const ucFolded = (*p >= 'A' && *p <= 'Z') ? *p + ('a' - 'A') : *p;
        ullHash = (ullHash ^ ucFolded) * 0x100000001B3u;
    }
    ullHash ^= ullHash >> 33;
    ullHash *= 0xFF51AFD7ED558CCDu;
    ullHash ^= ullHash >> 33;
    return static_cast<std::uint32_t>(ullHash);
}

// The block behind m_pEntries holds the records; behind them one name hash per record;
// then one link per record; and then an index: an open-addressing table (linear
// probing, a power of two of at least twice the count, NO_ENTRY where empty) with one
// slot per distinct hash. The slot holds the first record of that hash, and the links
// chain the others in record order, so that equal names cost one step each to put in,
// and a look-up meets the first of several equal names first.
constexpr std::uint32_t NO_ENTRY = 0xFFFFFFFFu;

std::uint32_t * EntryHashes(CExtendedFileSystem::sArchiveEntry * pEntries, std::uint32_t ulCount)
{
    return reinterpret_cast<std::uint32_t *>(pEntries + ulCount);
}

std::uint32_t * EntryLinks(CExtendedFileSystem::sArchiveEntry * pEntries, std::uint32_t ulCount)
{
    return EntryHashes(pEntries, ulCount) + ulCount;
}

std::uint32_t * EntryIndex(CExtendedFileSystem::sArchiveEntry * pEntries, std::uint32_t ulCount)
{
    return EntryLinks(pEntries, ulCount) + ulCount;
}

std::uint64_t EntryIndexSlots(std::uint32_t ulCount)
{
    std::uint64_t ullSlots = 1;
    while (ullSlots < 2 * static_cast<std::uint64_t>(ulCount))
        ullSlots <<= 1;
    return ullSlots;
}

std::uint64_t EntryBlockBytes(std::uint32_t ulCount)
{
    return ulCount * (sizeof(CExtendedFileSystem::sArchiveEntry) + 2 * sizeof(std::uint32_t)) +
           EntryIndexSlots(ulCount) * sizeof(std::uint32_t);
}

void BuildEntryIndex(CExtendedFileSystem::sArchiveEntry * pEntries, std::uint32_t ulCount)
{
    std::uint32_t const * pHashes = EntryHashes(pEntries, ulCount);
    std::uint32_t * pLinks = EntryLinks(pEntries, ulCount);
    std::uint32_t * pIndex = EntryIndex(pEntries, ulCount);
    std::uint64_t const ullSlots = EntryIndexSlots(ulCount);
    std::uint64_t const ullMask = ullSlots - 1;
    for (std::uint64_t ullSlot = 0; ullSlot < ullSlots; ++ullSlot)
        pIndex[ullSlot] = NO_ENTRY;
    // From the last record to the first: each goes to the head of its hash's chain.
    for (std::uint32_t ulEntry = ulCount; ulEntry-- > 0;)
    {
        std::uint64_t ullSlot = pHashes[ulEntry] & ullMask;
        while (pIndex[ullSlot] != NO_ENTRY && pHashes[pIndex[ullSlot]] != pHashes[ulEntry])
            ullSlot = (ullSlot + 1) & ullMask;
        pLinks[ulEntry] = pIndex[ullSlot];
        pIndex[ullSlot] = ulEntry;
    }
}

std::uint64_t StreamLength(std::FILE * pStream)
{
    long const lHere = std::ftell(pStream);
    std::fseek(pStream, 0, SEEK_END);
    long const lEnd = std::ftell(pStream);
    std::fseek(pStream, lHere, SEEK_SET);
    return lEnd > 0 ? static_cast<std::uint64_t>(lEnd) : 0;
}
} // namespace

std::uint32_t CExtendedFileSystem::ArchiveFileOpenInArchive(char const * szName,
                                                            sFileInfo * pFileInfo)
{
    char szPath[NAME_BUFFER];
    if (!CopyName(szPath, szName))
        return 0;
    char * szPart = szPath;
    char * pSeparator = STR_strchr(szPart, '\\');
    if (pSeparator == nullptr)
        return 0;
    sArchiveInfo * pUnit = nullptr;
    while (pSeparator != nullptr)
    {
        *pSeparator = '\0';
        if (*szPart == '\0')
            return 0;
        pUnit = RegisterArchive(pUnit, szPart);
        if (pUnit == nullptr)
            return 0;
        szPart = pSeparator + 1;
        pSeparator = STR_strchr(szPart, '\\');
    }

    sArchiveEntry const * pEntry = FindArchiveEntry(pUnit, szPart);
    if (pEntry == nullptr)
        return 0;
    std::uint32_t const ulBase =
        ClampOffset(static_cast<std::uint64_t>(pUnit->m_ulBaseOffset) + pEntry->m_ulOffset);
    std::uint64_t ullArchiveSize = 0;
    std::FILE * pFile = OpenSlotStream(pFileInfo, pUnit->m_szPath, ulBase, &ullArchiveSize);
    if (pFile == nullptr)
        ThrowException(4010, __LINE__, s_szSourceFile, "Could not open file.");
    pFileInfo->m_pFile = pFile;
    pFileInfo->m_ulBaseOffset = ulBase;
    pFileInfo->m_ulFileSize = pEntry->m_ulSize;
    pFileInfo->m_ulPosition = 0;
    return GetHandleForFile(pFileInfo);
}

CExtendedFileSystem::sArchiveInfo * CExtendedFileSystem::RegisterArchive(sArchiveInfo * pParent,
                                                                         char const * szName)
{
    if (szName == nullptr)
        return nullptr;
    char szBuffer[NAME_BUFFER];
    if (!CopyName(szBuffer, szName))
        return nullptr;

    char szKey[NAME_BUFFER];
    std::FILE * pStream = nullptr;
    if (pParent == nullptr)
    {
        if (STR_strchr(szBuffer, '.') == nullptr && !AppendName(szBuffer, ".arc"))
            return nullptr;
        char szFileName[PLATFORM_MAX_FNAME];
        char szExtension[PLATFORM_MAX_EXT];
        PLATFORM_SplitPath(szBuffer, nullptr, nullptr, szFileName, szExtension);
        // A name with a directory part (only extraction gives one) is keyed by the full
        // path of its own directory, so that the record names the file that is read
        // here, and later opens by that path find it again.
        char szDirectory[NAME_BUFFER];
        if (!ARCHIVE_DirectoryPart(szBuffer, szDirectory, sizeof(szDirectory)))
            return nullptr;
        char const * szBase =
            szDirectory[0] == '\0'
                ? PLATFORM_GetCurrentDirectory(szKey, sizeof(szKey))
                : PLATFORM_GetFullDirectoryPath(szDirectory, szKey, sizeof(szKey));
        if (szBase == nullptr || !AppendName(szKey, "\\") || !AppendName(szKey, szFileName) ||
            !AppendName(szKey, szExtension))
            return nullptr;
        sArchiveInfo * pFound = FindArchive(nullptr, szKey);
        if (pFound != nullptr)
            return pFound;
        pStream = PLATFORM_OpenFile(szBuffer, "rb");
        if (pStream == nullptr)
            return nullptr;
    }
    else
    {
        sArchiveInfo * pFound = FindArchive(pParent, szBuffer);
        if (pFound != nullptr)
            return pFound;
        sArchiveEntry const * pEntry = FindArchiveEntry(pParent, szBuffer);
        if (pEntry == nullptr || pEntry->m_bDirectory == 0)
            return nullptr;
        return RegisterNestedUnit(pParent, pEntry, szBuffer);
    }

    if (s_ulArchiveCount >= ARCHIVE_UNITS)
    {
        std::fclose(pStream);
        return nullptr;
    }
    sArchiveInfo * pRecord = &m_aArchives[s_ulArchiveCount];
    ReadArchiveUnit(pRecord, pStream);
    ++s_ulArchiveCount;
    pRecord->m_pFirstChild = nullptr;
    pRecord->m_pNextSibling = m_sArchiveRoot.m_pFirstChild;
    m_sArchiveRoot.m_pFirstChild = pRecord;
    std::memcpy(pRecord->m_szName, szKey, sizeof(szKey));
    pRecord->m_szPath = pRecord->m_szName;
    std::fclose(pStream);
    return pRecord;
}

CExtendedFileSystem::sArchiveInfo *
CExtendedFileSystem::RegisterNestedUnit(sArchiveInfo * pParent, sArchiveEntry const * pEntry,
                                        char const * szName)
{
    // A nested unit starts between its parent's header and directory, so that every unit
    // starts behind its parent and none can be its own ancestor: a path then registers
    // at most one unit per step into the file, whatever its length. The entry's size is
    // not looked at, as reading never uses it.
    if (pEntry->m_ulOffset < sizeof(sHeader) ||
        pEntry->m_ulOffset >= pParent->m_sHeader.m_ulDirectoryOffset)
        ThrowException(4006, __LINE__, s_szSourceFile, "Error reading from file.");
    std::FILE * pStream = PLATFORM_OpenFile(pParent->m_szPath, "rb");
    if (pStream == nullptr)
        ThrowException(4010, __LINE__, s_szSourceFile, "Could not open file.");
    if (s_ulArchiveCount >= ARCHIVE_UNITS)
    {
        std::fclose(pStream);
        return nullptr;
    }
    std::uint64_t const ullStart =
        static_cast<std::uint64_t>(pParent->m_ulBaseOffset) + pEntry->m_ulOffset;
    std::fseek(pStream, static_cast<long>(ClampOffset(ullStart)), SEEK_SET);

    sArchiveInfo * pRecord = &m_aArchives[s_ulArchiveCount];
    ReadArchiveUnit(pRecord, pStream);
    ++s_ulArchiveCount;
    pRecord->m_pFirstChild = nullptr;
    pRecord->m_pNextSibling = pParent->m_pFirstChild;
    pParent->m_pFirstChild = pRecord;
    ARCHIVE_CopyTextCut(pRecord->m_szName, sizeof(pRecord->m_szName), szName);
    pRecord->m_szPath = pParent->m_szPath;
    std::fclose(pStream);
    return pRecord;
}

void CExtendedFileSystem::ReadArchiveUnit(sArchiveInfo * pRecord, std::FILE * pStream)
{
    pRecord->m_pEntries = nullptr;
    pRecord->m_ulBaseOffset = ClampOffset(static_cast<std::uint64_t>(std::ftell(pStream)));
    if (std::fread(&pRecord->m_sHeader, 1, sizeof(sHeader), pStream) != sizeof(sHeader))
    {
        std::fclose(pStream);
        ThrowException(4006, __LINE__, s_szSourceFile, "Error reading from file.");
    }
    sHeader const & Header = pRecord->m_sHeader;
    if (Header.m_ulMagic != ARCHIVE_MAGIC || Header.m_ucMajorVersion != 1 ||
        Header.m_ucMinorVersion != 0)
    {
        std::fclose(pStream);
        ThrowException(4014, __LINE__, s_szSourceFile, "Incorrect archive version.");
    }
    std::uint32_t const ulCount = Header.m_ulEntryCount;
    if (ulCount == 0)
        return;

    // A directory that can't lie inside the file would read short: that is known
    // before anything is allocated for it.
    std::uint64_t const ullStart =
        static_cast<std::uint64_t>(pRecord->m_ulBaseOffset) + Header.m_ulDirectoryOffset;
    std::uint64_t const ullBytes = static_cast<std::uint64_t>(ulCount) * sizeof(sArchiveEntry);
    if (ullStart + ullBytes > StreamLength(pStream) || EntryBlockBytes(ulCount) > NO_OFFSET)
    {
        std::fclose(pStream);
        ThrowException(4006, __LINE__, s_szSourceFile, "Error reading from file.");
    }
    sArchiveEntry * pEntries = static_cast<sArchiveEntry *>(
        MEM_Alloc(static_cast<std::uint32_t>(EntryBlockBytes(ulCount))));
    if (pEntries == nullptr || std::fseek(pStream, static_cast<long>(ullStart), SEEK_SET) != 0 ||
        std::fread(pEntries, sizeof(sArchiveEntry), ulCount, pStream) != ulCount)
    {
        if (pEntries != nullptr)
            MEM_Free(pEntries);
        std::fclose(pStream);
        ThrowException(4006, __LINE__, s_szSourceFile, "Error reading from file.");
    }
    // A name without a terminator in its 256 bytes makes a directory that can't be read
    // as one: it fails as a directory read short does, before any compare runs past it.
    std::uint32_t * pHashes = EntryHashes(pEntries, ulCount);
    for (std::uint32_t ulIndex = 0; ulIndex < ulCount; ++ulIndex)
    {
        char const * szEntryName = pEntries[ulIndex].m_szName;
        if (std::memchr(szEntryName, '\0', sizeof(pEntries[ulIndex].m_szName)) == nullptr)
        {
            MEM_Free(pEntries);
            std::fclose(pStream);
            ThrowException(4006, __LINE__, s_szSourceFile, "Error reading from file.");
        }
        pHashes[ulIndex] = FoldedNameHash(szEntryName);
    }
    BuildEntryIndex(pEntries, ulCount);
    pRecord->m_pEntries = pEntries;
}

CExtendedFileSystem::sArchiveInfo * CExtendedFileSystem::FindArchive(sArchiveInfo * pParent,
                                                                     char const * szName)
{
    sArchiveInfo const * pHead = pParent != nullptr ? pParent : &m_sArchiveRoot;
    for (sArchiveInfo * pChild = pHead->m_pFirstChild; pChild != nullptr;
         pChild = pChild->m_pNextSibling)
    {
        if (STR_stricmp(pChild->m_szName, szName) == 0)
            return pChild;
    }
    return nullptr;
}

CExtendedFileSystem::sArchiveEntry *
CExtendedFileSystem::FindArchiveEntry(sArchiveInfo * pArchive, char const * szName) const
{
    if (pArchive->m_pEntries == nullptr)
        return nullptr;
    std::uint32_t const ulCount = pArchive->m_sHeader.m_ulEntryCount;
    std::uint32_t const * pHashes = EntryHashes(pArchive->m_pEntries, ulCount);
    std::uint32_t const * pIndex = EntryIndex(pArchive->m_pEntries, ulCount);
    std::uint64_t const ullMask = EntryIndexSlots(ulCount) - 1;
    std::uint32_t const ulHash = FoldedNameHash(szName);
    std::uint32_t const * pLinks = EntryLinks(pArchive->m_pEntries, ulCount);
    // The table is never full, so that the probe ends at an empty slot.
    for (std::uint64_t ullSlot = ulHash & ullMask; pIndex[ullSlot] != NO_ENTRY;
         ullSlot = (ullSlot + 1) & ullMask)
    {
        if (pHashes[pIndex[ullSlot]] != ulHash)
            continue;
        for (std::uint32_t ulEntry = pIndex[ullSlot]; ulEntry != NO_ENTRY;
             ulEntry = pLinks[ulEntry])
        {
            if (STR_stricmp(pArchive->m_pEntries[ulEntry].m_szName, szName) == 0)
                return &pArchive->m_pEntries[ulEntry];
        }
        return nullptr;
    }
    return nullptr;
}

void CExtendedFileSystem::FreeArchives()
{
    for (sArchiveInfo & Record : m_aArchives)
    {
        if (Record.m_pEntries != nullptr)
            MEM_Free(Record.m_pEntries);
        Record.m_pEntries = nullptr;
    }
}

void CExtendedFileSystem::CopyArchivesFrom(CExtendedFileSystem const & Other)
{
    MEM_Copy(&m_sArchiveRoot, &Other.m_sArchiveRoot, sizeof(m_sArchiveRoot));
    MEM_Copy(m_aArchives, Other.m_aArchives, sizeof(m_aArchives));
    // The tree links and paths point into the other object's records: they are moved
    // to the same records here, and each directory is copied, so that neither object
    // frees the other's.
    auto const Rebase = [&](sArchiveInfo * pRecord) -> sArchiveInfo *
    { return pRecord != nullptr ? m_aArchives + (pRecord - Other.m_aArchives) : nullptr; };
    m_sArchiveRoot.m_pFirstChild = Rebase(m_sArchiveRoot.m_pFirstChild);
    for (sArchiveInfo & Record : m_aArchives)
    {
        Record.m_pFirstChild = Rebase(Record.m_pFirstChild);
        Record.m_pNextSibling = Rebase(Record.m_pNextSibling);
        if (Record.m_szPath != nullptr)
        {
            // Every path is the name of a top-level record.
            std::size_t const nIndex =
                static_cast<std::size_t>(Record.m_szPath - Other.m_aArchives[0].m_szName) /
                sizeof(sArchiveInfo);
            Record.m_szPath = m_aArchives[nIndex].m_szName;
        }
        if (Record.m_pEntries == nullptr)
            continue;
        std::uint32_t const ulBytes =
            static_cast<std::uint32_t>(EntryBlockBytes(Record.m_sHeader.m_ulEntryCount));
        sArchiveEntry * pEntries = static_cast<sArchiveEntry *>(MEM_Alloc(ulBytes));
        if (pEntries != nullptr)
            MEM_Copy(pEntries, Record.m_pEntries, ulBytes);
        Record.m_pEntries = pEntries;
    }
}
