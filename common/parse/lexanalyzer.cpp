#include "common/parse/lexanalyzer.h"

CLexAnalyzer::CLexAnalyzer(CZRString const & sString)
    // Before the first token PushBack delivers TT_EOF and GetStringValue gives "EOF".
    : CStringTokenizer(sString), m_bLexPushedBack(false), m_nLexType(TT_EOF)
{
}

CLexAnalyzer::~CLexAnalyzer() {}

void CLexAnalyzer::InsertKeyword(CZRString const & sKeyword, int nToken)
{
    m_mapKeywords[sKeyword] = nToken;
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
        std::map<CZRString, int, sKeywordLess>::const_iterator it =
            m_mapKeywords.find(m_sStringValue);
        if (it != m_mapKeywords.end())
            return m_nLexType = it->second;
    }
    return m_nLexType = JoinOperator(nToken);
}

// Takes one more base token behind '.', '<', '>' or ':' and joins the pair, or gives
// that token back to the base.
int CLexAnalyzer::JoinOperator(int nFirst)
{
    if (nFirst != '.' && nFirst != '<' && nFirst != '>' && nFirst != ':')
        return nFirst;
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
