#include "progress.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include "common/file/extendedfilesystem.h"
#include "common/platform/console.h"

namespace
{
constexpr int BAR_WIDTH = 30;

bool IsDirectory(CExtendedFileSystem::sArchiveFileEvent const & Event)
{
    std::string const sPath = std::string(Event.m_szDirectory) + "/" + Event.m_szFileName;
    std::error_code Error;
    return std::filesystem::is_directory(sPath, Error);
}
} // namespace

bool StderrIsTerminal()
{
    return PLATFORM_StderrIsTerminal();
}

CProgress::CProgress(bool bEnabled, char const * szVerb) : m_bEnabled(bEnabled), m_sVerb(szVerb) {}

void CProgress::Attach(CExtendedFileSystem & FileSystem)
{
    if (m_bEnabled)
        FileSystem.AddCallback(OnEvent, reinterpret_cast<ZR_ULONG_PTR>(this));
}

void CProgress::SetTotal(std::uint64_t ullTotal)
{
    m_ullTotal = ullTotal;
    m_bTotalGiven = true;
}

void CProgress::OnEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR ulUser)
{
    CProgress * pThis = reinterpret_cast<CProgress *>(ulUser);
    if (nCode == XFS_NOTIFY_FOUND)
    {
        // A total given up front stands, and spares a look at every entry.
        if (pThis->m_bTotalGiven)
            return;
        // The counting pass reports subdirectories too; only files are added one by one.
        if (!IsDirectory(*reinterpret_cast<CExtendedFileSystem::sArchiveFileEvent const *>(ulArg1)))
            ++pThis->m_ullTotal;
    }
    else if (nCode == XFS_NOTIFY_ADDFILE || nCode == XFS_NOTIFY_EXTRACTFILE)
    {
        ++pThis->m_ullDone;
    }
    pThis->Draw();
}

void CProgress::Draw()
{
    if (!m_bEnabled)
        return;
    std::uint64_t const ullTotal = m_ullTotal > m_ullDone ? m_ullTotal : m_ullDone;
    int const nFilled = ullTotal > 0 ? static_cast<int>(m_ullDone * BAR_WIDTH / ullTotal) : 0;
    int const nPercent = ullTotal > 0 ? static_cast<int>(m_ullDone * 100 / ullTotal) : 0;
    // The counts change with every file; a new line is drawn only when the bar or the
    // percentage moves, or every 100 files.
    std::uint64_t const ullHundreds = m_ullDone / 100;
    if (m_bDrawn && nFilled == m_nShownFilled && nPercent == m_nShownPercent &&
        ullHundreds == m_ullShownHundreds)
        return;
    m_bDrawn = true;
    m_nShownFilled = nFilled;
    m_nShownPercent = nPercent;
    m_ullShownHundreds = ullHundreds;
    std::string const sBar = std::string(static_cast<std::size_t>(nFilled), '#') +
                             std::string(static_cast<std::size_t>(BAR_WIDTH - nFilled), '-');
    std::fprintf(stderr, "\r%s [%s] %3d%% %llu/%llu files", m_sVerb.c_str(), sBar.c_str(), nPercent,
                 static_cast<unsigned long long>(m_ullDone),
                 static_cast<unsigned long long>(ullTotal));
    std::fflush(stderr);
}

void CProgress::Finish()
{
    if (!m_bEnabled || !m_bDrawn)
        return;
    m_bDrawn = false;
    Draw();
    std::fputc('\n', stderr);
}
