#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/parse/lexanalyzer.h"

namespace
{

std::vector<int> Tokens(CLexAnalyzer & Lexer)
{
    std::vector<int> vResult;
    for (int nGuard = 0; nGuard < 1000; ++nGuard)
    {
        vResult.push_back(Lexer.GetNextToken());
        if (vResult.back() == TT_EOF)
            break;
    }
    return vResult;
}

std::vector<int> Tokens(char const * szText)
{
    CLexAnalyzer Lexer(szText);
    return Tokens(Lexer);
}

using Expected = std::vector<int>;

int const KW_BEGIN = 1000;
int const KW_END = 1001;

} // namespace

TEST(LexAnalyzer, KeywordsWithAndWithoutLowerCasing)
{
    CLexAnalyzer Lexer("begin Begin end");
    Lexer.InsertKeyword("begin", KW_BEGIN);
    Lexer.InsertKeyword("BEGIN", 1002);
    EXPECT_EQ(Tokens(Lexer), (Expected{KW_BEGIN, TT_WORD, TT_WORD, TT_EOF}));

    Lexer.Rewind();
    Lexer.ForceLowerCaseMode(true);
    Lexer.InsertKeyword("end", KW_END);
    Lexer.InsertKeyword("begin", 1010); // a known keyword takes the new number
    EXPECT_EQ(Tokens(Lexer), (Expected{1010, 1010, KW_END, TT_EOF}));

    // A keyword's string form is the character of its number's low byte.
    CLexAnalyzer Letter("go");
    Letter.InsertKeyword("go", 0x141);
    EXPECT_EQ(Letter.GetNextToken(), 0x141);
    EXPECT_STREQ(Letter.GetStringValue().GetString(), "'A'");
}

// Keywords are looked up among those of the word's first byte: prefixes, shared first
// bytes, high bytes, a table that changes between words and copies that part ways.
TEST(LexAnalyzer, KeywordTableLookups)
{
    CLexAnalyzer Lexer("e end else endif en endx \xc3\xa9t\xc3\xa9 \xff z end");
    Lexer.InsertKeyword("endif", 2003);
    Lexer.InsertKeyword("e", 2000);
    Lexer.InsertKeyword("else", 2002);
    Lexer.InsertKeyword("end", 2001);
    Lexer.InsertKeyword("\xc3\xa9t\xc3\xa9", 2004);
    Lexer.InsertKeyword("\xff", 2005);
    Lexer.InsertKeyword("", 2006);
    EXPECT_EQ(Lexer.GetNextToken(), 2000);
    EXPECT_EQ(Lexer.GetNextToken(), 2001);
    EXPECT_EQ(Lexer.GetNextToken(), 2002);
    EXPECT_EQ(Lexer.GetNextToken(), 2003);
    EXPECT_EQ(Lexer.GetNextToken(), TT_WORD);
    EXPECT_EQ(Lexer.GetNextToken(), TT_WORD);

    // A copy keeps the table as it stands; what is inserted later stays with its owner.
    CLexAnalyzer Copy(Lexer);
    Lexer.InsertKeyword("z", 2007);
    Lexer.InsertKeyword("end", 2008);
    EXPECT_EQ(Tokens(Lexer), (Expected{2004, 2005, 2007, 2008, TT_EOF}));
    EXPECT_EQ(Tokens(Copy), (Expected{2004, 2005, TT_WORD, 2001, TT_EOF}));

    Copy = Lexer;
    Copy.Rewind();
    EXPECT_EQ(Tokens(Copy),
              (Expected{2000, 2008, 2002, 2003, TT_WORD, TT_WORD, 2004, 2005, 2007, 2008, TT_EOF}));
}

TEST(LexAnalyzer, OperatorsAcrossWhiteSpaceAndComments)
{
    EXPECT_EQ(Tokens("a:=1"), (Expected{TT_WORD, TT_ASSIGN, TT_NUMBER, TT_EOF}));
    EXPECT_EQ(Tokens("a : b"), (Expected{TT_WORD, ':', TT_WORD, TT_EOF}));
    EXPECT_EQ(Tokens("<> < > <=> <<"),
              (Expected{TT_NOT_EQUAL, TT_NOT_EQUAL, TT_LESS_EQUAL, '>', '<', '<', TT_EOF}));
    EXPECT_EQ(Tokens(">= > = >a"),
              (Expected{TT_GREATER_EQUAL, TT_GREATER_EQUAL, '>', TT_WORD, TT_EOF}));
    EXPECT_EQ(Tokens("1..2 a.b"),
              (Expected{TT_NUMBER, TT_RANGE, TT_NUMBER, TT_WORD, '.', TT_WORD, TT_EOF}));
    EXPECT_EQ(Tokens("x <"), (Expected{TT_WORD, '<', TT_EOF}));
    EXPECT_EQ(Tokens("< /* c */ = : // c\n = . { } ."),
              (Expected{TT_LESS_EQUAL, TT_ASSIGN, '.', '{', '}', '.', TT_EOF}));

    // A keyword behind the first character of an operator is still found, also behind
    // a comment.
    CLexAnalyzer Lexer("a.end </**/end");
    Lexer.InsertKeyword("end", KW_END);
    EXPECT_EQ(Tokens(Lexer), (Expected{TT_WORD, '.', KW_END, '<', KW_END, TT_EOF}));
}

TEST(LexAnalyzer, StringValuesAndPushBack)
{
    CLexAnalyzer Lexer(":= .. <> <= >= 'q' \"d\" 7 + {! t !}");
    Lexer.AllowTextBlocks(true);
    char const * aszExpected[] = {":=", "..",       "<>",  "<=", ">=", "q",
                                  "d",  "7.000000", "'+'", " t", "EOF"};
    for (char const * szExpected : aszExpected)
    {
        Lexer.GetNextToken();
        EXPECT_STREQ(Lexer.GetStringValue().GetString(), szExpected);
    }

    CLexAnalyzer Back("a := b");
    Back.PushBack(); // before the first token: TT_EOF once
    EXPECT_EQ(Back.GetNextToken(), TT_EOF);
    EXPECT_EQ(Back.GetNextToken(), TT_WORD);
    EXPECT_EQ(Back.GetNextToken(), TT_ASSIGN);
    Back.PushBack();
    EXPECT_EQ(Back.GetNextToken(), TT_ASSIGN);
    EXPECT_STREQ(Back.GetStringValue().GetString(), ":=");

    // Rewind leaves the analyser's own push-back alone.
    Back.PushBack();
    Back.Rewind();
    EXPECT_EQ(Back.GetNextToken(), TT_ASSIGN);
    EXPECT_EQ(Back.GetNextToken(), TT_WORD);
    EXPECT_STREQ(Back.GetStringValue().GetString(), "a");

    CLexAnalyzer Copy(Back);
    EXPECT_EQ(Copy.GetNextToken(), TT_ASSIGN);
    EXPECT_EQ(Copy.GetNextToken(), TT_WORD);
    EXPECT_EQ(Copy.GetNextToken(), TT_EOF);
}

TEST(LexAnalyzer, LongRunsOfCommentsDoNotExhaustTheStack)
{
    std::string sText;
    for (int nComment = 0; nComment < 200000; ++nComment)
        sText += "/**/";
    sText += "begin // c\n";
    for (int nComment = 0; nComment < 200000; ++nComment)
        sText += "{}";
    sText += ":=";
    CLexAnalyzer Lexer(sText.c_str());
    Lexer.AllowPascalComments(true);
    Lexer.InsertKeyword("begin", KW_BEGIN);
    EXPECT_EQ(Tokens(Lexer), (Expected{KW_BEGIN, TT_ASSIGN, TT_EOF}));
}
