#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <thread>

#include "banner.h"
#include "common/string/zrstring.h"

static std::string const s_sFile = "common/string/zrstring";

static int Capacity(CZRString const & s)
{
    return s.GetData()->m_nAllocLength;
}

static std::string Text(CZRString const & s)
{
    return std::string(s.GetString() != nullptr ? s.GetString() : "", s.GetLength());
}

TEST(ZRString, EmptyStatesAndNullText)
{
    CZRString sDefault;
    CZRString sFromEmpty("");
    CZRString sFromNull(static_cast<char const *>(nullptr));
    EXPECT_EQ(sDefault.GetLength(), 0);
    EXPECT_EQ(sDefault.GetString(), nullptr);
    EXPECT_EQ(sFromEmpty.GetString(), nullptr);
    EXPECT_EQ(sFromNull.GetString(), nullptr);

    CZRString sText("abc");
    sText = "";
    EXPECT_EQ(sText.GetLength(), 0);
    ASSERT_NE(sText.GetString(), nullptr);
    EXPECT_EQ(sText.GetString()[0], '\0');
    EXPECT_EQ(Capacity(sText), 3);

    CZRString sCopy(sText); // copies of a length-0 block own nothing
    EXPECT_EQ(sCopy.GetString(), nullptr);
    sCopy = sDefault; // both without block: no change
    EXPECT_EQ(sCopy.GetString(), nullptr);
    sText = sDefault; // block stays, length 0
    EXPECT_NE(sText.GetString(), nullptr);

    // No block behaves as empty text everywhere.
    EXPECT_EQ(sDefault.Compare(""), 0);
    EXPECT_EQ(sDefault.Compare(nullptr), 0);
    EXPECT_LT(sDefault.CompareNoCase("a"), 0);
    EXPECT_EQ(sDefault.Find('a', 0), -1);
    EXPECT_EQ(sDefault.Find("a", 0), -1);
    EXPECT_EQ(sDefault.FindOneOf("a"), -1);
    EXPECT_EQ(sDefault.ReverseFindOneOf("a"), -1);
    EXPECT_EQ(sDefault.Replace('a', 'b'), 0);
    sDefault.MakeUpper();
    sDefault.Empty();
    EXPECT_EQ(sDefault.GetString(), nullptr);
}

TEST(ZRString, CapacityIsExactAndNeverShrinks)
{
    CZRString s("abc");
    EXPECT_EQ(Capacity(s), 3);
    s = "a longer text";
    EXPECT_EQ(Capacity(s), 13);
    s = "xyz";
    EXPECT_EQ(Capacity(s), 13);
    EXPECT_EQ(Text(s), "xyz");
    s.Empty();
    EXPECT_EQ(Capacity(s), 13);
    s += "0123456789"; // fits
    EXPECT_EQ(Capacity(s), 13);
    s += "ABCD"; // 14 needed
    EXPECT_EQ(Capacity(s), 14);
    EXPECT_EQ(Text(s), "0123456789ABCD");
    s += 'x';
    EXPECT_EQ(Capacity(s), 15);
    s += CZRString("yz");
    EXPECT_EQ(Capacity(s), 17);
    s += s; // copied before the old block goes
    EXPECT_EQ(Text(s), "0123456789ABCDxyz0123456789ABCDxyz");
    EXPECT_EQ(Capacity(s), 34);

    CZRString sCopy(s);
    sCopy = "ab";
    CZRString sSecond(sCopy); // a copy needs only the text, not the capacity
    EXPECT_EQ(Capacity(sSecond), 2);
    sSecond = s;
    EXPECT_EQ(Capacity(sSecond), 34);

    EXPECT_EQ(Capacity(s.Left(5)), 5);
    EXPECT_EQ(Capacity(s.Mid(2, 3)), 3);
    EXPECT_EQ(Capacity(sCopy + "cd"), 4);
    EXPECT_EQ(Text('<' + sCopy + '>'), "<ab>");
    EXPECT_EQ(Text(CZRString('x', 3)), "xxx");
    EXPECT_EQ(CZRString('x', 0).GetString(), nullptr);
    EXPECT_EQ(CZRString('x', -2).GetString(), nullptr);

    CZRString sFormatted;
    sFormatted.Format("%d", 12345);
    EXPECT_EQ(Capacity(sFormatted), 5);
    sFormatted.Format("%d", 7);
    EXPECT_EQ(Capacity(sFormatted), 5);
}

TEST(ZRString, NulCharacter)
{
    CZRString s("ab");
    s += '\0';
    EXPECT_EQ(s.GetLength(), 3);
    s += 'c';
    EXPECT_EQ(Text(s), std::string("ab\0c", 4));
    s = '\0';
    EXPECT_EQ(s.GetLength(), 0);
}

TEST(ZRString, BufferLending)
{
    CZRString s;
    char * pBuffer = s.GetBuffer(10);
    EXPECT_EQ(Capacity(s), 11);
    EXPECT_EQ(s.GetData()->m_nRefs, 2);
    std::memset(pBuffer, 'k', 11);
    s.ReleaseBuffer(11);
    EXPECT_EQ(s.GetData()->m_nRefs, 1);
    EXPECT_EQ(Text(s), std::string(11, 'k'));

    s = "abc";
    pBuffer = s.GetBuffer(4); // capacity suffices: text stays
    EXPECT_EQ(Text(s), "abc");
    pBuffer[1] = '\0';
    s.ReleaseBuffer(-1);
    EXPECT_EQ(Text(s), "a");
    EXPECT_EQ(Capacity(s), 11);

    s.GetBuffer(20); // too small: text gone, length is the new capacity
    EXPECT_EQ(Capacity(s), 21);
    EXPECT_EQ(s.GetLength(), 21);
    s.ReleaseBuffer(0);
    EXPECT_EQ(s.GetLength(), 0);

    CZRString sTooLong;
    sTooLong.GetBuffer(10);
    EXPECT_DEATH(sTooLong.ReleaseBuffer(12),
                 BannerPattern("nNewLength <= m_sData.m_nAllocLength", s_sFile));
    EXPECT_DEATH(sTooLong.GetBuffer(3), BannerPattern("GetData()->m_nRefs <= 1", s_sFile));
    EXPECT_DEATH(sTooLong = "x", BannerPattern("GetData()->m_nRefs <= 1", s_sFile));
}

TEST(ZRString, Checks)
{
    CZRString s("abc");
    CZRString sEmpty;
    EXPECT_DEATH(sEmpty.GetAt(-1), BannerPattern("nIndex >= 0", s_sFile)); // first check first
    EXPECT_DEATH(s.GetAt(3), BannerPattern("nIndex < m_sData.m_nStringLength", s_sFile));
    EXPECT_DEATH(s[-1], BannerPattern("nIndex >= 0", s_sFile));
    EXPECT_DEATH(s[3], BannerPattern("nIndex < m_sData.m_nStringLength", s_sFile));
    EXPECT_DEATH(s.SetAt(-1, 'x'), BannerPattern("nIndex >= 0", s_sFile));
    EXPECT_DEATH(s.SetAt(3, 'x'), BannerPattern("nIndex < m_sData.m_nStringLength", s_sFile));
    EXPECT_DEATH(s += static_cast<char const *>(nullptr),
                 BannerPattern("szString != NULL", s_sFile));
    char const szCharCheck[] = "(0 <= nStartPos) && (cCharToSearch != '\\0')";
    EXPECT_DEATH(s.Find('c', -1), BannerPattern(szCharCheck, s_sFile));
    EXPECT_DEATH(s.Find('\0', 0), BannerPattern(szCharCheck, s_sFile));
    char const szTextCheck[] = "(0 <= nStartPos) && (szSubStringToSearch != NULL)";
    EXPECT_DEATH(s.Find("c", -1), BannerPattern(szTextCheck, s_sFile));
    EXPECT_DEATH(s.Find(static_cast<char const *>(nullptr), 0),
                 BannerPattern(szTextCheck, s_sFile));
    EXPECT_DEATH(s.FindOneOf(nullptr), BannerPattern("szCharSet != NULL", s_sFile));
    EXPECT_DEATH(sEmpty.ReverseFindOneOf(nullptr), BannerPattern("szCharSet != NULL", s_sFile));
    EXPECT_DEATH(s.Mid(1, -1), BannerPattern("nLength >= 0", s_sFile));
    EXPECT_DEATH(CZRString('x', INT_MAX), BannerPattern("nLength <= INT_MAX-1", s_sFile));
    EXPECT_DEATH(sEmpty.GetBuffer(INT_MAX - 1), BannerPattern("nLength <= INT_MAX-1", s_sFile));
    s.SetAt(1, 'B');
    EXPECT_EQ(s.GetAt(1), 'B');
    EXPECT_EQ(s[2], 'c');
}

TEST(ZRString, LeftRightMidBoundaries)
{
    CZRString const s("abc");
    EXPECT_EQ(Text(s.Left(0)), "");
    EXPECT_EQ(Text(s.Left(-5)), "");
    EXPECT_EQ(Text(s.Left(3)), "abc");
    EXPECT_EQ(Text(s.Left(99)), "abc");
    EXPECT_EQ(Text(s.Right(0)), "");
    EXPECT_EQ(Text(s.Right(2)), "bc");
    EXPECT_EQ(Text(s.Right(99)), "abc");
    EXPECT_EQ(Text(s.Mid(1, 1)), "b");
    EXPECT_EQ(Text(s.Mid(1, 99)), "bc");
    EXPECT_EQ(Text(s.Mid(3)), "");
    EXPECT_EQ(Text(s.Mid(7, 2)), "");
    EXPECT_EQ(Text(s.Mid(-2, 2)), "ab");
    EXPECT_EQ(Text(s.Mid(0, 99)), "abc");
    EXPECT_EQ(Text(s.Mid(1)), "bc");
    EXPECT_EQ(Text(s.Mid(2, INT_MAX)), "c");
    EXPECT_EQ(Text(s.Mid(5, -1)), "");
}

TEST(ZRString, FindBoundaries)
{
    CZRString const s("abcabc");
    EXPECT_EQ(s.Find('c', 0), 2);
    EXPECT_EQ(s.Find('c', 3), 5);
    EXPECT_EQ(s.Find('c', 6), -1);
    EXPECT_EQ(s.Find("bc", 2), 4);
    EXPECT_EQ(s.Find("c", 5), 5);
    EXPECT_EQ(s.Find("x", 6), -1);
    EXPECT_EQ(s.Find("c", 7), -1);
    EXPECT_EQ(s.Find("", 0), -1);
    EXPECT_EQ(s.ReverseFind('b'), 4);
    EXPECT_EQ(s.FindOneOf("xc"), 2);
    EXPECT_EQ(s.ReverseFindOneOf("ab"), 4);
    EXPECT_EQ(s.ReverseFindOneOf("a"), 3);
    CZRString const sShort("abc");
    EXPECT_EQ(sShort.Find('c', 3), -1);
    EXPECT_EQ(sShort.Find("c", 2), 2);
    EXPECT_EQ(sShort.Find("x", 3), -1);
}

TEST(ZRString, ChangeAndCompare)
{
    CZRString s("Hello World");
    EXPECT_EQ(s.Replace('o', '0'), 2);
    EXPECT_EQ(s.Replace('x', 'x'), 0);
    s.MakeUpper();
    EXPECT_EQ(Text(s), "HELL0 W0RLD");
    s.MakeLower();
    s.MakeReverse();
    EXPECT_EQ(Text(s), "dlr0w 0lleh");
    EXPECT_EQ(Capacity(s), 11);
    EXPECT_EQ(s.Compare("dlr0w 0lleh"), 0);
    EXPECT_GT(s.Compare(nullptr), 0);
    EXPECT_LT(s.Compare("e"), 0);
    EXPECT_EQ(s.CompareNoCase("DLR0W 0LLEH"), 0);
    EXPECT_EQ(s.CollateNoCase("DLR0W 0LLEH"), 0);
    EXPECT_NE(s.Collate("DLR0W 0LLEH"), 0);
}

TEST(ZRString, Conversions)
{
    char const * szTrue[] = {"1", "TRUE", "true", "tRuE"};
    char const * szFalse[] = {"0", "x", "TRUE ", "yes", "", "11", "truex"};
    for (char const * sz : szTrue)
        EXPECT_TRUE(CZRString(sz).ToBool()) << sz;
    for (char const * sz : szFalse)
        EXPECT_FALSE(CZRString(sz).ToBool()) << sz;

    EXPECT_EQ(CZRString("12abc").ToInt(10), 12);
    EXPECT_EQ(CZRString().ToInt(10), 0);
    EXPECT_EQ(CZRString("ff").ToInt(16), 255);
    EXPECT_EQ(CZRString("3000000000").ToLong(10), INT32_MAX);
    EXPECT_EQ(CZRString("3000000000").ToInt(10), INT32_MAX);
    EXPECT_EQ(CZRString("3000000000").ToUlong(10), 3000000000u);
    EXPECT_EQ(CZRString("-1").ToUint(10), 4294967295u);
    EXPECT_EQ(CZRString("5000000000").ToUlong(10), 4294967295u);
    EXPECT_FLOAT_EQ(CZRString("2.5x").ToFloat(), 2.5f);
    EXPECT_DOUBLE_EQ(CZRString("-1e3").ToDouble(), -1000.0);
    CZRString sEmptied("7");
    sEmptied.Empty();
    EXPECT_EQ(sEmptied.ToUlong(10), 0u);
}

TEST(ZRString, FormatCutsTo1023Bytes)
{
    CZRString s("abc");
    s.Format("%s-%s-%d", s.GetString(), s.GetString(), 5); // arguments inside the string
    EXPECT_EQ(Text(s), "abc-abc-5");

    std::string const sLong(5000, 'w');
    s.Format("%.1023s", sLong.c_str());
    EXPECT_EQ(s.GetLength(), 1023);
    s.Format("%.1024s", sLong.c_str());
    EXPECT_EQ(Text(s), sLong.substr(0, 1023));
    s.Format("%s%d", sLong.c_str(), 1);
    EXPECT_EQ(Text(s), sLong.substr(0, 1023));
    EXPECT_EQ(Capacity(s), 1023);
}

TEST(ZRString, FormatFromTwoThreads)
{
    auto Work = [](char cTag, bool * pAllRight)
    {
        CZRString s;
        for (int i = 0; i < 2000; ++i)
        {
            s.Format("%c%d%c", cTag, i, cTag);
            std::string const sExpected = cTag + std::to_string(i) + cTag;
            if (s.Compare(sExpected.c_str()) != 0)
                *pAllRight = false;
        }
    };
    bool bFirst = true;
    bool bSecond = true;
    std::thread First(Work, 'a', &bFirst);
    std::thread Second(Work, 'b', &bSecond);
    First.join();
    Second.join();
    EXPECT_TRUE(bFirst);
    EXPECT_TRUE(bSecond);
}
