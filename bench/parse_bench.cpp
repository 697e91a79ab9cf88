// Tokenizing speed: CStringTokenizer and CLexAnalyzer over 4 MB of program-like text
// (words, numbers, strings, comments, operators), against a minimal loop that only
// splits the same text at white space. Compare the bytes per second of the three.
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
    benchmark::DoNotOptimize(nTokens);
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) *
                            static_cast<std::int64_t>(ProgramText().size()));
    State.counters["tokens"] = static_cast<double>(nTokens) / State.iterations();
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
    benchmark::DoNotOptimize(nTokens);
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) *
                            static_cast<std::int64_t>(ProgramText().size()));
    State.counters["tokens"] = static_cast<double>(nTokens) / State.iterations();
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
    benchmark::DoNotOptimize(nTokens);
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) *
                            static_cast<std::int64_t>(sText.size()));
    State.counters["tokens"] = static_cast<double>(nTokens) / State.iterations();
}

} // namespace

BENCHMARK(BM_WhiteSpaceSplit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StringTokenizer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LexAnalyzer)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
