#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "common/file/fileio.h"
#include "workdir.h"

namespace
{
class FileIO : public CWorkDirTest
{
protected:
    std::string Bytes(std::initializer_list<int> Values)
    {
        std::string sBytes;
        for (int nValue : Values)
            sBytes += static_cast<char>(nValue);
        return sBytes;
    }
};
} // namespace

TEST_F(FileIO, EveryScalarHasItsStoredFormByteForByte)
{
    {
        CFileIO File;
        ASSERT_TRUE(File.Open("values.bin", FILEIO_CREATE));
        EXPECT_TRUE(File.Write('A'));
        EXPECT_TRUE(File.Write(true));
        EXPECT_TRUE(File.Write(false));
        EXPECT_TRUE(File.Write(static_cast<short>(-2)));
        EXPECT_TRUE(File.Write(static_cast<unsigned short>(0xBEEF)));
        EXPECT_TRUE(File.Write(-3));
        EXPECT_TRUE(File.Write(0x01020304u));
        EXPECT_TRUE(File.Write(-5L));
        EXPECT_TRUE(File.Write(4000000000UL));
        EXPECT_TRUE(File.Write(1.0f));
        EXPECT_TRUE(File.Write(-2.0));
        EXPECT_EQ(File.GetFilePointerPos(), 35u);
    }
    std::string const sExpected =
        Bytes({'A',  1,    0,    0xFE, 0xFF, 0xEF, 0xBE, 0xFD, 0xFF, 0xFF, 0xFF, 4,
               3,    2,    1,    0xFB, 0xFF, 0xFF, 0xFF, 0x00, 0x28, 0x6B, 0xEE, 0x00,
               0x00, 0x80, 0x3F, 0,    0,    0,    0,    0,    0,    0,    0xC0});
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
    EXPECT_TRUE(File.Read(cValue) && File.Read(bTrue) && File.Read(bFalse) && File.Read(sValue) &&
                File.Read(usValue) && File.Read(nValue) && File.Read(uValue) && File.Read(lValue) &&
                File.Read(ulValue) && File.Read(fValue) && File.Read(dValue));
    EXPECT_EQ(cValue, 'A');
    EXPECT_TRUE(bTrue);
    EXPECT_FALSE(bFalse);
    EXPECT_EQ(sValue, -2);
    EXPECT_EQ(usValue, 0xBEEF);
    EXPECT_EQ(nValue, -3);
    EXPECT_EQ(uValue, 0x01020304u);
    EXPECT_EQ(lValue, -5L);
    EXPECT_EQ(ulValue, 4000000000UL);
    EXPECT_EQ(fValue, 1.0f);
    EXPECT_EQ(dValue, -2.0);
    EXPECT_TRUE(File.IsEof());
    EXPECT_FALSE(File.Read(nValue));
}

TEST_F(FileIO, VectorsAndStringsHaveTheirStoredForms)
{
    {
        CFileIO File;
        File.Open("compound.bin", FILEIO_CREATE);
        EXPECT_TRUE(File.Write(vector2{1.0f, 2.0f}));
        EXPECT_TRUE(File.Write(vector3{3.0f, 4.0f, 5.0f}));
        EXPECT_TRUE(File.Write(vector4{6.0f, 7.0f, 8.0f, 9.0f}));
        EXPECT_TRUE(File.Write(CZRString()));
        CZRString sWithZero("ab");
        sWithZero += '\0';
        sWithZero += 'c';
        EXPECT_TRUE(File.Write(sWithZero));
    }
    std::string const sBytes = m_Dir.ReadFile("compound.bin");
    ASSERT_EQ(sBytes.size(), 36u + 4u + 8u);
    EXPECT_EQ(sBytes.substr(0, 4), Bytes({0, 0, 0x80, 0x3F}));
    EXPECT_EQ(sBytes.substr(32, 4), Bytes({0, 0, 0x10, 0x41}));
    EXPECT_EQ(sBytes.substr(36), Bytes({0, 0, 0, 0, 4, 0, 0, 0, 'a', 'b', 0, 'c'}));

    CFileIO File;
    File.Open("compound.bin", FILEIO_READ);
    vector2 v2{};
    vector3 v3{};
    vector4 v4{};
    EXPECT_TRUE(File.Read(v2) && File.Read(v3) && File.Read(v4));
    EXPECT_EQ(v2.y, 2.0f);
    EXPECT_EQ(v3.z, 5.0f);
    EXPECT_EQ(v4.x, 6.0f);
    EXPECT_EQ(v4.w, 9.0f);
    CZRString sText("old");
    EXPECT_TRUE(File.Read(sText));
    EXPECT_STREQ(sText.GetString(), "old");
    EXPECT_TRUE(File.Read(sText));
    EXPECT_EQ(sText.GetLength(), 4);
    EXPECT_EQ(std::string(sText.GetString(), 4), std::string("ab\0c", 4));
}

TEST_F(FileIO, OddBytesOnTheFileReadAsTheFormSays)
{
    // A bool byte of 2, a negative string length, a double cut by the end.
    m_Dir.WriteFile("odd.bin", Bytes({2, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3}));
    CFileIO File;
    File.Open("odd.bin", FILEIO_READ);
    bool bValue = false;
    EXPECT_TRUE(File.Read(bValue));
    EXPECT_TRUE(bValue);
    CZRString sText("kept");
    EXPECT_TRUE(File.Read(sText));
    EXPECT_STREQ(sText.GetString(), "kept");
    double dValue = 0;
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

TEST_F(FileIO, ModesDecideInTheOrderReadCreateAppend)
{
    m_Dir.WriteFile("a.txt", "abc");
    CFileIO File;
    std::string sText;
    EXPECT_TRUE(File.Open("a.txt", FILEIO_READ | FILEIO_CREATE));
    EXPECT_EQ(File.GetSize(), 3u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Open("a.txt", 8); }, &sText), 4500u);
    EXPECT_EQ(sText, "Invalid file mode specified.");
    EXPECT_FALSE(File.IsOpened());
    EXPECT_EQ(ErrorCodeOf([&] { File.Open("a.txt", 0); }), 4500u);

    EXPECT_TRUE(File.Open("b.txt", FILEIO_CREATE | FILEIO_APPEND));
    EXPECT_TRUE(File.Write('x'));
    EXPECT_TRUE(File.Open("b.txt", FILEIO_APPEND));
    EXPECT_EQ(File.GetFilePointerPos(), 1u);
    EXPECT_TRUE(File.Write('y'));
    EXPECT_TRUE(File.Close());
    EXPECT_EQ(m_Dir.ReadFile("b.txt"), "xy");

    EXPECT_FALSE(File.Open(nullptr, FILEIO_CREATE));
    EXPECT_FALSE(File.Open(nullptr, FILEIO_APPEND));
    EXPECT_EQ(ErrorCodeOf([&] { File.Open("missing", FILEIO_READ); }), 4002u);
    EXPECT_FALSE(File.IsOpened());
    EXPECT_TRUE(CFileIO::FileExists("a.txt"));
    EXPECT_FALSE(CFileIO::FileExists("missing"));
}

TEST_F(FileIO, AClosedStreamRaises4501OrAnswersFalse)
{
    CFileIO File;
    std::string sText;
    EXPECT_EQ(ErrorCodeOf([&] { File.Close(); }, &sText), 4501u);
    EXPECT_EQ(sText, "No file is opened.");
    int nValue = 0;
    EXPECT_EQ(ErrorCodeOf([&] { File.Read(nValue); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Write("", 0); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.GetFilePointerPos(); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.SetFilePointerPos(0); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.GetSize(); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Skip(0); }), 4501u);
    EXPECT_EQ(ErrorCodeOf([&] { File.Printf("x"); }), 4501u);
    EXPECT_FALSE(File.Flush());
    EXPECT_FALSE(File.IsEof());
    EXPECT_FALSE(File.IsOpened());
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

    CFileIO File;
    EXPECT_TRUE(File.Open("d.txt", FILEIO_READ));
    EXPECT_EQ(File.GetSize(), 3u);
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
