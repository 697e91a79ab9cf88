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

std::string Contents(CMemFileIO const & Stream)
{
    return std::string(reinterpret_cast<char const *>(Stream.GetBuffer()), Stream.GetSize());
}

std::string Text(CZRString const & sValue)
{
    return std::string(sValue.GetString() != nullptr ? sValue.GetString() : "",
                       static_cast<std::size_t>(sValue.GetLength()));
}

class FileIOText : public CWorkDirTest
{
};
} // namespace

TEST(FileIOTextForm, WritersPutTheirExactBytes)
{
    CMemFileIO Stream;
    EXPECT_TRUE(Stream.WriteConstAscii('\n'));
    EXPECT_TRUE(Stream.WriteConstAscii(CZRString("\n")));
    EXPECT_TRUE(Stream.WriteConstAscii('\t'));
    EXPECT_EQ(Contents(Stream), "\r\n\n\t");

    CMemFileIO Values;
    EXPECT_TRUE(Values.WriteAscii('\t'));
    EXPECT_TRUE(Values.WriteAscii('x'));
    EXPECT_TRUE(Values.WriteAscii('\r'));
    EXPECT_TRUE(Values.WriteAscii(42));
    EXPECT_TRUE(Values.WriteAscii(-7L));
    EXPECT_TRUE(Values.WriteAscii(4000000000UL));
    EXPECT_TRUE(Values.WriteAscii(1.5f));
    EXPECT_TRUE(Values.WriteAscii(3.14159f));
    EXPECT_TRUE(Values.WriteAscii(-1.0e30f));
    EXPECT_TRUE(Values.WriteAscii(CZRString("a\"b\\n;")));
    EXPECT_TRUE(Values.WriteAscii(CZRString()));
    EXPECT_EQ(Contents(Values), "'\\t'; 'x'; '\\r'; 42; -7; -294967296; 1.5000; 3.1416; "
                                "-1000000015047466219876688855040.0000; \"a\"b\\n;\"; \"\"; ");
}

TEST_F(FileIOText, TheWorkedExampleReadsBackFromAFile)
{
    {
        CFileIO File;
        ASSERT_TRUE(File.Open("values.txt", FILEIO_CREATE));
        EXPECT_TRUE(File.WriteAscii(42));
        EXPECT_TRUE(File.WriteAscii(1.5f));
        EXPECT_TRUE(File.WriteAscii(CZRString("ab")));
        EXPECT_TRUE(File.WriteConstAscii('\n'));
    }
    EXPECT_EQ(m_Dir.ReadFile("values.txt"), "42; 1.5000; \"ab\"; \r\n");
    CFileIO File;
    ASSERT_TRUE(File.Open("values.txt", FILEIO_READ));
    int nValue = 0;
    float fValue = 0;
    CZRString sValue;
    EXPECT_TRUE(File.ReadAscii(nValue, ';'));
    EXPECT_TRUE(File.ReadAscii(fValue, ';'));
    EXPECT_TRUE(File.ReadAscii(sValue));
    EXPECT_EQ(nValue, 42);
    EXPECT_EQ(fValue, 1.5f);
    EXPECT_EQ(Text(sValue), "ab");
    EXPECT_FALSE(File.ReadConstAscii('x')) << "only white space is left";
}

TEST(FileIOTextForm, NumbersAreTokensUpToTheirDelimiter)
{
    CTextStream Stream("010; 0x10; abc; 12; -294967296; // seven\n 7;-//x\n5; 8 , "
                       "99999999999999999999999999999999999999999999999999999999999999999999; 9");
    int nValue = -1;
    EXPECT_TRUE(Stream.ReadAscii(nValue, ';'));
    EXPECT_EQ(nValue, 8);
    EXPECT_TRUE(Stream.ReadAscii(nValue, ';'));
    EXPECT_EQ(nValue, 16);
    EXPECT_TRUE(Stream.ReadAscii(nValue, ';'));
    EXPECT_EQ(nValue, 16) << "a token that doesn't parse leaves the target";
    EXPECT_EQ(Stream.GetFilePointerPos(), 15u) << "and the stream behind its delimiter";
    long lValue = 0;
    EXPECT_TRUE(Stream.ReadAscii(lValue, ';'));
    EXPECT_EQ(lValue, 12L);
    unsigned long ulValue = 0;
    EXPECT_TRUE(Stream.ReadAscii(ulValue, ';'));
    EXPECT_EQ(ulValue, 4000000000UL);
    EXPECT_TRUE(Stream.ReadAscii(nValue, ';'));
    EXPECT_EQ(nValue, 7) << "a comment before the token is skipped";
    EXPECT_TRUE(Stream.ReadAscii(nValue, ';'));
    EXPECT_EQ(nValue, 7) << "a comment inside the token is part of it";
    EXPECT_TRUE(Stream.ReadAscii(nValue, ','));
    EXPECT_EQ(nValue, 8);
    EXPECT_TRUE(Stream.ReadAscii(nValue, ';'));
    EXPECT_EQ(nValue, 8) << "a token longer than any number is consumed and ignored";
    EXPECT_FALSE(Stream.ReadAscii(nValue, ';')) << "the end of the stream inside a token";
    EXPECT_EQ(nValue, 8);
    Stream.StepBack();
    EXPECT_EQ(Stream.GetFilePointerPos(), Stream.GetSize() - 2);
    EXPECT_FALSE(Stream.ReadAscii(nValue, ';'));

    CTextStream Empty("  ;");
    float fValue = 2.0f;
    EXPECT_TRUE(Empty.ReadAscii(fValue, ';'));
    EXPECT_EQ(fValue, 2.0f);
    EXPECT_FALSE(Empty.ReadAscii(fValue, ';'));
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
                             std::numeric_limits<float>::denorm_min(),
                             -std::numeric_limits<float>::denorm_min(),
                             FLT_MAX,
                             -FLT_MAX,
                             1.0e30f,
                             16777217.0f,
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity()};
    CMemFileIO Stream;
    for (float const fValue : aFloats)
        ASSERT_TRUE(Stream.WriteAscii(fValue));
    ASSERT_TRUE(Stream.WriteAscii(std::numeric_limits<float>::quiet_NaN()));
    int const aInts[] = {0, -1, 2147483647, -2147483647 - 1};
    for (int const nValue : aInts)
        ASSERT_TRUE(Stream.WriteAscii(nValue));
    ASSERT_TRUE(Stream.WriteAscii(static_cast<long>(-2147483647 - 1)));
    ASSERT_TRUE(Stream.WriteAscii(4294967295UL));

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
    for (int const nExpected : aInts)
    {
        int nValue = 42;
        ASSERT_TRUE(Stream.ReadAscii(nValue, ';'));
        EXPECT_EQ(nValue, nExpected);
    }
    long lValue = 0;
    unsigned long ulValue = 0;
    ASSERT_TRUE(Stream.ReadAscii(lValue, ';'));
    ASSERT_TRUE(Stream.ReadAscii(ulValue, ';'));
    EXPECT_EQ(lValue, -2147483647L - 1);
    EXPECT_EQ(ulValue, 4294967295UL);
    EXPECT_EQ(Stream.GetFilePointerPos(), Stream.GetSize() - 1) << "the last blank is left";
}

TEST(FileIOTextForm, CharactersSkipWhiteSpaceAndComments)
{
    CTextStream Stream(" //x\r\n y/ x//a\xC8z//\n\t");
    char c = 0;
    EXPECT_TRUE(Stream.ReadAscii(c, false));
    EXPECT_EQ(c, ' ');
    EXPECT_TRUE(Stream.ReadAscii(c, false));
    EXPECT_EQ(c, 'y') << "white space behind a comment is skipped whatever was asked";
    EXPECT_TRUE(Stream.ReadAscii(c, true));
    EXPECT_EQ(c, '/') << "a lone slash is an ordinary byte";
    EXPECT_TRUE(Stream.ReadAscii(c, true));
    EXPECT_EQ(c, 'x');
    EXPECT_TRUE(Stream.ReadAscii(c, true));
    EXPECT_EQ(c, 'z') << "a byte above 127 ends a comment";
    EXPECT_FALSE(Stream.ReadAscii(c, true)) << "only a comment and white space are left";

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

TEST(FileIOTextForm, StringsAreQuotedWithEscapesAndEndAtASemicolon)
{
    CTextStream Stream(
        "\"a\\tb\"; \"a\\qb\"; \"a;b\"; \"a\"xyz; //c\n\"\\a\\b\\f\\n\\r\\t\\v\\'\\\"\\\\\";"
        "\"line\r\nbreak\"; \"end\"");
    CZRString sValue;
    EXPECT_TRUE(Stream.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "a\tb");
    EXPECT_TRUE(Stream.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "a\\qb");
    EXPECT_TRUE(Stream.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "a;b");
    EXPECT_TRUE(Stream.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "a") << "what stands between the quote and the semicolon goes";
    EXPECT_TRUE(Stream.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "\a\b\f\n\r\t\v'\"\\");
    EXPECT_TRUE(Stream.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "line\r\nbreak");
    EXPECT_FALSE(Stream.ReadAscii(sValue)) << "no semicolon behind the string";
    EXPECT_EQ(Text(sValue), "end");

    CTextStream Unquoted("  x\"a\";");
    sValue = "kept";
    EXPECT_FALSE(Unquoted.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "kept");
    EXPECT_EQ(Unquoted.GetFilePointerPos(), 3u) << "behind the byte that was tried";
    Unquoted.StepBack();
    EXPECT_EQ(Unquoted.GetFilePointerPos(), 0u);

    // Behind the closing quote the escape state is never left again.
    CTextStream Behind("\"a\"\\; \"b\"\\xy;");
    EXPECT_TRUE(Behind.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "a\\");
    EXPECT_TRUE(Behind.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "b\\\\\\");

    CTextStream Cut("\"abc");
    EXPECT_FALSE(Cut.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), "abc") << "the text so far stays";

    std::string const sLong(100000, 'L');
    CTextStream Long("\"" + sLong + "\";");
    EXPECT_TRUE(Long.ReadAscii(sValue));
    EXPECT_EQ(Text(sValue), sLong);
}

TEST(FileIOTextForm, ConstantsMatchByteByByte)
{
    CTextStream Stream("k e y k e // note\ny ");
    EXPECT_TRUE(Stream.ReadConstAscii(CZRString("key")));
    EXPECT_TRUE(Stream.ReadConstAscii(CZRString("key")));
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
    char szLine[16];
    CTextStream Stream("ab\r\ncd");
    EXPECT_TRUE(Stream.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "ab");
    EXPECT_FALSE(Stream.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "cd");

    CTextStream Ends(std::string("a\rb\nc\n\nd\0e\r", 11));
    EXPECT_TRUE(Ends.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "a");
    EXPECT_TRUE(Ends.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "b");
    EXPECT_TRUE(Ends.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "c") << "the empty line between two line feeds disappears";
    EXPECT_TRUE(Ends.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "d") << "a zero byte ends the line";
    EXPECT_TRUE(Ends.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "e");
    EXPECT_FALSE(Ends.ReadLine(szLine, sizeof(szLine)));
    EXPECT_STREQ(szLine, "");

    CTextStream Short("abcd\nxy");
    EXPECT_TRUE(Short.ReadLine(szLine, 1));
    EXPECT_STREQ(szLine, "");
    EXPECT_EQ(Short.GetFilePointerPos(), 0u);
    EXPECT_TRUE(Short.ReadLine(szLine, 3));
    EXPECT_STREQ(szLine, "ab");
    EXPECT_TRUE(Short.ReadLine(szLine, 3));
    EXPECT_STREQ(szLine, "cd");
    EXPECT_EQ(Short.GetFilePointerPos(), 5u);
    EXPECT_FALSE(Short.ReadLine(nullptr, 3));
    EXPECT_FALSE(Short.ReadLine(szLine, 0));
    EXPECT_EQ(Short.GetFilePointerPos(), 5u);
}
