#include "common/parse/lexanalyzer.h"

#include <algorithm>

CLexAnalyzer::CLexAnalyzer(CZRString const & sString)
    // Before the first token PushBack delivers TT_EOF and GetStringValue gives "EOF".
    : CStringTokenizer(sString), m_bLexPushedBack(false), m_nLexType(TT_EOF), m_anFirstByteStart(),
      m_bKeywordsIndexed(false)
{
}

CLexAnalyzer::~CLexAnalyzer() {}

void CLexAnalyzer::InsertKeyword(CZRString const & sKeyword, int nToken)
{
    m_mapKeywords[sKeyword] = nToken;
    m_bKeywordsIndexed = false;
}

// Rebuilt from the table when a word is looked up after a change, so that a long run of
// insertions costs one rebuild; the table stays what decides.
void CLexAnalyzer::IndexKeywords()
{
    m_bKeywordsIndexed = true;
    m_vKeywordsByFirstByte.clear();
    for (std::pair<CZRString const, int> const & Keyword : m_mapKeywords)
    {
        char const * szKeyword = reinterpret_cast<char const *>(sKeywordLess::Bytes(Keyword.first));
        m_vKeywordsByFirstByte.emplace_back(szKeyword, Keyword.second);
    }
    std::stable_sort(
        m_vKeywordsByFirstByte.begin(), m_vKeywordsByFirstByte.end(),
        [](std::pair<std::string, int> const & Left, std::pair<std::string, int> const & Right)
        {
            return static_cast<unsigned char>(Left.first.c_str()[0]) <
                   static_cast<unsigned char>(Right.first.c_str()[0]);
        });
    int nIndex = 0;
    int const nCount = static_cast<int>(m_vKeywordsByFirstByte.size());
    for (int nByte = 0; nByte < 256; ++nByte)
    {
        m_anFirstByteStart[nByte] = nIndex;
        while (nIndex < nCount &&
               static_cast<unsigned char>(m_vKeywordsByFirstByte[nIndex].first.c_str()[0]) == nByte)
            ++nIndex;
    }
    m_anFirstByteStart[256] = nIndex;
}

// The same answer as a look-up in the table: equal under its order means the same bytes
// up to the terminator.
bool CLexAnalyzer::FindKeyword(int & nToken) const
{
    unsigned char const * const pWord = sKeywordLess::Bytes(m_sStringValue);
    int const nEnd = m_anFirstByteStart[pWord[0] + 1];
    for (int nIndex = m_anFirstByteStart[pWord[0]]; nIndex < nEnd; ++nIndex)
    {
        unsigned char const * pKeyword =
            reinterpret_cast<unsigned char const *>(m_vKeywordsByFirstByte[nIndex].first.c_str());
        unsigned char const * pByte = pWord;
        while (*pByte != 0 && *pByte == *pKeyword)
        {
            ++pByte;
            ++pKeyword;
        }
        if (*pByte == *pKeyword)
        {
            nToken = m_vKeywordsByFirstByte[nIndex].second;
            return true;
        }
    }
    return false;
}

void CLexAnalyzer::PushBack()
{
    m_bLexPushedBack = true;
}

// The base is called directly, never through the virtual operations, so that the
// base's push-back serves the look-ahead for the operators and this class's flag the
// caller. A token behind a comment comes here in a nested call first; it leaves that
// call unchanged, so the second pass gives the same result.
int CLexAnalyzer::GetNextToken()
{
    if (m_bLexPushedBack)
    {
        m_bLexPushedBack = false;
        return m_nLexType;
    }
    int const nToken = CStringTokenizer::GetNextToken();
    if (nToken == TT_WORD)
    {
        if (!m_bKeywordsIndexed)
            IndexKeywords();
        int nKeyword = 0;
        return m_nLexType = FindKeyword(nKeyword) ? nKeyword : TT_WORD;
    }
    return m_nLexType = JoinOperator(nToken);
}

// Takes one more base token behind '.', '<', '>' or ':' and joins the pair, or gives
// that token back to the base.
int CLexAnalyzer::JoinOperator(int nFirst)
{
    switch (nFirst)
    {
        case '.':
        case '<':
        case '>':
        case ':':
            break;
        default:
            return nFirst;
    }
    int nSecond = CStringTokenizer::GetNextToken();
    switch (nFirst)
    {
        case '.':
            if (nSecond == '.')
                return TT_RANGE;
            break;
        case '<':
            if (nSecond == '=')
                return TT_LESS_EQUAL;
            CStringTokenizer::PushBack();
            nSecond = CStringTokenizer::GetNextToken();
            if (nSecond == '>')
                return TT_NOT_EQUAL;
            break;
        case '>':
            if (nSecond == '=')
                return TT_GREATER_EQUAL;
            break;
        default:
            if (nSecond == '=')
                return TT_ASSIGN;
            break;
    }
    CStringTokenizer::PushBack();
    return nFirst;
}

CZRString CLexAnalyzer::GetStringValue() const
{
    CZRString sResult;
    switch (m_nLexType)
    {
        case TT_NOT_EQUAL:
            return CZRString("<>");
        case TT_ASSIGN:
            return CZRString(":=");
        case TT_LESS_EQUAL:
            return CZRString("<=");
        case TT_GREATER_EQUAL:
            return CZRString(">=");
        case TT_RANGE:
            return CZRString("..");
        case TT_WORD:
        case TT_TEXT:
        case '"':
        case '\'':
            return m_sStringValue;
        case TT_NUMBER:
        case TT_FLOAT:
            sResult.Format("%f", m_dNumValue);
            return sResult;
        case TT_EOF:
            return CZRString("EOF");
        case TT_EOL:
            return CZRString("EOL");
        default:
            sResult.Format("'%c'", m_nLexType & 0xFF);
            return sResult;
    }
}
