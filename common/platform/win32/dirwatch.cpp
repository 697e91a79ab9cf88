#include "common/platform/dirwatch.h"

#include <string>
#include <vector>

#include <windows.h>

namespace
{
// New, deleted and renamed entries, and writes, which Windows reports as they happen.
constexpr DWORD WATCH_FILTER =
    FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_SIZE;
constexpr DWORD BUFFER_BYTES = 16384;

// One watched directory: a read of its changes is always outstanding, and finished
// reads are looked at without waiting.
struct sWatchedDirectory
{
    HANDLE hDirectory;
    OVERLAPPED Overlapped;
    bool bPending;
    DWORD aBuffer[BUFFER_BYTES / sizeof(DWORD)];
};

struct sDirWatch
{
    std::vector<sWatchedDirectory *> vDirectories; // by id; null once removed
    std::vector<char> vChanges;                    // a finished read's records
    std::size_t nNext;                             // the next record in vChanges
    int nChangesId;                                // whose records they are
    std::string sName;                             // the name handed out last
};

bool StartRead(sWatchedDirectory * pDirectory)
{
    ResetEvent(pDirectory->Overlapped.hEvent);
    pDirectory->bPending =
        ReadDirectoryChangesW(pDirectory->hDirectory, pDirectory->aBuffer, BUFFER_BYTES, FALSE,
                              WATCH_FILTER, nullptr, &pDirectory->Overlapped, nullptr) != FALSE;
    return pDirectory->bPending;
}

void EndDirectory(sWatchedDirectory * pDirectory)
{
    if (pDirectory->bPending)
    {
        DWORD dwBytes = 0;
        CancelIoEx(pDirectory->hDirectory, &pDirectory->Overlapped);
        GetOverlappedResult(pDirectory->hDirectory, &pDirectory->Overlapped, &dwBytes, TRUE);
    }
    CloseHandle(pDirectory->hDirectory);
    CloseHandle(pDirectory->Overlapped.hEvent);
    delete pDirectory;
}

// Takes the next record of the finished read in hand; false when none is left.
bool NextRecord(sDirWatch * pWatch, int & nId, char const *& szName)
{
    if (pWatch->nNext >= pWatch->vChanges.size())
        return false;
    FILE_NOTIFY_INFORMATION const * pRecord =
        reinterpret_cast<FILE_NOTIFY_INFORMATION const *>(pWatch->vChanges.data() + pWatch->nNext);
    pWatch->nNext = pRecord->NextEntryOffset != 0 ? pWatch->nNext + pRecord->NextEntryOffset
                                                  : pWatch->vChanges.size();
    int const nWide = static_cast<int>(pRecord->FileNameLength / sizeof(WCHAR));
    int const nBytes =
        WideCharToMultiByte(CP_ACP, 0, pRecord->FileName, nWide, nullptr, 0, nullptr, nullptr);
    pWatch->sName.assign(nBytes > 0 ? static_cast<std::size_t>(nBytes) : 0, '\0');
    if (nBytes > 0)
        WideCharToMultiByte(CP_ACP, 0, pRecord->FileName, nWide, &pWatch->sName[0], nBytes, nullptr,
                            nullptr);
    nId = pWatch->nChangesId;
    szName = pWatch->sName.c_str();
    return true;
}
} // namespace

void * PLATFORM_OpenDirWatch()
{
    sDirWatch * pWatch = new sDirWatch;
    pWatch->nNext = 0;
    pWatch->nChangesId = -1;
    return pWatch;
}

void PLATFORM_CloseDirWatch(void * hWatch)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    if (pWatch == nullptr)
        return;
    for (sWatchedDirectory * pDirectory : pWatch->vDirectories)
        if (pDirectory != nullptr)
            EndDirectory(pDirectory);
    delete pWatch;
}

int PLATFORM_AddWatchedDirectory(void * hWatch, char const * szDirectory)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    std::string const sPath = szDirectory[0] != '\0' ? szDirectory : ".";
    HANDLE const hDirectory = CreateFileA(
        sPath.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr);
    if (hDirectory == INVALID_HANDLE_VALUE)
        return -1;
    sWatchedDirectory * pDirectory = new sWatchedDirectory;
    ZeroMemory(&pDirectory->Overlapped, sizeof(pDirectory->Overlapped));
    pDirectory->hDirectory = hDirectory;
    pDirectory->bPending = false;
    pDirectory->Overlapped.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (pDirectory->Overlapped.hEvent == nullptr || !StartRead(pDirectory))
    {
        EndDirectory(pDirectory);
        return -1;
    }
    pWatch->vDirectories.push_back(pDirectory);
    return static_cast<int>(pWatch->vDirectories.size() - 1);
}

void PLATFORM_RemoveWatchedDirectory(void * hWatch, int nId)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    if (nId < 0 || static_cast<std::size_t>(nId) >= pWatch->vDirectories.size() ||
        pWatch->vDirectories[nId] == nullptr)
        return;
    EndDirectory(pWatch->vDirectories[nId]);
    pWatch->vDirectories[nId] = nullptr;
    if (pWatch->nChangesId == nId)
        pWatch->vChanges.clear();
}

bool PLATFORM_NextDirChange(void * hWatch, int & nId, char const *& szName)
{
    sDirWatch * pWatch = static_cast<sDirWatch *>(hWatch);
    if (NextRecord(pWatch, nId, szName))
        return true;
    for (std::size_t nIndex = 0; nIndex < pWatch->vDirectories.size(); ++nIndex)
    {
        sWatchedDirectory * pDirectory = pWatch->vDirectories[nIndex];
        if (pDirectory == nullptr || !pDirectory->bPending ||
            !HasOverlappedIoCompleted(&pDirectory->Overlapped))
            continue;
        DWORD dwBytes = 0;
        BOOL const bDone =
            GetOverlappedResult(pDirectory->hDirectory, &pDirectory->Overlapped, &dwBytes, FALSE);
        pDirectory->bPending = false;
        char const * pBytes = reinterpret_cast<char const *>(pDirectory->aBuffer);
        pWatch->vChanges.assign(pBytes, pBytes + (bDone ? dwBytes : 0));
        pWatch->nNext = 0;
        pWatch->nChangesId = static_cast<int>(nIndex);
        // The records are copied first, since the next read fills the same buffer. A read
        // that failed (the directory went away) or overflowed loses changes.
        bool const bWatching = bDone && StartRead(pDirectory);
        if (!bWatching || dwBytes == 0)
        {
            pWatch->vChanges.clear();
            nId = static_cast<int>(nIndex);
            szName = "";
            return true;
        }
        if (NextRecord(pWatch, nId, szName))
            return true;
    }
    return false;
}
