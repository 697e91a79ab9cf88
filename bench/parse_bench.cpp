// Tokenizing speed: CStringTokenizer and CLexAnalyzer over 4 MB of program-like text
// (words, numbers, strings, comments, operators), against a hand-written tokenizer made
// for this text alone, and against a loop that only splits the same text at white space.
// Compare the bytes per second of the four.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "common/parse/lexanalyzer.h"
#include "common/parse/stringtokenizer.h"

namespace
{

std::size_t const s_nTextSize = 4 * 1024 * 1024;

char const * const s_aszWords[] = {"begin",   "end",   "if",          "then",   "else", "while",
                                   "count",   "index", "player",      "health", "x",    "y_pos",
                                   "vector3", "speed", "caf\xc3\xa9", "do"};
char const * const s_aszOperators[] = {":=", "+", "-", "*", "/", "<=", ">=", "<>",
                                       "<",  ">", "=", ",", ";", "(",  ")",  ".."};

// A fixed pseudo-random sequence, so that every run sees the same text.
std::uint32_t Next(std::uint32_t & uState)
{
    uState = uState * 1664525u + 1013904223u;
    return uState >> 8;
}

std::string MakeProgramText()
{
    std::string sText;
    sText.reserve(s_nTextSize + 256);
    std::uint32_t uState = 12345;
    while (sText.size() < s_nTextSize)
    {
        std::uint32_t const uLine = Next(uState) % 16;
        if (uLine == 0)
            sText += "// a line comment about the next statement\n";
        else if (uLine == 1)
            sText += "/* a block comment\n   over two lines */\n";
        sText += "\t";
        int const nTokens = 4 + static_cast<int>(Next(uState) % 8);
        for (int nToken = 0; nToken < nTokens; ++nToken)
        {
            std::uint32_t const uKind = Next(uState) % 10;
            if (uKind < 4)
                sText += s_aszWords[Next(uState) % 16];
            else if (uKind < 7)
                sText += s_aszOperators[Next(uState) % 16];
            else if (uKind == 7)
                sText += std::to_string(Next(uState) % 100000);
            else if (uKind == 8)
                sText +=
                    std::to_string(Next(uState) % 1000) + "." + std::to_string(Next(uState) % 1000);
            else
                sText += "\"a string with\\t an escape\"";
            sText += ' ';
        }
        sText += ";\n";
    }
    return sText;
}

std::string const & ProgramText()
{
    static std::string const s_sText = MakeProgramText();
    return s_sText;
}

CZRString ProgramString()
{
    std::string const & sText = ProgramText();
    return CZRString(sText.c_str());
}

// Bytes of the text a second, and tokens a pass.
void ReportRate(benchmark::State & State, std::int64_t nTokens)
{
    benchmark::DoNotOptimize(nTokens);
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) *
                            static_cast<std::int64_t>(ProgramText().size()));
    State.counters["tokens"] = static_cast<double>(nTokens) / State.iterations();
}

void BM_StringTokenizer(benchmark::State & State)
{
    CStringTokenizer Tokenizer(ProgramString());
    std::int64_t nTokens = 0;
    for (auto _ : State)
    {
        Tokenizer.Rewind();
        while (Tokenizer.GetNextToken() != TT_EOF)
            ++nTokens;
    }
    ReportRate(State, nTokens);
}

void BM_LexAnalyzer(benchmark::State & State)
{
    CLexAnalyzer Lexer(ProgramString());
    char const * const aszKeywords[] = {"begin", "end", "if", "then", "else", "while", "do"};
    int nNumber = 1000;
    for (char const * szKeyword : aszKeywords)
        Lexer.InsertKeyword(szKeyword, nNumber++);
    std::int64_t nTokens = 0;
    for (auto _ : State)
    {
        Lexer.Rewind();
        while (Lexer.GetNextToken() != TT_EOF)
            ++nTokens;
    }
    ReportRate(State, nTokens);
}

// The floor: one pass that only finds the pieces between white space.
void BM_WhiteSpaceSplit(benchmark::State & State)
{
    std::string const & sText = ProgramText();
    std::int64_t nTokens = 0;
    for (auto _ : State)
    {
        char const * p = sText.data();
        char const * const pEnd = p + sText.size();
        while (p < pEnd)
        {
            while (p < pEnd && static_cast<unsigned char>(*p) <= 32)
                ++p;
            if (p == pEnd)
                break;
            char const * const pStart = p;
            while (p<pEnd && static_cast<unsigned char>(*p)> 32)
                ++p;
            benchmark::DoNotOptimize(pStart);
            ++nTokens;
        }
    }
    ReportRate(State, nTokens);
}

// The peer: a hand-written tokenizer for exactly this text and the default tables, with
// none of the library's generality: no class table to consult, no switches, no line and
// column counting, no push-back, escapes of one character only. It does the same work
// per token (the text of words and strings, the value of numbers, comments skipped), so
// that the library's cost can be read as a ratio to it.
class CMinimalTokenizer
{
public:
    explicit CMinimalTokenizer(std::string const & sText)
        : m_pText(reinterpret_cast<unsigned char const *>(sText.data())),
          m_nEnd(static_cast<int>(sText.size()))
    {
    }

    void Rewind()
    {
        m_nPos = 0;
        m_nPeek = -2;
    }

    int Next()
    {
        for (;;)
        {
            int nChar = m_nPeek == -2 ? Read() : m_nPeek;
            m_nPeek = -2;
            while (nChar >= 0 && nChar <= 32)
                nChar = Read();
            if (nChar < 0)
                return TT_EOF;
            if (nChar >= '0' && nChar <= '9')
                return Number(nChar);
            if (IsWordChar(nChar))
                return Word();
            if (nChar == '"' || nChar == '\'')
                return Quoted(nChar);
            if (nChar != '/')
            {
                m_sValue.clear();
                return nChar;
            }
            int const nNext = Read();
            if (nNext == '/')
            {
                while (m_nPos < m_nEnd && m_pText[m_nPos] != '\n')
                    ++m_nPos;
            }
            else if (nNext == '*')
            {
                while (m_nPos < m_nEnd && !(m_pText[m_nPos] == '/' && m_pText[m_nPos - 1] == '*'))
                    ++m_nPos;
                ++m_nPos;
            }
            else
            {
                m_nPeek = nNext;
                m_sValue.clear();
                return '/';
            }
        }
    }

private:
    static bool IsWordChar(int nChar)
    {
        return (nChar >= 'a' && nChar <= 'z') || (nChar >= 'A' && nChar <= 'Z') || nChar == '_' ||
               nChar >= 160;
    }

    int Read() { return m_nPos < m_nEnd ? m_pText[m_nPos++] : (++m_nPos, -1); }

    int Number(int nChar)
    {
        double dValue = nChar - '0';
        int nFraction = 0;
        bool bPoint = false;
        for (; m_nPos < m_nEnd; ++m_nPos)
        {
            int const nDigit = m_pText[m_nPos];
            if (nDigit >= '0' && nDigit <= '9')
            {
                dValue = dValue * 10.0 + (nDigit - '0');
                nFraction += bPoint ? 1 : 0;
            }
            else if (nDigit == '.' && !bPoint)
            {
                bPoint = true;
            }
            else
            {
                break;
            }
        }
        m_nPeek = Read();
        double dPower = 1.0;
        for (int nStep = 0; nStep < nFraction; ++nStep)
            dPower *= 10.0;
        m_dValue = dValue / dPower;
        m_sValue.clear();
        return bPoint ? TT_FLOAT : TT_NUMBER;
    }

    int Word()
    {
        int const nStart = m_nPos - 1;
        while (m_nPos < m_nEnd &&
               (IsWordChar(m_pText[m_nPos]) || (m_pText[m_nPos] >= '0' && m_pText[m_nPos] <= '9')))
            ++m_nPos;
        m_sValue.assign(reinterpret_cast<char const *>(m_pText) + nStart, m_nPos - nStart);
        m_nPeek = Read();
        return TT_WORD;
    }

    int Quoted(int nQuote)
    {
        m_sValue.clear();
        int nRun = m_nPos;
        while (m_nPos < m_nEnd && m_pText[m_nPos] != nQuote && m_pText[m_nPos] != '\n')
        {
            if (m_pText[m_nPos] != '\\')
            {
                ++m_nPos;
                continue;
            }
            m_sValue.append(reinterpret_cast<char const *>(m_pText) + nRun, m_nPos - nRun);
            int const nEscaped = m_nPos + 1 < m_nEnd ? m_pText[m_nPos + 1] : 0;
            m_sValue += nEscaped == 't'   ? '\t'
                        : nEscaped == 'n' ? '\n'
                                          : static_cast<char>(nEscaped);
            m_nPos += 2;
            nRun = m_nPos;
        }
        m_sValue.append(reinterpret_cast<char const *>(m_pText) + nRun, m_nPos - nRun);
        ++m_nPos;
        return nQuote;
    }

    unsigned char const * m_pText;
    int m_nEnd;
    int m_nPos = 0;
    int m_nPeek = -2;
    std::string m_sValue;
    double m_dValue = 0.0;
};

void BM_MinimalTokenizer(benchmark::State & State)
{
    CMinimalTokenizer Tokenizer(ProgramText());
    std::int64_t nTokens = 0;
    for (auto _ : State)
    {
        Tokenizer.Rewind();
        while (Tokenizer.Next() != TT_EOF)
            ++nTokens;
    }
    ReportRate(State, nTokens);
}

} // namespace

BENCHMARK(BM_WhiteSpaceSplit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MinimalTokenizer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StringTokenizer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LexAnalyzer)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
