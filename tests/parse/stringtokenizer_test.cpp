#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/parse/stringtokenizer.h"

namespace
{

// Each token as "type:text", the text from GetStringValue; words show their text.
std::vector<std::string> Tokens(CStringTokenizer & Tokenizer)
{
    std::vector<std::string> vResult;
    for (int nType = 0; nType != TT_EOF && vResult.size() < 1000;)
    {
        nType = Tokenizer.GetNextToken();
        CZRString const sValue = Tokenizer.GetStringValue();
        char const * szValue = sValue.GetString() != nullptr ? sValue.GetString() : "";
        vResult.push_back(std::to_string(nType) + ":" + std::string(szValue, sValue.GetLength()));
    }
    return vResult;
}

std::vector<std::string> Tokens(char const * szText)
{
    CStringTokenizer Tokenizer(szText);
    return Tokens(Tokenizer);
}

using Expected = std::vector<std::string>;

} // namespace

TEST(StringTokenizer, NumbersWithAndWithoutFractions)
{
    EXPECT_EQ(Tokens("1..2"),
              (Expected{"-2:1.000000", "46:'.'", "46:'.'", "-2:2.000000", "-1:EOF"}));
    EXPECT_EQ(Tokens("1."), (Expected{"-2:1.000000", "46:'.'", "-1:EOF"}));
    EXPECT_EQ(Tokens("3.14.15"), (Expected{"-3:3.140000", "46:'.'", "-2:15.000000", "-1:EOF"}));
    EXPECT_EQ(Tokens("1.0 .5 -5"), (Expected{"-3:1.000000", "46:'.'", "-2:5.000000", "45:'-'",
                                             "-2:5.000000", "-1:EOF"}));
    EXPECT_EQ(Tokens("007 12abc abc12 1e5"),
              (Expected{"-2:7.000000", "-2:12.000000", "-4:abc", "-4:abc12", "-2:1.000000", "-4:e5",
                        "-1:EOF"}));

    CStringTokenizer Tokenizer("0.125 x");
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_FLOAT);
    EXPECT_DOUBLE_EQ(Tokenizer.GetNumValue(), 0.125);
    Tokenizer.PushBack();
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_FLOAT);
    EXPECT_DOUBLE_EQ(Tokenizer.GetNumValue(), 0.125);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_EQ(Tokenizer.GetNumValue(), 0.0);

    // The digits accumulate in double and the fraction is one division by a power of
    // ten; a correctly rounded conversion such as strtod gives 3.141592653589793.
    CStringTokenizer Long("3.14159265358979323846");
    EXPECT_EQ(Long.GetNextToken(), TT_FLOAT);
    EXPECT_EQ(Long.GetNumValue(), 3.1415926535897927);
}

// Shows the held copy of the text to the tests.
class CHeldText : public CStringTokenizer
{
public:
    CHeldText(char const * szText) : CStringTokenizer(szText) {}
    using CStringTokenizer::GetOriginalString;
};

TEST(StringTokenizer, EmptyTextAndEndOfInputIsFinal)
{
    CHeldText Tokenizer("");
    EXPECT_EQ(Tokenizer.GetOriginalString().GetLength(), 1);
    EXPECT_EQ(Tokenizer.GetOriginalString().GetAt(0), static_cast<char>(-1));
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOF);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOF);

    CStringTokenizer Unterminated("\"abc");
    EXPECT_EQ(Unterminated.GetNextToken(), '"');
    EXPECT_STREQ(Unterminated.GetStringValue().GetString(), "abc");
    EXPECT_EQ(Unterminated.GetNextToken(), TT_EOF);
    EXPECT_EQ(Unterminated.GetNextToken(), TT_EOF);
    Unterminated.Rewind();
    EXPECT_EQ(Unterminated.GetNextToken(), '"');

    EXPECT_EQ(Tokens("x /* open"), (Expected{"-4:x", "-1:EOF"}));
    EXPECT_EQ(Tokens("\"a\\"), (Expected{"34:a", "-1:EOF"}));
    EXPECT_EQ(Tokens("'a\\1"), (Expected{"39:'''", "-1:EOF"}));
}

TEST(StringTokenizer, HighBytesAreTextNotTheEnd)
{
    // "café" in UTF-8, a 0xFF inside the text, and 128..159, which are ordinary.
    EXPECT_EQ(Tokens("caf\xc3\xa9 \xff"
                     "x \x80"),
              (Expected{"-4:caf\xc3\xa9", "-4:\xffx", "128:'\x80'", "-1:EOF"}));
}

TEST(StringTokenizer, CommentStylesAndLineEnds)
{
    CStringTokenizer Tokenizer("a // one\nb /* two\n */ c\n");
    Tokenizer.EOLIsSignificant(true);
    EXPECT_EQ(Tokens(Tokenizer), (Expected{"-4:a", "10:EOL", "-4:b", "-4:c", "10:EOL", "-1:EOF"}));

    EXPECT_EQ(Tokens("/*/ x */y /**/z"), (Expected{"-4:y", "-4:z", "-1:EOF"}));
    EXPECT_EQ(Tokens("a/b"), (Expected{"-4:a", "47:'/'", "-4:b", "-1:EOF"}));

    CStringTokenizer NoSlash("//");
    NoSlash.AllowSlashSlashComments(false);
    NoSlash.AllowSlashStarComments(false);
    EXPECT_EQ(Tokens(NoSlash), (Expected{"47:'/'", "47:'/'", "-1:EOF"}));

    CStringTokenizer Pascal("a {skip\n} b ; c\nd # e\nf");
    Pascal.AllowPascalComments(true);
    Pascal.AllowAssemblerComments(true);
    Pascal.CommentChar('#');
    Pascal.EOLIsSignificant(true);
    EXPECT_EQ(Tokens(Pascal),
              (Expected{"-4:a", "-4:b", "10:EOL", "-4:d", "10:EOL", "-4:f", "-1:EOF"}));

    // A comment character wins over every other class it might have.
    CStringTokenizer Hash("a#b\nc");
    Hash.WordChars('#', '#');
    Hash.CommentChar('#');
    EXPECT_EQ(Tokens(Hash), (Expected{"-4:a", "-4:c", "-1:EOF"}));
}

TEST(StringTokenizer, CarriageReturnsAsLineEnds)
{
    CStringTokenizer Tokenizer("a\r\nb\rc\n");
    Tokenizer.EOLIsSignificant(true);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOL);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_EQ(Tokenizer.GetLineNumber(), 2);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOL);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_EQ(Tokenizer.GetLineNumber(), 3); // the lone carriage return counted no line
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOL);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOF);

    EXPECT_EQ(Tokens("a\r\nb\rc\n"), (Expected{"-4:a", "-4:b", "-4:c", "-1:EOF"}));
}

TEST(StringTokenizer, QuotedStringsAndEscapes)
{
    EXPECT_EQ(Tokens(R"("a\tb\101\q\"\\" 'x')"), (Expected{"34:a\tb"
                                                           "Aq\"\\",
                                                           "39:'''", "-1:EOF"}));
    EXPECT_EQ(Tokens("\"\\1'x"), (Expected{std::string("34:\x01"), "-4:x", "-1:EOF"}));
    EXPECT_EQ(Tokens("\"\\777\\18\\0\""), (Expected{std::string("34:\xff\x01"
                                                                "8") +
                                                        std::string(1, '\0'),
                                                    "-1:EOF"}));
    EXPECT_EQ(Tokens("\"\\a\\b\\f\\n\\r\\v\""), (Expected{"34:\a\b\f\n\r\v", "-1:EOF"}));

    // A line end closes the string and gives no TT_EOL.
    CStringTokenizer Line("\"open\nx");
    Line.EOLIsSignificant(true);
    EXPECT_EQ(Tokens(Line), (Expected{"34:open", "-4:x", "-1:EOF"}));

    CStringTokenizer Plain("\"a\"");
    Plain.AllowStringHandling(false);
    EXPECT_EQ(Tokens(Plain), (Expected{"34:", "-4:a", "34:", "-1:EOF"}));

    CStringTokenizer Lower("Abc \"Abc\"");
    Lower.ForceLowerCaseMode(true);
    EXPECT_EQ(Tokens(Lower), (Expected{"-4:abc", "34:Abc", "-1:EOF"}));

    CStringTokenizer Backtick("`a b` 'c'");
    Backtick.QuoteChar('`');
    EXPECT_EQ(Tokens(Backtick), (Expected{"96:'`'", "39:'''", "-1:EOF"}));
}

TEST(StringTokenizer, TextBlocks)
{
    CStringTokenizer Tokenizer("{! a !b\n!} {!!} {x {!!!} !}");
    Tokenizer.AllowTextBlocks(true);
    EXPECT_EQ(Tokens(Tokenizer),
              (Expected{"-5: a !b", "-5:", "123:'{'", "-4:x", "-5:!!}", "-1:EOF"}));

    CStringTokenizer Open("{! never closed !");
    Open.AllowTextBlocks(true);
    EXPECT_EQ(Tokens(Open), (Expected{"-1:EOF"}));

    CStringTokenizer Pascal("{! a !} b");
    Pascal.AllowTextBlocks(true);
    Pascal.AllowPascalComments(true);
    EXPECT_EQ(Tokens(Pascal), (Expected{"-4:b", "-1:EOF"}));

    EXPECT_EQ(Tokens("{!"), (Expected{"123:'{'", "33:'!'", "-1:EOF"}));
}

TEST(StringTokenizer, LinesAndColumnsWithTabs)
{
    CStringTokenizer Tokenizer("\tx\n\t\ty");
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    // The tab led to column 4, x to 5, the line feed read behind the word to line 2.
    EXPECT_EQ(Tokenizer.GetLineNumber(), 2);
    EXPECT_EQ(Tokenizer.GetColumnNumber(), 1);
    EXPECT_TRUE(Tokenizer.IsStartOfLine());
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    // Tabs from 1 to 4 and from 4 to 8, y to 9, and the end marker to 10.
    EXPECT_EQ(Tokenizer.GetColumnNumber(), 10);
    EXPECT_FALSE(Tokenizer.IsStartOfLine());

    CStringTokenizer Wide("a\tb\t");
    Wide.SetTabSize(8);
    EXPECT_EQ(Wide.GetNextToken(), TT_WORD);
    EXPECT_EQ(Wide.GetColumnNumber(), 8);
    EXPECT_EQ(Wide.GetNextToken(), TT_WORD);
    EXPECT_EQ(Wide.GetColumnNumber(), 16);
}

// Shows the text of the current token as the tokenizer holds it.
class CHeldValue : public CStringTokenizer
{
public:
    CHeldValue(char const * szText) : CStringTokenizer(szText) {}
    std::string Value() const
    {
        char const * szValue = m_sStringValue.GetString();
        return szValue != nullptr ? std::string(szValue, m_sStringValue.GetLength()) : "";
    }
};

// Line, column and start of line of a reading point, counted byte by byte from the start
// of the text: a tab to the next multiple of the tab size, a line feed to column 1 of
// the next line, the end marker like any other byte.
struct sPlace
{
    int m_nLine = 1;
    int m_nColumn = 1;
    bool m_bStartOfLine = true;
};

sPlace PlaceAt(std::string const & sText, int nPos, int nTabSize)
{
    sPlace Place;
    for (int nIndex = 0; nIndex < nPos; ++nIndex)
    {
        char const cChar = nIndex < static_cast<int>(sText.size()) ? sText[nIndex] : '\xff';
        Place.m_bStartOfLine = cChar == '\n';
        if (cChar == '\t')
            Place.m_nColumn += nTabSize - Place.m_nColumn % nTabSize;
        else if (cChar == '\n')
        {
            Place.m_nColumn = 1;
            ++Place.m_nLine;
        }
        else
            ++Place.m_nColumn;
    }
    return Place;
}

TEST(StringTokenizer, CountersFollowEveryByteReadInRuns)
{
    // Runs of every kind of token that hold tabs and line feeds: words (with both made
    // word characters), strings (a tab, an escaped line feed, an octal escape ended by
    // a line feed), comments, text blocks, white space.
    char const * const aszTexts[] = {
        "ab\tc\nd e\t\tf\n",
        "\"a\tb\\\nc\" x \"\\1\nq\" 12.5\t\"tab\tend",
        "x /* one\n\ttwo\n */ y // to the end\t\nz\t/**/w",
        "{! a\n\t!b !} {!\n!!} c {! open\t",
        "\t \t\n\n  \t123 \t\n",
    };
    for (char const * szText : aszTexts)
    {
        for (int nTabSize : {1, 4, 5})
        {
            CStringTokenizer Tokenizer(szText);
            Tokenizer.AllowTextBlocks(true);
            Tokenizer.SetTabSize(nTabSize);
            Tokenizer.WordChars('\t', '\t');
            Tokenizer.WordChars('\n', '\n');
            for (int nGuard = 0; nGuard < 100; ++nGuard)
            {
                int const nToken = Tokenizer.GetNextToken();
                sPlace const Place = PlaceAt(szText, Tokenizer.GetPosInString(), nTabSize);
                EXPECT_EQ(Tokenizer.GetLineNumber(), Place.m_nLine) << szText;
                EXPECT_EQ(Tokenizer.GetColumnNumber(), Place.m_nColumn) << szText;
                EXPECT_EQ(Tokenizer.IsStartOfLine(), Place.m_bStartOfLine) << szText;
                if (nToken == TT_EOF)
                    break;
            }
        }
    }
}

TEST(StringTokenizer, CountersKeepTheOrderOfReading)
{
    // Asked for only now and then, the counters still count each byte with the tab size
    // of its reading, a byte read twice twice, and nothing for a jump of the reading point.
    CStringTokenizer Twice("1.\tx"); // the tab behind the lone point is read again
    EXPECT_EQ(Twice.GetNextToken(), TT_NUMBER);
    EXPECT_EQ(Twice.GetNextToken(), '.');
    EXPECT_EQ(Twice.GetNextToken(), TT_WORD);
    EXPECT_EQ(Twice.GetColumnNumber(), 10); // 1 . tab to 4, tab again to 8, x, marker
    EXPECT_EQ(Twice.GetPosInString(), 5);

    CStringTokenizer Resized("\ta\tb");
    EXPECT_EQ(Resized.GetNextToken(), TT_WORD); // a, with the tab behind it
    Resized.SetTabSize(8);
    EXPECT_EQ(Resized.GetNextToken(), TT_WORD);
    EXPECT_EQ(Resized.GetColumnNumber(), 10); // tab to 4, a, tab to 8, b, marker

    CHeldValue Jumped("ab\ncd");
    EXPECT_EQ(Jumped.GetNextToken(), TT_WORD); // ab, with the line feed behind it
    EXPECT_EQ(Jumped.GetPosInString(), 3);
    Jumped.SetPosInString(0); // the line feed stays the character to begin with
    EXPECT_EQ(Jumped.GetNextToken(), TT_WORD);
    EXPECT_EQ(Jumped.Value(), "ab");
    EXPECT_EQ(Jumped.GetLineNumber(), 3);
    EXPECT_EQ(Jumped.GetColumnNumber(), 1);
    EXPECT_TRUE(Jumped.IsStartOfLine());
    EXPECT_EQ(Jumped.GetNextToken(), TT_WORD);
    EXPECT_EQ(Jumped.Value(), "cd");
}

TEST(StringTokenizer, ABackslashThatQuotesClosesItsString)
{
    // The closing quote is looked for before an escape.
    CHeldValue Tokenizer("\\ab\\ \"c\\\"d\"");
    Tokenizer.QuoteChar('\\');
    EXPECT_EQ(Tokenizer.GetNextToken(), '\\');
    EXPECT_EQ(Tokenizer.Value(), "ab");
    EXPECT_EQ(Tokenizer.GetNextToken(), '"'); // where the backslash escapes again
    EXPECT_EQ(Tokenizer.Value(), "c\"d");
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOF);
}

TEST(StringTokenizer, TextOfATokenLongerThanTheLastAndAfterIt)
{
    // A string far longer than any before it, with escapes spread over it, keeps every
    // byte; the tokens behind it hold their own text only.
    std::string sLong;
    std::string sExpected;
    for (int nIndex = 0; nIndex < 300; ++nIndex)
    {
        sLong += "abc\\t";
        sExpected += "abc\t";
    }
    CHeldValue Tokenizer(("\"" + sLong + "\" ab + \"x\" 7 cd \"\"").c_str());
    EXPECT_EQ(Tokenizer.GetNextToken(), '"');
    EXPECT_EQ(Tokenizer.Value(), sExpected);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_EQ(Tokenizer.Value(), "ab");
    EXPECT_EQ(Tokenizer.GetNextToken(), '+');
    EXPECT_EQ(Tokenizer.Value(), "");
    EXPECT_EQ(Tokenizer.GetNextToken(), '"');
    EXPECT_EQ(Tokenizer.Value(), "x");
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_NUMBER);
    EXPECT_EQ(Tokenizer.Value(), "");
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_EQ(Tokenizer.GetNextToken(), '"');
    EXPECT_EQ(Tokenizer.Value(), "");
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOF);
    EXPECT_EQ(Tokenizer.Value(), "");
}

TEST(StringTokenizer, PushBackRewindAndCopy)
{
    CStringTokenizer Tokenizer("alpha + 2");
    // Before the first token a push-back delivers TT_EOF once and then the text starts.
    Tokenizer.PushBack();
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_EOF);
    EXPECT_STREQ(Tokenizer.GetStringValue().GetString(), "EOF");
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    Tokenizer.PushBack();
    Tokenizer.PushBack(); // one token back, not two
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_STREQ(Tokenizer.GetStringValue().GetString(), "alpha");
    EXPECT_EQ(Tokenizer.GetNextToken(), '+');
    EXPECT_STREQ(Tokenizer.GetStringValue().GetString(), "'+'");

    CStringTokenizer Copy(Tokenizer);
    EXPECT_EQ(Copy.GetNextToken(), TT_NUMBER);
    EXPECT_EQ(Copy.GetNumValue(), 2.0);
    EXPECT_EQ(Copy.GetNextToken(), TT_EOF);

    Tokenizer.PushBack();
    Tokenizer.Rewind(); // drops the push-back
    EXPECT_EQ(Tokenizer.GetLineNumber(), 1);
    EXPECT_EQ(Tokenizer.GetColumnNumber(), 1);
    EXPECT_EQ(Tokenizer.GetPosInString(), 0);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_WORD);
    EXPECT_STREQ(Tokenizer.GetStringValue().GetString(), "alpha");

    Tokenizer.SetPosInString(8);
    EXPECT_EQ(Tokenizer.GetNextToken(), TT_NUMBER);
}

TEST(StringTokenizer, ClassTableOperations)
{
    CStringTokenizer Tokenizer("a-b c.d");
    Tokenizer.WordChars('-', '.');
    Tokenizer.OrdinaryChar('c');
    EXPECT_EQ(Tokens(Tokenizer), (Expected{"-4:a-b", "99:'c'", "-4:.d", "-1:EOF"}));

    // Ranges are clipped; an empty range changes nothing.
    CStringTokenizer Clipped("x y");
    Clipped.OrdinaryChars(-10, 1000);
    Clipped.WordChars(300, 400);
    Clipped.WhiteSpaceChars(5, 4);
    EXPECT_EQ(Tokens(Clipped), (Expected{"120:'x'", "32:' '", "121:'y'", "-1:EOF"}));

    // With the blank ordinary, only real blanks become tokens: a scan that starts
    // without a character read ahead reads one first.
    CStringTokenizer NoBlank("x");
    NoBlank.OrdinaryChar(' ');
    EXPECT_EQ(Tokens(NoBlank), (Expected{"-4:x", "-1:EOF"}));

    // A blank that is also a word character never starts a word but continues one.
    CStringTokenizer Both(" a b");
    Both.WordChars(' ', ' ');
    EXPECT_EQ(Tokens(Both), (Expected{"-4:a b", "-1:EOF"}));
}

TEST(StringTokenizerDeathTest, CallerFaults)
{
    CStringTokenizer Tokenizer("abc");
    EXPECT_DEATH(Tokenizer.QuoteChar(256), "expression: nChar < 256");
    EXPECT_DEATH(Tokenizer.CommentChar(-1), "expression: nChar >= 0");
    EXPECT_DEATH(Tokenizer.SetTabSize(0), "expression: nTabSize > 0");
    Tokenizer.SetPosInString(5);
    EXPECT_DEATH(Tokenizer.GetNextToken(), "expression: nIndex < m_sData.m_nStringLength");
}
