// Uses every public class and function family through the umbrella header only.
#include <cstdio>

#include "common/common.h"

static unsigned long s_ulClock = 1000;

static unsigned long HostClock()
{
    return s_ulClock;
}

static void OnArchiveEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR)
{
    if (nCode == XFS_NOTIFY_ADDFILE)
        Debug_Printf("%s\n", reinterpret_cast<sArchiveFileEvent const *>(ulArg1)->m_szFileName);
}

static void OnScan(eScannerMode eMode, sFileData * pData, ZR_ULONG_PTR ulUser)
{
    if (eMode == SCAN_FILE && pData != nullptr)
        ++*reinterpret_cast<int *>(ulUser);
}

// Streams, properties, tokens, timer and profiler the way a host writes them.
static bool UseFilesAndData()
{
    CMemFileIO Stream;
    CZRParams Params;
    Params[1] = CZRProperty(7L);
    CZRPropertyManager Settings;
    Settings["Size"] = 7;
    Stream.Write(vector3(1.0f, 2.0f, 3.0f));
    Params.Write(&Stream);
    Settings.Write(&Stream);
    Stream.WriteAscii(4000000000UL);
    Stream.SetFilePointerPos(0);
    vector3 v;
    CZRParams ParamsIn;
    CZRPropertyManager SettingsIn;
    bool bOk = Stream.Read(v) && ParamsIn.Read(&Stream) && SettingsIn.Read(&Stream);
    unsigned long ulBig = 0;
    bOk = bOk && Stream.ReadAscii(ulBig, ';') && ulBig == 4000000000UL;
    ParamsIn.ExpectParameterType(1, PROP_LONG);
    ZR_LONG_PTR lPos = 0;
    CZRString sName;
    CZRProperty Value;
    bOk = bOk && SettingsIn.GetFirstProperty(sName, Value, lPos) && Value.GetInt() == 7 &&
          ParamsIn[1].GetLong() == 7L && v.z == 3.0f;

    CLexAnalyzer Lexer("a := 1");
    bOk = bOk && Lexer.GetNextToken() == CStringTokenizer::TT_WORD &&
          Lexer.GetNextToken() == TT_ASSIGN && Lexer.GetNextToken() == TT_NUMBER;

    TIME_SetClock(HostClock);
    CTimer::StartMeasure();
    s_ulClock += 34;
    bOk = bOk && CTimer::Measure() == 2.0f && CTimer::m_ulTimePassed == 0;
    CZRProfiler Profiler;
    CZRProfileData Data;
    Profiler.Begin();
    Profiler.SampleBegin("frame");
    s_ulClock += 10;
    Profiler.SampleEnd("frame");
    Profiler.End();
    bOk = bOk && Profiler.GetSampleData(0, Data) && Data.GetNumInstances() == 1;
    TIME_SetClock(nullptr);

    CExtendedFileSystem FileSystem;
    FileSystem.AddCallback(OnArchiveEvent, 0);
    FileSystem.AddRoot("data");
    CZRFileScanner Scanner;
    Scanner.AddScanDirectory("no such directory", "*.*");
    int nFiles = 0;
    Scanner.Run(OnScan, reinterpret_cast<ZR_ULONG_PTR>(&nFiles));
    return bOk && FileSystem.HasCallbacks() && FileSystem.GetRootCount() == 1 && nFiles == 0 &&
           !CFileIO::FileExists(nullptr);
}

int main()
{
    CZRString sText("consumer");
    sText += '/';
    sText.Format("%s %d", sText.GetString(), 1);
    CZRString const sCut = sText.Mid(0, 8) + "!";

    CZRPath Path("maps\\town\\hall.dat");
    Path.AddExtension(".bak");

    CZRClassType const Base("Base");
    CZRClassType Leaf("Leaf", Base);

    CZRMutex Mutex;
    Mutex.Lock();
    Mutex.Unlock();

    CZRMailSlot const Slot;

    void * pBlock = MEM_Alloc(4);
    MEM_Zero(pBlock, 4);
    MEM_Free(pBlock);

    bool const bAllRight = STR_strcmp(sCut, "consumer!") == 0 && Path.GetNumPathComponents() == 3 &&
                           !Slot.IsOpened() && Slot.GetMaxMessageSize() == 0 &&
                           Leaf.IsDerivedFrom(Base) &&
                           Leaf.GetFullName().Compare("Base/Leaf/") == 0 && UseFilesAndData();
    Debug_Printf("consumer: Common %s\n", COMMON_VERSION_TEXT);
    Debug_Printf("consumer: %s\n", bAllRight ? "ok" : "wrong");
    return bAllRight ? 0 : 1;
}
