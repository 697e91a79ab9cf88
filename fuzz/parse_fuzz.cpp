// Runs CStringTokenizer and CLexAnalyzer over arbitrary bytes. The first bytes choose
// the switches, the tab size and a few class table changes; the rest is the text.
// Besides crashes and reads out of bounds it traps on a scan that does not end, on a
// token after the end of input, on a push-back that does not repeat the token, and on
// a second pass after Rewind, or in a copy, that differs from the first.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "common/parse/lexanalyzer.h"
#include "common/parse/stringtokenizer.h"

namespace
{

struct sConfig
{
    std::uint8_t ucSwitches;
    std::uint8_t ucTabSize;
    std::uint8_t aucTable[6]; // three pairs: operation and character
};

void Check(bool bCondition)
{
    if (!bCondition)
        __builtin_trap();
}

CZRString MakeText(std::uint8_t const * pData, std::size_t nSize)
{
    CZRString sText;
    if (nSize > 0)
    {
        char * pBuffer = sText.GetBuffer(static_cast<int>(nSize));
        std::memcpy(pBuffer, pData, nSize);
        sText.ReleaseBuffer(static_cast<int>(nSize));
    }
    return sText;
}

void Configure(CStringTokenizer & Tokenizer, sConfig const & Config)
{
    std::uint8_t const ucSwitches = Config.ucSwitches;
    Tokenizer.EOLIsSignificant(ucSwitches & 1);
    Tokenizer.AllowSlashStarComments(ucSwitches & 2);
    Tokenizer.AllowSlashSlashComments(ucSwitches & 4);
    Tokenizer.AllowPascalComments(ucSwitches & 8);
    Tokenizer.AllowAssemblerComments(ucSwitches & 16);
    Tokenizer.AllowTextBlocks(ucSwitches & 32);
    Tokenizer.AllowStringHandling(ucSwitches & 64);
    Tokenizer.ForceLowerCaseMode(ucSwitches & 128);
    Tokenizer.SetTabSize(Config.ucTabSize == 255 ? 0x7fffffff : Config.ucTabSize + 1);
    for (int nPair = 0; nPair < 3; ++nPair)
    {
        int const nChar = Config.aucTable[2 * nPair + 1];
        switch (Config.aucTable[2 * nPair] % 8)
        {
            case 0:
                Tokenizer.WordChars(nChar - 8, nChar);
                break;
            case 1:
                Tokenizer.WhiteSpaceChars(nChar, nChar + 4);
                break;
            case 2:
                Tokenizer.OrdinaryChars(nChar, nChar + 8);
                break;
            case 3:
                Tokenizer.OrdinaryChar(nChar);
                break;
            case 4:
                Tokenizer.CommentChar(nChar);
                break;
            case 5:
                Tokenizer.QuoteChar(nChar);
                break;
            default:
                break; // leave the table as it is
        }
    }
}

struct sToken
{
    int nType;
    double dValue;
    CZRString sText;
};

bool SameToken(sToken const & First, sToken const & Second)
{
    // Bitwise: a number with some 310 digits and a fraction scans to inf / inf, NaN.
    return First.nType == Second.nType &&
           std::memcmp(&First.dValue, &Second.dValue, sizeof(double)) == 0 &&
           First.sText.GetLength() == Second.sText.GetLength() &&
           (First.sText.GetLength() == 0 ||
            std::memcmp(First.sText.GetString(), Second.sText.GetString(),
                        static_cast<std::size_t>(First.sText.GetLength())) == 0);
}

sToken Current(CStringTokenizer const & Tokenizer, int nType)
{
    return sToken{nType, Tokenizer.GetNumValue(), Tokenizer.GetStringValue()};
}

// Tokenizes to the end, pushing back every seventh token, and checks the bounds.
std::vector<sToken> Run(CStringTokenizer & Tokenizer, std::size_t nSize)
{
    std::vector<sToken> vTokens;
    std::size_t const nLimit = 2 * nSize + 64;
    int const nEnd = static_cast<int>(nSize) + 1;
    for (;;)
    {
        Check(vTokens.size() < nLimit);
        int const nType = Tokenizer.GetNextToken();
        vTokens.push_back(Current(Tokenizer, nType));
        Check(Tokenizer.GetPosInString() >= 0 && Tokenizer.GetPosInString() <= nEnd);
        if (nType == TT_EOF)
            break;
        if (vTokens.size() % 7 == 0)
        {
            Tokenizer.PushBack();
            int const nAgain = Tokenizer.GetNextToken();
            Check(SameToken(vTokens.back(), Current(Tokenizer, nAgain)));
        }
    }
    for (int nTry = 0; nTry < 3; ++nTry)
        Check(Tokenizer.GetNextToken() == TT_EOF);
    return vTokens;
}

bool SameRun(std::vector<sToken> const & vFirst, std::vector<sToken> const & vSecond)
{
    if (vFirst.size() != vSecond.size())
        return false;
    for (std::size_t nIndex = 0; nIndex < vFirst.size(); ++nIndex)
    {
        if (!SameToken(vFirst[nIndex], vSecond[nIndex]))
            return false;
    }
    return true;
}

// A second pass after Rewind, and a copy taken after the first token, give the same run.
void Exercise(CStringTokenizer & Tokenizer, std::size_t nSize)
{
    std::vector<sToken> const vFirst = Run(Tokenizer, nSize);
    Tokenizer.Rewind();
    std::vector<sToken> const vSecond = Run(Tokenizer, nSize);
    Check(SameRun(vFirst, vSecond));
}

template <typename TTokenizer>
void ExerciseCopy(TTokenizer & Tokenizer, std::size_t nSize)
{
    Tokenizer.Rewind();
    int const nType = Tokenizer.GetNextToken();
    if (nType == TT_EOF)
        return;
    TTokenizer Copy(Tokenizer);
    std::vector<sToken> const vOriginal = Run(Tokenizer, nSize);
    std::vector<sToken> const vCopy = Run(Copy, nSize);
    Check(SameRun(vOriginal, vCopy));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    sConfig Config = {};
    if (nSize < sizeof(Config) || nSize > (1u << 20))
        return 0;
    std::memcpy(&Config, pData, sizeof(Config));
    pData += sizeof(Config);
    nSize -= sizeof(Config);
    CZRString const sText = MakeText(pData, nSize);

    CStringTokenizer Tokenizer(sText);
    Configure(Tokenizer, Config);
    Exercise(Tokenizer, nSize);
    ExerciseCopy(Tokenizer, nSize);

    CLexAnalyzer Lexer(sText);
    Configure(Lexer, Config);
    Lexer.InsertKeyword("begin", 1000);
    Lexer.InsertKeyword("end", 1001);
    Lexer.InsertKeyword("If", 1002);
    Lexer.InsertKeyword("", 1003);
    Exercise(Lexer, nSize);
    ExerciseCopy(Lexer, nSize);
    return 0;
}
