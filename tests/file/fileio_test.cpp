#include <gtest/gtest.h>

#include <string>

#include "common/file/fileio.h"
#include "workdir.h"

namespace
{
using FileIO = CWorkDirTest;

std::string Bytes(std::initializer_list<int> Values)
{
    std::string sBytes;
    for (int nValue : Values)
        sBytes += static_cast<char>(nValue);
    return sBytes;
}
} // namespace

TEST_F(FileIO, EveryValueHasItsStoredFormByteForByte)
{
    CZRString sWithZero("ab");
    sWithZero += '\0';
    sWithZero += 'c';
    {
        CFileIO File;
        ASSERT_TRUE(File.Open("values.bin", FILEIO_CREATE));
        EXPECT_TRUE(File.Write('A') && File.Write(true) && File.Write(false) &&
                    File.Write(static_cast<short>(-2)) &&
                    File.Write(static_cast<unsigned short>(0xBEEF)) && File.Write(-3) &&
                    File.Write(0x01020304u) && File.Write(-5L) && File.Write(4000000000UL) &&
                    File.Write(1.0f) && File.Write(-2.0));
        EXPECT_EQ(File.GetFilePointerPos(), 35u);
        EXPECT_TRUE(File.Write(vector2{1, 2}) && File.Write(vector3{3, 4, 5}) &&
                    File.Write(vector4{6, 7, 8, 9}) && File.Write(CZRString()) &&
                    File.Write(sWithZero));
    }
    std::string sExpected =
        Bytes({'A',  1,    0,    0xFE, 0xFF, 0xEF, 0xBE, 0xFD, 0xFF, 0xFF, 0xFF, 4,
               3,    2,    1,    0xFB, 0xFF, 0xFF, 0xFF, 0x00, 0x28, 0x6B, 0xEE, 0x00,
               0x00, 0x80, 0x3F, 0,    0,    0,    0,    0,    0,    0,    0xC0});
    for (float fComponent = 1; fComponent <= 9; ++fComponent)
        sExpected.append(reinterpret_cast<char const *>(&fComponent), 4);
    sExpected += Bytes({0, 0, 0, 0, 4, 0, 0, 0, 'a', 'b', 0, 'c'});
    EXPECT_EQ(m_Dir.ReadFile("values.bin"), sExpected);

    CFileIO File;
    ASSERT_TRUE(File.Open("values.bin", FILEIO_READ));
    char cValue = 0;
    bool bTrue = false, bFalse = true;
    short sValue = 0;
    unsigned short usValue = 0;
    int nValue = 0;
    unsigned int uValue = 0;
    long lValue = 0;
    unsigned long ulValue = 0;
    float fValue = 0;
    double dValue = 0;
    vector2 v2{};
    vector3 v3{};
    vector4 v4{};
    CZRString sEmpty("old"), sText;
    EXPECT_TRUE(File.Read(cValue) && File.Read(bTrue) && File.Read(bFalse) && File.Read(sValue) &&
                File.Read(usValue) && File.Read(nValue) && File.Read(uValue) && File.Read(lValue) &&
                File.Read(ulValue) && File.Read(fValue) && File.Read(dValue) && File.Read(v2) &&
                File.Read(v3) && File.Read(v4) && File.Read(sEmpty) && File.Read(sText));
    EXPECT_TRUE(cValue == 'A' && bTrue && !bFalse && sValue == -2 && usValue == 0xBEEF &&
                nValue == -3 && uValue == 0x01020304u && lValue == -5L && ulValue == 4000000000UL &&
                fValue == 1.0f && dValue == -2.0);
    EXPECT_TRUE(v2.y == 2 && v3.z == 5 && v4.x == 6 && v4.w == 9);
    EXPECT_STREQ(sEmpty.GetString(), "old") << "an empty string leaves the target";
    EXPECT_EQ(std::string(sText.GetString(), sText.GetLength()), std::string("ab\0c", 4));
    EXPECT_TRUE(File.IsEof());
    EXPECT_FALSE(File.Read(nValue));
}

TEST_F(FileIO, OddBytesOnTheFileReadAsTheFormSays)
{
    // A bool byte of 2, a negative string length, a double cut by the end.
    m_Dir.WriteFile("odd.bin", Bytes({2, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3}));
    CFileIO File;
    File.Open("odd.bin", FILEIO_READ);
    bool bValue = false;
    CZRString sText("kept");
    double dValue = 0;
    EXPECT_TRUE(File.Read(bValue) && bValue);
    EXPECT_TRUE(File.Read(sText));
    EXPECT_STREQ(sText.GetString(), "kept");
    EXPECT_TRUE(File.Read(dValue));
    EXPECT_TRUE(File.IsEof());

    // A stored length far beyond the file is damage: false, and nothing allocated.
    m_Dir.WriteFile("long.bin", Bytes({0xFF, 0xFF, 0xFF, 0x7F, 'x'}));
    File.Open("long.bin", FILEIO_READ);
    EXPECT_FALSE(File.Read(sText));
    EXPECT_STREQ(sText.GetString(), "kept");
    // A string cut off by the end keeps its stored length.
    m_Dir.WriteFile("cut.bin", Bytes({5, 0, 0, 0, 'a', 'b'}));
    File.Open("cut.bin", FILEIO_READ);
    EXPECT_TRUE(File.Read(sText));
    EXPECT_EQ(sText.GetLength(), 5);
    EXPECT_EQ(std::string(sText.GetString(), 2), "ab");
}

TEST_F(FileIO, ModesDecideInTheOrderReadCreateAppendAndErrorsKeepTheirClass)
{
    m_Dir.WriteFile("a.txt", "abc");
    CFileIO File;
    EXPECT_TRUE(File.Open("a.txt", FILEIO_READ | FILEIO_CREATE));
    EXPECT_EQ(File.GetSize(), 3u);
    EXPECT_EQ(ErrorOf([&] { File.Open("a.txt", 8); }), "4500 Invalid file mode specified.");
    EXPECT_FALSE(File.IsOpened());

    EXPECT_TRUE(File.Open("b.txt", FILEIO_CREATE | FILEIO_APPEND));
    EXPECT_TRUE(File.Write('x'));
    EXPECT_TRUE(File.Open("b.txt", FILEIO_APPEND));
    EXPECT_EQ(File.GetFilePointerPos(), 1u);
    EXPECT_TRUE(File.Write('y'));
    EXPECT_TRUE(File.Close());
    EXPECT_EQ(m_Dir.ReadFile("b.txt"), "xy");

    EXPECT_FALSE(File.Open(nullptr, FILEIO_CREATE));
    EXPECT_FALSE(File.Open(nullptr, FILEIO_APPEND));
    EXPECT_TRUE(CFileIO::FileExists("a.txt"));
    EXPECT_FALSE(CFileIO::FileExists("missing"));
    // Its own errors are CFileIOExceptions; the file system's pass through.
    try
    {
        File.Open("a.txt", 0);
        ADD_FAILURE() << "mode 0 opened";
    }
    catch (CFileIOException const & Error)
    {
        EXPECT_EQ(Error.GetErrorCode(), 4500u);
        EXPECT_EQ(Error.GetErrorClass(), ERRORCLASS_FILE);
        EXPECT_STREQ(Error.GetFileName(), "common/file/fileio");
    }
    try
    {
        File.Open("missing", FILEIO_READ);
        ADD_FAILURE() << "a missing file opened";
    }
    catch (CXfsException const & Error)
    {
        EXPECT_EQ(Error.GetErrorCode(), 4002u);
        EXPECT_EQ(Error.GetErrorClass(), ERRORCLASS_FILE);
        EXPECT_STREQ(Error.GetFileName(), "common/file/extendedfilesystem");
    }
    EXPECT_FALSE(File.IsOpened());
}

TEST_F(FileIO, AClosedStreamRaises4501OrAnswersFalse)
{
    CFileIO File;
    int nValue = 0;
    EXPECT_EQ(ErrorOf([&] { File.Close(); }), "4501 No file is opened.");
    EXPECT_EQ(ErrorCodeOf([&] { File.Read(nValue); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Write("", 0); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.GetFilePointerPos(); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.SetFilePointerPos(0); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.GetSize(); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Skip(0); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Printf("x"); }), 4501u);
    EXPECT_FALSE(File.Flush() || File.IsEof() || File.IsOpened());
    EXPECT_EQ(File.WriteRaw(&nValue, 4, 1), -1);
}

TEST_F(FileIO, DestructorFlushesAndClosesAndCopiesShareTheHandle)
{
    CFileIO * pFile = new CFileIO;
    pFile->Open("d.txt", FILEIO_CREATE);
    pFile->Printf("%d-%s", 7, "x");
    {
        CFileIO const Copy(*pFile);
        EXPECT_TRUE(Copy.IsOpened());
        EXPECT_EQ(Copy.GetFilePointerPos(), 3u);
    }
    EXPECT_EQ(m_Dir.ReadFile("d.txt"), "7-x");
    // The copy closed the handle: the original's destructor meets a dead handle.
    EXPECT_EQ(ErrorCodeOf([&] { delete pFile; }), 4008u);
}

TEST_F(FileIO, RawReadsAndPositions)
{
    m_Dir.WriteFile("raw.bin", "0123456789");
    CFileIO File;
    File.Open("raw.bin", FILEIO_READ);
    char acBuffer[40] = {};
    EXPECT_EQ(ErrorCodeOf([&] { File.Read(acBuffer, 0); }), 4008u);
    EXPECT_TRUE(File.Skip(3));
    EXPECT_EQ(File.ReadRaw(acBuffer, 4, 10), 7);
    EXPECT_EQ(std::string(acBuffer, 7), "3456789");
    EXPECT_EQ(ErrorCodeOf([&] { File.ReadRaw(acBuffer, 4, 1); }), 4008u);
    EXPECT_TRUE(File.SetFilePointerPos(8));
    EXPECT_EQ(File.ReadRaw(acBuffer, 1, 1), 1);
    EXPECT_EQ(acBuffer[0], '8');
    // A count of 2^31 bytes is negative in 32 bits; adding the rest wraps to what remains.
    EXPECT_EQ(File.ReadRaw(acBuffer, 0x80000000u, 1), 1);
    EXPECT_EQ(acBuffer[0], '9');
    EXPECT_TRUE(File.SetFilePointerPos(10));
    EXPECT_EQ(ErrorCodeOf([&] { File.SetFilePointerPos(11); }), 4009u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Skip(1); }), 4009u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Skip(-11); }), 4009u);
    EXPECT_TRUE(File.Skip(-10));
    EXPECT_EQ(File.GetFilePointerPos(), 0u);

    CFileIO Out;
    Out.Open("w.bin", FILEIO_CREATE);
    EXPECT_TRUE(Out.Write("", 0));
    EXPECT_EQ(Out.GetSize(), 0u);
}
