#include "common/file/zrfilescanner.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "common/platform/dirsearch.h"
#include "common/platform/thread.h"
#include "common/processcontrol/zrevent.h"

namespace
{
// The stop flag of all scans, and the count of scans running, which decides when the
// flag is cleared (see the header). The mutex makes the test of the count and the
// clearing one step against other scans starting or ending; StopThread needs no lock.
std::atomic<bool> s_bStopThread{false};
std::mutex s_RunningScansMutex;
int s_nRunningScans = 0;

void BeginScan()
{
    std::lock_guard<std::mutex> Lock(s_RunningScansMutex);
    if (s_nRunningScans == 0)
        s_bStopThread.store(false);
    ++s_nRunningScans;
}

void EndScan()
{
    std::lock_guard<std::mutex> Lock(s_RunningScansMutex);
    --s_nRunningScans;
}

// Run counts as running for its whole call, also when the callback throws.
class CRunningScan
{
public:
    CRunningScan() { BeginScan(); }
    ~CRunningScan() { EndScan(); }
    CRunningScan(CRunningScan const &) = delete;
    CRunningScan & operator=(CRunningScan const &) = delete;
};

bool IsStopped()
{
    return s_bStopThread.load(std::memory_order_relaxed);
}

struct sScanThreadParams
{
    CZREvent * m_pStartEvent;
    pfnScanCallback m_pfnCallback;
    ZR_ULONG_PTR m_ulUserData;
    bool m_bIncludeSubDirs;
    std::vector<CZRString> m_vDirectories;
    std::vector<CZRString> m_vMasks;
};

// One search, closed whatever way the walk leaves its scope.
class CSearch
{
public:
    explicit CSearch(CZRString const & sSearchPath)
        : m_hSearch(PLATFORM_OpenPathSearch(sSearchPath.GetString()))
    {
    }
    ~CSearch() { PLATFORM_CloseDirSearch(m_hSearch); }
    CSearch(CSearch const &) = delete;
    CSearch & operator=(CSearch const &) = delete;

    bool Next() { return PLATFORM_NextDirSearchHit(m_hSearch, m_szName, m_bDirectory); }
    char const * GetName() const { return m_szName; }
    bool IsDirectory() const { return m_bDirectory; }

private:
    void * m_hSearch;
    char const * m_szName = nullptr;
    bool m_bDirectory = false;
};

// The subdirectories of sDirectory, whatever the mask, without those whose names begin
// with a dot (so also without "." and ".."), in the order of the search.
void ListSubDirectories(CZRString const & sDirectory, std::vector<CZRString> & vSubDirectories)
{
    CSearch Search(sDirectory + "\\*.*");
    while (Search.Next())
    {
        if (Search.IsDirectory() && Search.GetName()[0] != '.')
            vSubDirectories.push_back(sDirectory + '\\' + Search.GetName());
    }
}

void ScanDirectory(CZRString const & sDirectory, CZRString const & sSubDirectory,
                   CZRString const & sMask, bool bIncludeSubDirs, pfnScanCallback pfnCallback,
                   ZR_ULONG_PTR ulUser)
{
    sFileData FileData;
    FileData.m_sDirectory = sDirectory;
    FileData.m_sSubDirectory = sSubDirectory;
    FileData.m_sSearchPath = sDirectory;
    if (!sSubDirectory.IsEmpty())
        FileData.m_sSearchPath += sSubDirectory;
    FileData.m_sSearchPath += '\\';
    FileData.m_sSearchPath += sMask;

    std::vector<CZRString> vSubDirectories;
    ListSubDirectories(sDirectory, vSubDirectories);

    {
        CSearch Search(FileData.m_sSearchPath);
        auto ReportFile = [&]()
        {
            if (Search.IsDirectory())
                return;
            FileData.m_sFileName = Search.GetName();
            pfnCallback(SCAN_FILE, &FileData, ulUser);
        };
        // The stop flag is tested behind each later hit and its report, never between
        // the first hit and the second.
        if (Search.Next())
        {
            ReportFile();
            while (Search.Next())
            {
                ReportFile();
                if (IsStopped())
                    break;
            }
        }
    }

    if (IsStopped() || !bIncludeSubDirs)
        return;
    // Each nested walk tests the stop flag for itself.
    for (CZRString const & sPath : vSubDirectories)
        ScanDirectory(sPath, CZRString(), sMask, bIncludeSubDirs, pfnCallback, ulUser);
}

void CountDirectory(CZRString const & sDirectory, int * pFiles, int * pFolders,
                    CZRString const & sMask)
{
    std::vector<CZRString> vSubDirectories;
    ListSubDirectories(sDirectory, vSubDirectories);
    *pFolders += static_cast<int>(vSubDirectories.size());

    CSearch Search(sDirectory + '\\' + sMask);
    while (Search.Next())
    {
        if (!Search.IsDirectory())
            ++*pFiles;
    }

    for (CZRString const & sPath : vSubDirectories)
        CountDirectory(sPath, pFiles, pFolders, sMask);
}

void ScanList(std::vector<CZRString> const & vDirectories, std::vector<CZRString> const & vMasks,
              bool bIncludeSubDirs, pfnScanCallback pfnCallback, ZR_ULONG_PTR ulUser)
{
    for (size_t nIndex = 0; nIndex < vDirectories.size(); ++nIndex)
        ScanDirectory(vDirectories[nIndex], CZRString(), vMasks[nIndex], bIncludeSubDirs,
                      pfnCallback, ulUser);
}

void ScanThread(void * pParam)
{
    sScanThreadParams * const pParams = static_cast<sScanThreadParams *>(pParam);
    CZREvent * const pStartEvent = pParams->m_pStartEvent;
    pfnScanCallback const pfnCallback = pParams->m_pfnCallback;
    unsigned long const ulUser = pParams->m_ulUserData;
    bool const bIncludeSubDirs = pParams->m_bIncludeSubDirs;
    std::vector<CZRString> const vDirectories = std::move(pParams->m_vDirectories);
    std::vector<CZRString> const vMasks = std::move(pParams->m_vMasks);
    delete pParams;

    if (pStartEvent != nullptr)
        pStartEvent->Wait();
    pfnCallback(SCAN_STARTED, nullptr, ulUser);
    ScanList(vDirectories, vMasks, bIncludeSubDirs, pfnCallback, ulUser);
    bool const bStopped = IsStopped();
    EndScan();
    pfnCallback(bStopped ? SCAN_STOPPED : SCAN_FINISHED, nullptr, ulUser);
}
} // namespace

CZRFileScanner::CZRFileScanner() : m_bIncludeSubDirs(true) {}

CZRFileScanner::~CZRFileScanner() = default;

void CZRFileScanner::SetIncludeSubDirs(bool bIncludeSubDirs)
{
    m_bIncludeSubDirs = bIncludeSubDirs;
}

void CZRFileScanner::AddScanDirectory(CZRString const & sDirectory, CZRString const & sMask)
{
    m_vDirectories.push_back(sDirectory);
    m_vMasks.push_back(sMask);
}

void CZRFileScanner::Run(pfnScanCallback pfnCallback, ZR_ULONG_PTR ulUser)
{
    CRunningScan const Running;
    ScanList(m_vDirectories, m_vMasks, m_bIncludeSubDirs, pfnCallback, ulUser);
}

void CZRFileScanner::RunThread(pfnScanCallback pfnCallback, ZR_ULONG_PTR ulUser,
                               CZREvent * pStartEvent)
{
    sScanThreadParams * const pParams = new sScanThreadParams{
        pStartEvent, pfnCallback, ulUser, m_bIncludeSubDirs, m_vDirectories, m_vMasks};
    BeginScan();
    if (!PLATFORM_StartDetachedThread(ScanThread, pParams))
    {
        EndScan();
        delete pParams;
    }
}

void CZRFileScanner::StopThread()
{
    s_bStopThread.store(true);
}

void CZRFileScanner::GetFolderFileCount(int & nFiles, int & nFolders, CZRString const & sMask) const
{
    nFiles = 0;
    nFolders = 0;
    for (CZRString const & sDirectory : m_vDirectories)
    {
        int nDirectoryFiles = 0;
        int nDirectoryFolders = 0;
        CountDirectory(sDirectory, &nDirectoryFiles, &nDirectoryFolders, sMask);
        nFiles += nDirectoryFiles;
        nFolders += nDirectoryFolders;
    }
}
