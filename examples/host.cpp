// A small engine host, start to end: it packs its data folder into an archive and
// removes the folder, so that every later read goes through the archive; reads its
// settings with the lexical analyser into a property manager and stores them in memory;
// lists what the data directory holds through the archive; watches the user's options
// file and reloads it when it is saved again during the frames, which run under the
// frame timer and the profiler on a simulated clock; and logs to a .log file.
// Everything happens in a fresh folder below the system's temp.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "common/common.h"

namespace fs = std::filesystem;

namespace
{
// The frame loop advances this clock by hand, so the run prints the same each time.
unsigned long s_ulNow = 100000;

unsigned long SimulatedClock()
{
    return s_ulNow;
}

char const * Text(CZRString const & sText)
{
    return sText.GetString() != nullptr ? sText.GetString() : "";
}

void WriteFile(fs::path const & Path, std::string const & sText)
{
    fs::create_directories(Path.parent_path());
    std::ofstream(Path, std::ios::binary) << sText;
}

void OnArchiveEvent(int nEvent, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR)
{
    auto const * pEvent = reinterpret_cast<CExtendedFileSystem::sArchiveFileEvent const *>(ulArg1);
    if (nEvent == XFS_NOTIFY_ADDFILE)
        std::printf("  packing %s\n", pEvent->m_szFileName);
}

// Reads "name = value;" lines: numbers, quoted texts and the words true and false.
void ReadSettings(CZRString const & sText, CZRPropertyManager & Settings)
{
    CLexAnalyzer Lexer(sText);
    for (int nToken = Lexer.GetNextToken(); nToken != TT_EOF; nToken = Lexer.GetNextToken())
    {
        if (nToken != TT_WORD)
            continue;
        CZRString const sName = Lexer.GetStringValue();
        if (Lexer.GetNextToken() != '=')
            continue;
        int const nValue = Lexer.GetNextToken();
        if (nValue == TT_NUMBER)
            Settings[sName.GetString()] = static_cast<int>(Lexer.GetNumValue());
        else if (nValue == TT_FLOAT)
            Settings[sName.GetString()] = static_cast<float>(Lexer.GetNumValue());
        else if (nValue == '"')
            Settings[sName.GetString()] = Lexer.GetStringValue();
        else if (nValue == TT_WORD)
            Settings[sName.GetString()] = Lexer.GetStringValue().CompareNoCase("true") == 0;
    }
}

CZRString ReadWholeFile(char const * szName)
{
    CFileIO File;
    File.Open(szName, FILEIO_READ);
    CZRString sText;
    char * pBuffer = sText.GetBuffer(static_cast<int>(File.GetSize()));
    int const nRead = File.ReadRaw(pBuffer, 1, static_cast<int>(File.GetSize()));
    sText.ReleaseBuffer(nRead > 0 ? nRead : 0);
    return sText;
}

// The profiler smooths its shares as they are read, so a host reads them every frame
// (to draw an overlay, say) and prints them only now and then.
void ReadProfile(CZRProfiler & Profiler, bool bPrint)
{
    for (int nSlot = 0; nSlot < Profiler.GetNumSamples(); ++nSlot)
    {
        CZRProfileData Data;
        if (!Profiler.GetSampleData(nSlot, Data) || !bPrint)
            continue;
        std::printf("  %*s%-10s %5.1f%% of the frame by itself (min %5.1f%%, max %5.1f%%)\n",
                    2 * Data.GetNumParents(), "", Data.GetName(), Data.GetAverageTimePerFrame(),
                    Data.GetMinimumTimePerFrame(), Data.GetMaximumTimePerFrame());
    }
}

// Prints what a directory holds, as the file system sees it across disk and archives.
void PrintListing(CExtendedFileSystem & Files, std::string const & sDirectory, int nDepth)
{
    std::vector<CZRString> vFiles;
    std::vector<CZRString> vDirectories;
    Files.ListDirectory(sDirectory.c_str(), "*.*", vFiles, vDirectories);
    for (CZRString const & sName : vDirectories)
    {
        std::printf("  %*s%s\\\n", 2 * nDepth, "", Text(sName));
        PrintListing(Files, sDirectory + "\\" + Text(sName), nDepth + 1);
    }
    for (CZRString const & sName : vFiles)
        std::printf("  %*s%s\n", 2 * nDepth, "", Text(sName));
}

// The user's options, reloaded whenever their file changes.
struct sUserOptions
{
    CExtendedFileSystem & Files; // watches user.cfg
    CZRPropertyManager Options;

    void Load()
    {
        Options.RemoveAllProperties();
        ReadSettings(ReadWholeFile("user.cfg"), Options);
    }
    // Once a frame: reloads when the file changed since the last frame.
    void Poll(int nFrame)
    {
        std::vector<CZRString> vChanged;
        if (Files.PollChanges(vChanged) == 0)
            return;
        Load();
        std::printf("  frame %d: %s changed, reloaded: volume %.2f\n", nFrame, Text(vChanged[0]),
                    static_cast<double>(Options["volume"].GetFloat()));
    }
};

// An editor saving the options as many do: a new file, renamed over the old one.
void SaveOptions(fs::path const & WorkDir, std::string const & sText)
{
    WriteFile(WorkDir / "user.cfg.new", sText);
    fs::rename(WorkDir / "user.cfg.new", WorkDir / "user.cfg");
}

void RunFrames(CZRProfiler & Profiler, int nFrames, sUserOptions & User, fs::path const & WorkDir)
{
    CTimer::StartMeasure();
    for (int nFrame = 0; nFrame < nFrames; ++nFrame)
    {
        if (nFrame == 60)
            SaveOptions(WorkDir, "volume = 0.8;\n");
        User.Poll(nFrame);
        Profiler.Begin();
        Profiler.SampleBegin("update");
        s_ulNow += nFrame % 10 == 0 ? 12 : 4; // a slow update now and then
        Profiler.SampleBegin("physics");
        s_ulNow += 3;
        Profiler.SampleEnd("physics");
        Profiler.SampleEnd("update");
        Profiler.SampleBegin("render");
        s_ulNow += 9;
        Profiler.SampleEnd("render");
        Profiler.End();
        ReadProfile(Profiler, nFrame + 1 == nFrames);
        CTimer::Measure();
    }
}

int RunHost(fs::path const & WorkDir)
{
    fs::current_path(WorkDir);
    WriteFile(WorkDir / "data" / "settings.cfg",
              "// the host's settings\n"
              "title = \"Harbour town\";\nwidth = 1280;\nheight = 720;\n"
              "gravity = 9.81;\nfullscreen = true;\n");
    WriteFile(WorkDir / "data" / "maps" / "town.map", "hall 12 40\nmarket 30 8\n");

    std::printf("packing data into data.arc\n");
    CExtendedFileSystem Packer;
    Packer.AddCallback(OnArchiveEvent, 0);
    Packer.CreateArchive("data.arc", (WorkDir / "data").c_str());
    fs::remove_all(WorkDir / "data");
    std::printf("data.arc: %ju bytes; the folder is gone, reads go through the archive\n\n",
                static_cast<std::uintmax_t>(fs::file_size(WorkDir / "data.arc")));

    CZRPropertyManager Settings;
    ReadSettings(ReadWholeFile("data\\settings.cfg"), Settings);
    CMemFileIO Stored;
    Settings.Write(&Stored);
    std::printf("settings (%d, stored in %u bytes):\n", Settings.GetPropertyCount(),
                Stored.GetSize());
    CZRString sName;
    CZRProperty Value;
    ZR_LONG_PTR lPos = 0;
    for (bool bMore = Settings.GetFirstProperty(sName, Value, lPos); bMore;
         bMore = Settings.GetNextProperty(sName, Value, lPos))
    {
        CZRString sShown;
        if (Value.IsOfType(PROP_STRING))
            sShown = Value.GetString();
        else if (Value.IsOfType(PROP_FLOAT))
            sShown.Format("%.2f", static_cast<double>(Value.GetFloat()));
        else if (Value.IsOfType(PROP_BOOL))
            sShown = Value.GetBool() ? "true" : "false";
        else
            sShown.Format("%d", Value.GetInt());
        std::printf("  %-10s = %s\n", Text(sName), Text(sShown));
    }
    std::printf("map: %s\n", Text(ReadWholeFile("data\\maps\\town.map").Left(10)));

    // The host's own file system object lists and watches; CFileIO reads through the
    // library's.
    auto pFiles = std::make_unique<CExtendedFileSystem>();
    std::printf("\ndata holds (listed through the archive):\n");
    PrintListing(*pFiles, "data", 0);

    WriteFile(WorkDir / "user.cfg", "volume = 0.5;\n");
    sUserOptions User{*pFiles, CZRPropertyManager()};
    User.Load();
    pFiles->Watch("user.cfg");
    std::printf("\nuser.cfg watched: volume %.2f\n",
                static_cast<double>(User.Options["volume"].GetFloat()));

    TIME_SetClock(SimulatedClock);
    CZRProfiler Profiler;
    std::printf("\n120 frames on a simulated clock:\n");
    RunFrames(Profiler, 120, User, WorkDir);
    std::printf("  last frame %.2f units of 17 ms, %.1f frames per second\n",
                static_cast<double>(CTimer::m_fDeltaMoveTime), static_cast<double>(CTimer::m_fFPS));
    TIME_SetClock(nullptr);

    _ZR_Log_Fn(__FILE__, "host", "main", __LINE__, 0, LOG_FILE, 1, "%d settings read",
               Settings.GetPropertyCount());
    std::printf("\nhost.log: %s", Text(ReadWholeFile("host.log")));
    return 0;
}
} // namespace

int main()
{
    std::string sTemplate = (fs::temp_directory_path() / "common-host-XXXXXX").string();
    if (mkdtemp(sTemplate.data()) == nullptr)
        return 1;
    fs::path const WorkDir(sTemplate);
    int nResult = 1;
    try
    {
        nResult = RunHost(WorkDir);
    }
    catch (CZRException const & Error)
    {
        std::fprintf(stderr, "host: %s (error %d)\n", Error.GetErrorString(),
                     static_cast<int>(Error.GetErrorCode()));
    }
    fs::current_path(fs::temp_directory_path());
    fs::remove_all(WorkDir);
    return nResult;
}
