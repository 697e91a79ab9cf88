#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>

#include "common/kernel/text.h"

static int Limited(char * szBuffer, int nLimit, char const * szFormat, ...)
{
    va_list pArgs;
    va_start(pArgs, szFormat);
    int const nResult = STR_vsnprintf(szBuffer, nLimit, szFormat, pArgs);
    va_end(pArgs);
    return nResult;
}

TEST(Text, VsnprintfBelowAtAndAboveTheLimit)
{
    char szBuffer[8];
    std::memset(szBuffer, '#', sizeof(szBuffer));
    EXPECT_EQ(Limited(szBuffer, 5, "%s", "abcd"), 4);
    EXPECT_STREQ(szBuffer, "abcd");

    std::memset(szBuffer, '#', sizeof(szBuffer));
    EXPECT_EQ(Limited(szBuffer, 5, "%s%d", "abcd", 5), 5); // exactly the limit
    EXPECT_EQ(std::string(szBuffer, 6), "abcd5#");         // full, no terminator

    std::memset(szBuffer, '#', sizeof(szBuffer));
    EXPECT_LT(Limited(szBuffer, 5, "%d", 1234567), 0);
    EXPECT_EQ(std::string(szBuffer, 6), "12345#");

    // Limits beyond the stack block take the other path.
    std::string const sLong(3000, 'z');
    std::string sBuffer(2001, '#');
    EXPECT_LT(Limited(&sBuffer[0], 2000, "%sQ", sLong.c_str()), 0);
    EXPECT_EQ(sBuffer, std::string(2000, 'z') + "#");
    EXPECT_EQ(Limited(&sBuffer[0], 2000, "%.1999sQ", sLong.c_str()), 2000);
    EXPECT_EQ(sBuffer, std::string(1999, 'z') + "Q#");
}

TEST(Text, StrtolAndStrtoulBehaveAsThirtyTwoBit)
{
    char * pEnd = nullptr;
    errno = 0;
    EXPECT_EQ(STR_strtol("2147483647", nullptr, 10), INT32_MAX);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(STR_strtol(" 2147483648x", &pEnd, 10), INT32_MAX);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_STREQ(pEnd, "x");
    EXPECT_EQ(STR_strtol("-2147483649", nullptr, 10), INT32_MIN);
    EXPECT_EQ(STR_strtol("-99999999999999999999999", nullptr, 10), INT32_MIN);
    EXPECT_EQ(STR_strtol("ff", nullptr, 16), 255);

    errno = EDOM; // a successful parse leaves the caller's errno alone
    EXPECT_EQ(STR_strtoul("4294967295", nullptr, 10), 4294967295u);
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(STR_strtoul("4294967296", nullptr, 10), 4294967295u);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(STR_strtoul("-1", nullptr, 10), 4294967295u);
    EXPECT_EQ(STR_strtoul("-4294967295", nullptr, 10), 1u);
    EXPECT_EQ(STR_strtoul("-4294967296", nullptr, 10), 4294967295u);
    EXPECT_EQ(STR_strtoul("  -2", &pEnd, 10), 4294967294u);
    EXPECT_STREQ(pEnd, "");
    EXPECT_DOUBLE_EQ(STR_strtod("2.5e1z", &pEnd), 25.0);
    EXPECT_STREQ(pEnd, "z");
}

TEST(Text, SearchFromTheEnd)
{
    EXPECT_EQ(STR_strrpbrk("", "/"), nullptr);
    char const * szText = "x/y/";
    EXPECT_EQ(STR_strrpbrk(szText, "/"), szText + 3);
    EXPECT_EQ(STR_strrpbrk("x/", "/") - 1, STR_strchr("x/", 'x'));
    EXPECT_EQ(STR_strrpbrk("xy", "/\\"), nullptr);
    EXPECT_EQ(STR_strrpbrk("a\\b/c", "\\/") - 3, STR_strpbrk("a\\b/c", "a"));
    EXPECT_EQ(STR_strdec(szText, szText), nullptr);
    EXPECT_EQ(STR_strdec(szText, szText + 2), szText + 1);
    EXPECT_EQ(STR_strinc(szText), szText + 1);
}

TEST(Text, CopyCompareAndCase)
{
    char szBuffer[8];
    std::memset(szBuffer, '#', sizeof(szBuffer));
    STR_strncpy(szBuffer, "ab", 4);
    EXPECT_STREQ(szBuffer, "ab");
    std::memset(szBuffer, '#', sizeof(szBuffer));
    STR_strncpy(szBuffer, "abcd", 4);
    EXPECT_EQ(std::string(szBuffer, 5), "abcd#");
    STR_strcpy(szBuffer, "ab");
    EXPECT_EQ(STR_strncat(szBuffer, "cdef", 2), szBuffer);
    EXPECT_STREQ(szBuffer, "abcd");
    EXPECT_STREQ(STR_strrev(szBuffer), "dcba");

    EXPECT_EQ(STR_stricmp("ABC", "abc"), 0);
    EXPECT_LT(STR_stricmp("abc", "ABD"), 0);
    EXPECT_EQ(STR_stricoll("Hello", "hELLO"), 0);
    EXPECT_LT(STR_strcmp("a", "\xe4"), 0); // bytes compare unsigned
    EXPECT_EQ(STR_strlen("\xe4\xb8\xad"), 3);
}

// Every text of up to eight bytes from {a, b, NUL} against every word of up to four
// bytes from {a, b}: the result is strstr's, also where the search runs past the point
// at which it hands over to strstr, and where a NUL ends the text before a match.
TEST(Text, SubstringSearchFindsWhatStrstrFinds)
{
    char const acBytes[] = {'a', 'b', '\0'};
    for (int nTextLength = 0; nTextLength <= 8; ++nTextLength)
    {
        int nTexts = 1;
        for (int i = 0; i < nTextLength; ++i)
            nTexts *= 3;
        for (int nText = 0; nText < nTexts; ++nText)
        {
            char szText[9] = {};
            for (int i = 0, nCode = nText; i < nTextLength; ++i, nCode /= 3)
                szText[i] = acBytes[nCode % 3];
            for (int nWordLength = 0; nWordLength <= 4; ++nWordLength)
                for (int nWord = 0; nWord < (1 << nWordLength); ++nWord)
                {
                    char szWord[5] = {};
                    for (int i = 0; i < nWordLength; ++i)
                        szWord[i] = acBytes[(nWord >> i) & 1];
                    ASSERT_EQ(STR_strstr(szText, szWord), std::strstr(szText, szWord))
                        << std::string(szText, 8) << " / " << szWord;
                }
        }
    }
    // A high byte as the word's first byte: it must be compared as it stands.
    std::string const sLong = std::string(300, 'a') + '\xe4' + 'b';
    std::string const sHighFirst = std::string(1, '\xe4') + "bc";
    EXPECT_EQ(STR_strstr(sLong.c_str(), "aaaa\xe4"), sLong.c_str() + 296);
    EXPECT_EQ(STR_strstr(sLong.c_str(), sHighFirst.c_str()), nullptr);
    EXPECT_EQ(STR_strstr(sLong.c_str(), sHighFirst.substr(0, 2).c_str()), sLong.c_str() + 300);
    EXPECT_EQ(STR_strstr(sLong.c_str(), "ab"), nullptr);
}
