// CZRFileScanner: walks a list of disk directories, each with its own mask, and calls a
// function for every matching file: depth-first, a directory's files before its
// subdirectories, in the directory search's order; subdirectories whose names begin with a
// dot are skipped. Run scans on the caller's thread; RunThread on a detached worker that
// works on copies of the lists, so the scanner may be destroyed while it runs. The
// callback runs on the scanning thread with no lock held. Disk only: no roots, no archives.
//
// StopThread sets one process-wide stop flag that shortens every scan then running,
// threaded or not. The flag is cleared when a scan (Run or RunThread) starts while no
// other scan is running; a threaded scan counts as running from its RunThread call until
// it has chosen between SCAN_FINISHED and SCAN_STOPPED, so a scan started from that last
// callback runs in full. A stop thus ends every scan under way and every scan started
// while those wind down, and a stop given while nothing runs is forgotten.
#pragma once

#include <vector>

#include "common/kernel/api.h"
#include "common/string/zrstring.h"

class CZREvent;

// What a call of the scan function reports.
enum eScannerMode
{
    SCAN_STARTED = 0,  // a threaded scan begins; no data
    SCAN_FILE = 1,     // a file was found; data describes it
    SCAN_FINISHED = 2, // a threaded scan has gone through to its end; no data
    SCAN_STOPPED = 3   // a threaded scan has ended with the stop flag set; no data
};

// One found file. One record serves a whole directory on the scanning thread's stack:
// its content is valid during the callback only.
struct sFileData
{
    CZRString m_sFileName;     // the name without a path
    CZRString m_sDirectory;    // the directory searched; full path: this, '\\', the name
    CZRString m_sSubDirectory; // always empty
    CZRString m_sSearchPath;   // m_sDirectory, '\\', the mask
};

// The user value is handed through untouched; it may carry a pointer.
typedef void (*pfnScanCallback)(eScannerMode mode, sFileData * data, ZR_ULONG_PTR user);

class COMMON_API CZRFileScanner
{
public:
    CZRFileScanner();
    virtual ~CZRFileScanner();

    // Whether Run and RunThread descend into subdirectories; true from the start.
    void SetIncludeSubDirs(bool bIncludeSubDirs);
    // Adds a directory with its mask; nothing is checked, repeats are allowed.
    void AddScanDirectory(CZRString const & sDirectory, CZRString const & sMask);
    // Scans on this thread; the callback hears SCAN_FILE only.
    void Run(pfnScanCallback pfnCallback, ZR_ULONG_PTR ulUser);
    // Starts a scan of a snapshot of the lists on a new detached thread and returns at
    // once. The worker first waits for pStartEvent when it is not null, then reports
    // SCAN_STARTED, the files, and SCAN_FINISHED or SCAN_STOPPED. A thread that cannot
    // be made is not reported.
    void RunThread(pfnScanCallback pfnCallback, ZR_ULONG_PTR ulUser, CZREvent * pStartEvent);
    // Sets the process-wide stop flag and returns at once; see above for its life.
    static void StopThread();
    // Counts the files matching sMask and the folders below every scan directory,
    // always descending, ignoring the stop flag and the masks of the list.
    void GetFolderFileCount(int & nFiles, int & nFolders, CZRString const & sMask) const;

private:
    // The worker is detached at once, so there is no thread handle to keep or release.
    bool m_bIncludeSubDirs;
    std::vector<CZRString> m_vDirectories;
    std::vector<CZRString> m_vMasks; // one per directory, same order
};
