// The progress bar of arc on stderr, driven by the file system's events: a total given
// up front (the walk's count of files before creation, the archive's before extraction)
// or else the counting pass of creation (event 4) sets the total,
// each file added (event 1) or extracted (event 2) moves the bar. Drawn only when
// enabled (stderr is a terminal and --quiet wasn't given); redrawn only when what it
// shows changes, so that a large tree doesn't turn into a flood of output.
#pragma once

#include <cstdint>
#include <string>

#include "common/kernel/api.h"

class CExtendedFileSystem;

class CProgress
{
public:
    CProgress(bool bEnabled, char const * szVerb);
    ~CProgress() { Finish(); }
    CProgress(CProgress const &) = delete;
    CProgress & operator=(CProgress const &) = delete;
    // Registers the bar as a callback of the file system.
    void Attach(CExtendedFileSystem & FileSystem);
    void SetTotal(std::uint64_t ullTotal);
    // Ends the line of the bar, if one was drawn.
    void Finish();

private:
    static void OnEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR ulArg2, ZR_ULONG_PTR ulUser);
    void Draw();

    bool m_bEnabled;
    std::string m_sVerb;
    std::uint64_t m_ullTotal = 0;
    bool m_bTotalGiven = false;
    std::uint64_t m_ullDone = 0;
    // What the line drawn last shows, when there is one.
    bool m_bDrawn = false;
    int m_nShownFilled = 0;
    int m_nShownPercent = 0;
    std::uint64_t m_ullShownHundreds = 0;
};

// Whether stderr is a terminal.
bool StderrIsTerminal();
