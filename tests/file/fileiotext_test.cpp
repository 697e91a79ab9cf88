#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "common/file/fileio.h"
#include "common/file/memfileio.h"
#include "workdir.h"

namespace
{
using FileIOText = CWorkDirTest;

// A memory stream holding sText, positioned at its start.
class CTextStream : public CMemFileIO
{
public:
    explicit CTextStream(std::string const & sText)
    {
        Write(sText.data(), static_cast<std::uint32_t>(sText.size()));
        SetFilePointerPos(0);
    }
};

std::string Text(CZRString const & sValue)
{
    return std::string(sValue.GetString() != nullptr ? sValue.GetString() : "",
                       static_cast<std::size_t>(sValue.GetLength()));
}

// The helpers below read nCount values one after another and list what each read left
// in its target, as "a|b|!c": a read that answered false is marked with "!".
void Add(std::string & sList, bool bRead, std::string const & sValue)
{
    sList += (sList.empty() ? "" : "|") + std::string(bRead ? "" : "!") + sValue;
}

std::string Ints(CFileIO & Stream, char cDelimiter, int nCount, int nValue = -1)
{
    std::string sList;
    for (int i = 0; i < nCount; ++i)
    {
        bool const bRead = Stream.ReadAscii(nValue, cDelimiter);
        Add(sList, bRead, std::to_string(nValue));
    }
    return sList;
}

std::string Strings(CFileIO & Stream, int nCount)
{
    CZRString sValue("kept");
    std::string sList;
    for (int i = 0; i < nCount; ++i)
    {
        bool const bRead = Stream.ReadAscii(sValue);
        Add(sList, bRead, Text(sValue));
    }
    return sList;
}

std::string Lines(CFileIO & Stream, unsigned int nSize, int nCount)
{
    char szLine[16] = "kept";
    std::string sList;
    for (int i = 0; i < nCount; ++i)
    {
        bool const bRead = Stream.ReadLine(szLine, nSize);
        Add(sList, bRead, szLine);
    }
    return sList;
}
} // namespace

TEST(FileIOTextForm, WritersPutTheirExactBytes)
{
    CMemFileIO Stream;
    EXPECT_TRUE(Stream.WriteConstAscii('\n') && Stream.WriteConstAscii(CZRString("\n")) &&
                Stream.WriteConstAscii('\t') && Stream.WriteAscii('\t') && Stream.WriteAscii('x') &&
                Stream.WriteAscii('\r') && Stream.WriteAscii(42) && Stream.WriteAscii(-7L) &&
                Stream.WriteAscii(4000000000UL) && Stream.WriteAscii(1.5f) &&
                Stream.WriteAscii(3.14159f) && Stream.WriteAscii(-1.0e30f) &&
                Stream.WriteAscii(CZRString("a\"b\\n;")) && Stream.WriteAscii(CZRString()));
    EXPECT_EQ(std::string(reinterpret_cast<char const *>(Stream.GetBuffer()), Stream.GetSize()),
              "\r\n\n\t'\\t'; 'x'; '\\r'; 42; -7; -294967296; 1.5000; 3.1416; "
              "-1000000015047466219876688855040.0000; \"a\"b\\n;\"; \"\"; ");
}

TEST_F(FileIOText, TheWorkedExampleReadsBackFromAFile)
{
    {
        CFileIO File;
        ASSERT_TRUE(File.Open("values.txt", FILEIO_CREATE));
        EXPECT_TRUE(File.WriteAscii(42) && File.WriteAscii(1.5f) &&
                    File.WriteAscii(CZRString("ab")) && File.WriteConstAscii('\n'));
    }
    EXPECT_EQ(m_Dir.ReadFile("values.txt"), "42; 1.5000; \"ab\"; \r\n");
    CFileIO File;
    ASSERT_TRUE(File.Open("values.txt", FILEIO_READ));
    float fValue = 0;
    EXPECT_EQ(Ints(File, ';', 1), "42");
    EXPECT_TRUE(File.ReadAscii(fValue, ';'));
    EXPECT_EQ(fValue, 1.5f);
    EXPECT_EQ(Strings(File, 1), "ab");
    EXPECT_FALSE(File.ReadConstAscii('x')) << "only white space is left";
}

TEST(FileIOTextForm, NumbersAreTokensUpToTheirDelimiter)
{
    // A token that doesn't parse leaves the target, and the stream behind its delimiter;
    // a comment before a token is skipped, one inside it is part of it; a token longer
    // than any number is consumed and ignored.
    CTextStream Stream("010; 0x10; abc; 12; -294967296; // seven\n 7;-//x\n5; 8 , "
                       "99999999999999999999999999999999999999999999999999999999999999999999; 9");
    EXPECT_EQ(Ints(Stream, ';', 3), "8|16|16");
    EXPECT_EQ(Stream.GetFilePointerPos(), 15u);
    long lValue = 0;
    unsigned long ulValue = 0;
    EXPECT_TRUE(Stream.ReadAscii(lValue, ';') && Stream.ReadAscii(ulValue, ';'));
    EXPECT_EQ(lValue, 12L);
    EXPECT_EQ(ulValue, 4000000000UL);
    EXPECT_EQ(Ints(Stream, ';', 2), "7|7");
    EXPECT_EQ(Ints(Stream, ',', 1), "8");
    EXPECT_EQ(Ints(Stream, ';', 2, 8), "8|!8") << "the end of the stream inside a token";
    Stream.StepBack();
    EXPECT_EQ(Stream.GetFilePointerPos(), Stream.GetSize() - 2);
    EXPECT_EQ(Ints(Stream, ';', 1, 8), "!8");

    CTextStream Empty("  ;");
    float fValue = 2.0f;
    EXPECT_TRUE(Empty.ReadAscii(fValue, ';'));
    EXPECT_FALSE(Empty.ReadAscii(fValue, ';'));
    EXPECT_EQ(fValue, 2.0f);
}

TEST(FileIOTextForm, EveryFloatAndIntegerReadsBack)
{
    float const aFloats[] = {0.0f,
                             -0.0f,
                             1.5f,
                             0.1f,
                             -3.14159274f,
                             123456.789f,
                             1.0e-10f,
                             0.00004f,
                             FLT_MIN,
                             FLT_MAX,
                             -FLT_MAX,
                             1.0e30f,
                             16777217.0f,
                             std::numeric_limits<float>::denorm_min(),
                             -std::numeric_limits<float>::denorm_min(),
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity()};
    CMemFileIO Stream;
    for (float const fValue : aFloats)
        ASSERT_TRUE(Stream.WriteAscii(fValue));
    ASSERT_TRUE(Stream.WriteAscii(std::numeric_limits<float>::quiet_NaN()));
    for (int const nValue : {0, -1, 2147483647, -2147483647 - 1})
        ASSERT_TRUE(Stream.WriteAscii(nValue));
    ASSERT_TRUE(Stream.WriteAscii(static_cast<long>(-2147483647 - 1)) &&
                Stream.WriteAscii(4294967295UL));

    ASSERT_TRUE(Stream.SetFilePointerPos(0));
    for (float const fWritten : aFloats)
    {
        // Floats travel with four decimals, whatever their magnitude.
        char szText[64];
        std::snprintf(szText, sizeof(szText), "%.4f", static_cast<double>(fWritten));
        float const fExpected = std::strtof(szText, nullptr);
        float fValue = 42.0f;
        ASSERT_TRUE(Stream.ReadAscii(fValue, ';'));
        EXPECT_EQ(std::memcmp(&fValue, &fExpected, sizeof(float)), 0)
            << fExpected << " came back as " << fValue;
    }
    float fNan = 0;
    ASSERT_TRUE(Stream.ReadAscii(fNan, ';'));
    EXPECT_TRUE(std::isnan(fNan));
    EXPECT_EQ(Ints(Stream, ';', 4), "0|-1|2147483647|-2147483648");
    long lValue = 0;
    unsigned long ulValue = 0;
    ASSERT_TRUE(Stream.ReadAscii(lValue, ';') && Stream.ReadAscii(ulValue, ';'));
    EXPECT_EQ(lValue, -2147483647L - 1);
    EXPECT_EQ(ulValue, 4294967295UL);
    EXPECT_EQ(Stream.GetFilePointerPos(), Stream.GetSize() - 1) << "the last blank is left";
}

TEST(FileIOTextForm, CharactersSkipWhiteSpaceAndComments)
{
    // White space behind a comment is skipped whatever was asked; a lone slash is an
    // ordinary byte; a byte above 127 ends a comment.
    CTextStream Stream(" //x\r\n y/ x//a\xC8z//\n\t");
    std::string sRead;
    char c = 0;
    for (bool const bSkip : {false, false, true, true, true, true})
        sRead += Stream.ReadAscii(c, bSkip) ? c : '!';
    EXPECT_EQ(sRead, " y/xz!");
    CTextStream Open("//no line end");
    EXPECT_FALSE(Open.ReadAscii(c, true));

    // Comments one after another cost no stack.
    std::string sComments;
    for (int i = 0; i < 200000; ++i)
        sComments += "//\n";
    CTextStream Many(sComments + "q");
    EXPECT_TRUE(Many.ReadAscii(c, false));
    EXPECT_EQ(c, 'q');
}

TEST_F(FileIOText, ALoneSlashInAFileIsPutBackWhereItWas)
{
    // On a file the byte behind a lone slash goes back into the stream: positions and
    // raw reads behind it are as after a seek; a slash at the very end ends the reading.
    m_Dir.WriteFile("slashes.txt", "a/b//c\n/ /");
    CFileIO File;
    ASSERT_TRUE(File.Open("slashes.txt", FILEIO_READ));
    std::string sRead;
    std::string sPositions;
    char c = 0;
    while (File.ReadAscii(c, false))
    {
        sRead += c;
        sPositions += std::to_string(File.GetFilePointerPos()) + " ";
    }
    EXPECT_EQ(sRead, "a/b/ ");
    EXPECT_EQ(sPositions, "1 2 3 8 9 ");
    File.SetFilePointerPos(1);
    ASSERT_TRUE(File.ReadAscii(c, false));
    char acRaw[2] = {};
    ASSERT_TRUE(File.Read(acRaw, 2));
    EXPECT_EQ(std::string(acRaw, 2), "b/");
}

TEST(FileIOTextForm, StringsAreQuotedWithEscapesAndEndAtASemicolon)
{
    // What stands between the closing quote and the semicolon goes; an unknown escape
    // stays as it stands; the last string has no semicolon behind it.
    CTextStream Stream(
        "\"a\\tb\"; \"a\\qb\"; \"a;b\"; \"a\"xyz; //c\n\"\\a\\b\\f\\n\\r\\t\\v\\'\\\"\\\\\";"
        "\"line\r\nbreak\"; \"end\"");
    EXPECT_EQ(Strings(Stream, 7), "a\tb|a\\qb|a;b|a|\a\b\f\n\r\t\v'\"\\|line\r\nbreak|!end");
    // Behind the closing quote the escape state is never left again.
    CTextStream Behind("\"a\"\\; \"b\"\\xy;");
    EXPECT_EQ(Strings(Behind, 2), "a\\|b\\\\\\");
    CTextStream Cut("\"abc");
    EXPECT_EQ(Strings(Cut, 1), "!abc") << "the text so far stays";
    std::string const sLong(100000, 'L');
    CTextStream Long("\"" + sLong + "\";");
    EXPECT_TRUE(Strings(Long, 1) == sLong);

    CTextStream Unquoted("  x\"a\";");
    EXPECT_EQ(Strings(Unquoted, 1), "!kept");
    EXPECT_EQ(Unquoted.GetFilePointerPos(), 3u) << "behind the byte that was tried";
    Unquoted.StepBack();
    EXPECT_EQ(Unquoted.GetFilePointerPos(), 0u);
}

TEST(FileIOTextForm, ConstantsMatchByteByByte)
{
    CTextStream Stream("k e y k e // note\ny ");
    EXPECT_TRUE(Stream.ReadConstAscii(CZRString("key")) && Stream.ReadConstAscii(CZRString("key")));
    EXPECT_FALSE(Stream.ReadConstAscii('x')) << "at the end";
    EXPECT_TRUE(Stream.ReadConstAscii(' ')) << "at the end a blank is what is left";

    CTextStream Mismatch("k  /**/x");
    EXPECT_FALSE(Mismatch.ReadConstAscii(CZRString("key")));
    EXPECT_EQ(Mismatch.GetFilePointerPos(), 4u) << "behind the byte that didn't match";
    Mismatch.StepBack();
    EXPECT_EQ(Mismatch.GetFilePointerPos(), 1u) << "where the failed byte's blanks began";

    CTextStream Empty(" a b");
    EXPECT_FALSE(Empty.ReadConstAscii(CZRString()));
    EXPECT_EQ(Empty.GetFilePointerPos(), 2u) << "one significant byte is consumed";
    CTextStream Zero(std::string(" \0b", 3));
    EXPECT_TRUE(Zero.ReadConstAscii(CZRString("")));
}

TEST(FileIOTextForm, ReadLineEndsAtEveryLineEnd)
{
    // The empty line between two line feeds disappears; a zero byte ends a line.
    CTextStream Stream("ab\r\ncd");
    EXPECT_EQ(Lines(Stream, 16, 2), "ab|!cd");
    CTextStream Ends(std::string("a\rb\nc\n\nd\0e\r", 11));
    EXPECT_EQ(Lines(Ends, 16, 6), "a|b|c|d|e|!");

    CTextStream Short("abcd\nxy");
    EXPECT_EQ(Lines(Short, 1, 1), "");
    EXPECT_EQ(Short.GetFilePointerPos(), 0u);
    EXPECT_EQ(Lines(Short, 3, 2), "ab|cd");
    EXPECT_EQ(Short.GetFilePointerPos(), 5u);
    char szLine[4];
    EXPECT_FALSE(Short.ReadLine(nullptr, 3) || Short.ReadLine(szLine, 0));
    EXPECT_EQ(Short.GetFilePointerPos(), 5u);
}
