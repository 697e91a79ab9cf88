// CLexAnalyzer: a CStringTokenizer for program-like text. It turns words found in its
// keyword table into the caller's numbers and joins the five two-character operators
// >=, <=, :=, <> and .. into one token each, also with white space or comments between
// their characters. Keywords are compared with their case, exactly as the word stands.
// Character classes and switches are the base's. One thread at a time per instance.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "common/kernel/api.h"
#include "common/parse/stringtokenizer.h"
#include "common/string/zrstring.h"

// The operator tokens, below the token types of the tokenizer.
enum eLexTokenType
{
    TT_GREATER_EQUAL = -50,
    TT_LESS_EQUAL = -51,
    TT_ASSIGN = -52,
    TT_NOT_EQUAL = -53,
    TT_RANGE = -54
};

// Orders keywords as CZRString::Compare does, that is, byte-wise as unsigned bytes up
// to the terminator, with their case, a string without a block as the empty text. The
// compare is spelt out here so that a look-up per word costs no call.
struct sKeywordLess
{
    // True when sLeft sorts before sRight.
    bool operator()(CZRString const & sLeft, CZRString const & sRight) const
    {
        unsigned char const * pLeft = Bytes(sLeft);
        unsigned char const * pRight = Bytes(sRight);
        while (*pLeft != 0 && *pLeft == *pRight)
        {
            ++pLeft;
            ++pRight;
        }
        return *pLeft < *pRight;
    }

    // The string's bytes as the comparison reads them; an empty string has none.
    static unsigned char const * Bytes(CZRString const & sString)
    {
        char const * szText = sString.GetString() != nullptr ? sString.GetString() : "";
        return reinterpret_cast<unsigned char const *>(szText);
    }
};

class COMMON_API CLexAnalyzer : public CStringTokenizer
{
public:
    // The operator tokens also as members, as the base class has its token types.
    static constexpr eLexTokenType TT_GREATER_EQUAL = ::TT_GREATER_EQUAL;
    // The enumerator of the same name.
    static constexpr eLexTokenType TT_LESS_EQUAL = ::TT_LESS_EQUAL;
    // The enumerator of the same name.
    static constexpr eLexTokenType TT_ASSIGN = ::TT_ASSIGN;
    // The enumerator of the same name.
    static constexpr eLexTokenType TT_NOT_EQUAL = ::TT_NOT_EQUAL;
    // The enumerator of the same name.
    static constexpr eLexTokenType TT_RANGE = ::TT_RANGE;

    // A tokenizer over a copy of the text, with the tokenizer's defaults and no keywords.
    CLexAnalyzer(CZRString const & sString);
    // Copies the tokenizer, the keyword table and a pending PushBack.
    CLexAnalyzer(CLexAnalyzer const & Other) = default;
    // Copies the tokenizer, the keyword table and a pending PushBack.
    CLexAnalyzer & operator=(CLexAnalyzer const & Other) = default;
    virtual ~CLexAnalyzer();

    // Adds the keyword, or gives a known keyword the new number. The numbers are the
    // caller's: they should stay clear of character codes and token types.
    void InsertKeyword(CZRString const & sKeyword, int nToken);

    // The tokenizer's next token, with a word that is in the keyword table turned into its
    // number and the operators joined into one of the eLexTokenType values: "< =" is
    // TT_LESS_EQUAL, while "<<" stays '<' twice.
    int GetNextToken() override;
    // As the tokenizer's, with the operators' own text and the text of strings between
    // either quote.
    CZRString GetStringValue() const override;
    // The token last returned is delivered once more by the next GetNextToken.
    void PushBack() override;

private:
    int JoinOperator(int nFirst);
    void IndexKeywords();
    bool FindKeyword(int & nToken) const;

    bool m_bLexPushedBack; // the current token is to be delivered once more
    std::map<CZRString, int, sKeywordLess> m_mapKeywords;
    int m_nLexType; // the token last returned by this class
    // The table's keywords and numbers again, grouped by their first byte, and where each
    // group starts: a word is compared with the keywords of its first byte only.
    std::vector<std::pair<std::string, int>> m_vKeywordsByFirstByte;
    int m_anFirstByteStart[257];
    bool m_bKeywordsIndexed; // false after an insertion, until the index is rebuilt
};
