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
    EXPECT_EQ(sDefault.GetLength(), 0);
    EXPECT_EQ(sDefault.GetString(), nullptr);
    EXPECT_EQ(CZRString("").GetString(), nullptr);
    EXPECT_EQ(CZRString(static_cast<char const *>(nullptr)).GetString(), nullptr);

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
    EXPECT_EQ(sDefault.Replace('a', 'b'), 0);
    for (int nFound : {sDefault.Find('a', 0), sDefault.Find("a", 0), sDefault.FindOneOf("a"),
                       sDefault.ReverseFindOneOf("a")})
        EXPECT_EQ(nFound, -1);
    sDefault.MakeUpper();
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
    s.Empty();
    s += "0123456789"; // fits
    EXPECT_EQ(Capacity(s), 13);
    s += "ABCD"; // 14 needed
    EXPECT_EQ(Capacity(s), 14);
    s += 'x';
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
    sFormatted.Format("%d", 7);
    EXPECT_EQ(Capacity(sFormatted), 5); // exact for the longer text, kept for the shorter
}

TEST(ZRString, NulCharacterAppendsButAssignsEmpty)
{
    CZRString s("ab");
    s += '\0';
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
    EXPECT_EQ(s.GetLength(), 21);
    s.ReleaseBuffer(0);
    EXPECT_EQ(s.GetLength(), 0);

    CZRString sLent;
    sLent.GetBuffer(10);
    EXPECT_DEATH(sLent.ReleaseBuffer(12),
                 BannerPattern("nNewLength <= m_sData.m_nAllocLength", s_sFile));
    EXPECT_DEATH(sLent = "x", BannerPattern("GetData()->m_nRefs <= 1", s_sFile));
}

TEST(ZRString, Checks)
{
    CZRString s("abc");
    CZRString sEmpty;
    EXPECT_DEATH(sEmpty.GetAt(-1), BannerPattern("nIndex >= 0", s_sFile)); // first check first
    EXPECT_DEATH(s[3], BannerPattern("nIndex < m_sData.m_nStringLength", s_sFile));
    EXPECT_DEATH(s += static_cast<char const *>(nullptr),
                 BannerPattern("szString != NULL", s_sFile));
    // Each half of the two compound checks.
    char const szCharCheck[] = "(0 <= nStartPos) && (cCharToSearch != '\\0')";
    EXPECT_DEATH(s.Find('c', -1), BannerPattern(szCharCheck, s_sFile));
    EXPECT_DEATH(s.Find('\0', 0), BannerPattern(szCharCheck, s_sFile));
    char const szTextCheck[] = "(0 <= nStartPos) && (szSubStringToSearch != NULL)";
    EXPECT_DEATH(s.Find("c", -1), BannerPattern(szTextCheck, s_sFile));
    EXPECT_DEATH(s.Find(static_cast<char const *>(nullptr), 0),
                 BannerPattern(szTextCheck, s_sFile));
    EXPECT_DEATH(s.FindOneOf(nullptr), BannerPattern("szCharSet != NULL", s_sFile));
    EXPECT_DEATH(s.Mid(1, -1), BannerPattern("nLength >= 0", s_sFile));
    // The block for the lent buffer is one byte longer than asked for.
    EXPECT_DEATH(sEmpty.GetBuffer(INT_MAX - 1), BannerPattern("nLength <= INT_MAX-1", s_sFile));
    s.SetAt(1, 'B');
    EXPECT_EQ(Text(s), "aBc");
}

TEST(ZRString, LeftRightMidBoundaries)
{
    CZRString const s("abc");
    std::pair<CZRString, char const *> const aCases[] = {
        {s.Left(0), ""},      {s.Left(-5), ""},      {s.Left(3), "abc"},       {s.Left(99), "abc"},
        {s.Right(0), ""},     {s.Right(2), "bc"},    {s.Right(99), "abc"},     {s.Mid(3), ""},
        {s.Mid(1), "bc"},     {s.Mid(1, 1), "b"},    {s.Mid(1, 99), "bc"},     {s.Mid(7, 2), ""},
        {s.Mid(-2, 2), "ab"}, {s.Mid(0, 99), "abc"}, {s.Mid(2, INT_MAX), "c"}, {s.Mid(5, -1), ""}};
    for (auto const & Case : aCases)
        EXPECT_EQ(Text(Case.first), Case.second) << "case " << &Case - aCases;
}

TEST(ZRString, FindBoundaries)
{
    CZRString const s("abcabc");
    // Starts at and behind the end give -1 without a check.
    std::pair<int, int> const aCases[] = {
        {s.Find('c', 0), 2},    {s.Find('c', 3), 5},           {s.Find('c', 6), -1},
        {s.Find("bc", 2), 4},   {s.Find("c", 5), 5},           {s.Find("x", 6), -1},
        {s.Find("c", 7), -1},   {s.Find("", 0), -1},           {s.ReverseFind('b'), 4},
        {s.FindOneOf("xc"), 2}, {s.ReverseFindOneOf("ab"), 4}, {s.ReverseFindOneOf("a"), 3}};
    for (auto const & Case : aCases)
        EXPECT_EQ(Case.first, Case.second) << "case " << &Case - aCases;
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
    for (char const * sz : {"1", "TRUE", "true", "tRuE"})
        EXPECT_TRUE(CZRString(sz).ToBool()) << sz;
    for (char const * sz : {"0", "x", "TRUE ", "yes", "", "11", "truex"})
        EXPECT_FALSE(CZRString(sz).ToBool()) << sz;

    EXPECT_EQ(CZRString("12abc").ToInt(10), 12);
    EXPECT_EQ(CZRString().ToInt(10), 0);
    EXPECT_EQ(CZRString("ff").ToInt(16), 255);
    CZRString const sBig("3000000000");
    EXPECT_EQ(sBig.ToLong(10), INT32_MAX);
    EXPECT_EQ(sBig.ToInt(10), INT32_MAX);
    EXPECT_EQ(sBig.ToUlong(10), 3000000000u);
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
            *pAllRight &= s.Compare((cTag + std::to_string(i) + cTag).c_str()) == 0;
        }
    };
    bool abAllRight[2] = {true, true};
    std::thread First(Work, 'a', &abAllRight[0]);
    Work('b', &abAllRight[1]);
    First.join();
    EXPECT_TRUE(abAllRight[0] && abAllRight[1]);
}
