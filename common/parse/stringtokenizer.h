// CStringTokenizer: cuts a text held in memory into tokens, one per GetNextToken. A
// table of 256 class entries, which the caller may change, decides what each byte
// means; switches add comments, quoted strings, text blocks, lower-casing and line ends
// as tokens. The tokenizer keeps its own copy of the text, reads no file and throws
// nothing: every text yields tokens and finally TT_EOF. Bytes 0x80 to 0xFF are text
// like any other. One thread at a time per instance.
#pragma once

#include <string>

#include "common/kernel/api.h"
#include "common/string/zrstring.h"

// What GetNextToken returns: a negative named type, or a character code.
enum eTokenType
{
    TT_EOF = -1,
    TT_NUMBER = -2, // without a fraction
    TT_FLOAT = -3,  // with a fraction
    TT_WORD = -4,
    TT_TEXT = -5, // a text block {! ... !}
    TT_EOL = 10   // only with EOLIsSignificant(true)
};

// Bits of a class table entry.
enum eCharType
{
    CT_WHITESPACE = 1,
    CT_DIGIT = 2,
    CT_ALPHA = 4,
    CT_QUOTE = 8,
    CT_COMMENT = 16
};

class CTokenTextWriter;

class COMMON_API CStringTokenizer
{
public:
    // The token types also as members, so that CStringTokenizer::TT_WORD names them too.
    static constexpr eTokenType TT_EOF = ::TT_EOF;
    // The enumerator of the same name.
    static constexpr eTokenType TT_NUMBER = ::TT_NUMBER;
    // The enumerator of the same name.
    static constexpr eTokenType TT_FLOAT = ::TT_FLOAT;
    // The enumerator of the same name.
    static constexpr eTokenType TT_WORD = ::TT_WORD;
    // The enumerator of the same name.
    static constexpr eTokenType TT_TEXT = ::TT_TEXT;
    // The enumerator of the same name.
    static constexpr eTokenType TT_EOL = ::TT_EOL;

    // Copies the text. Defaults: letters, '_' and 160 to 255 make words, 0 to 32 are white
    // space, '0' to '9' start numbers, '"' and '\'' quote; // and /* */ comments and
    // quoted strings are on, everything else off; tab size 4.
    CStringTokenizer(CZRString const & sString);
    // Copies everything, the reading point and a pending PushBack included.
    CStringTokenizer(CStringTokenizer const & Other) = default;
    // Copies everything, the reading point and a pending PushBack included.
    CStringTokenizer & operator=(CStringTokenizer const & Other) = default;
    virtual ~CStringTokenizer();

    // The range operations clip to 0..255 and do nothing for an empty range.
    // Adds CT_ALPHA to the range: these characters make words.
    void WordChars(int nLow, int nHigh);
    // Adds CT_WHITESPACE to the range: these characters separate tokens.
    void WhiteSpaceChars(int nLow, int nHigh);
    // Clears the entries of the range: each character is a token of its own.
    void OrdinaryChars(int nLow, int nHigh);
    // The single-character operations take 0..255 only.
    // Clears the entry: the character is a token of its own.
    void OrdinaryChar(int nChar);
    // The character starts a comment to the end of the line (its entry becomes exactly
    // CT_COMMENT).
    void CommentChar(int nChar);
    // The character opens and closes quoted strings (its entry becomes exactly CT_QUOTE).
    void QuoteChar(int nChar);

    // The switches may change at any time, also between tokens.
    // True: a line end (LF, CR or CR LF) is the token TT_EOL; false (default): white space.
    void EOLIsSignificant(bool bFlag) { m_bEOLIsSignificant = bFlag; }
    // /* ... */ comments, not nested (default on).
    void AllowSlashStarComments(bool bFlag) { m_bAllowSlashStarComments = bFlag; }
    // // comments to the end of the line (default on).
    void AllowSlashSlashComments(bool bFlag) { m_bAllowSlashSlashComments = bFlag; }
    // { ... } comments, not nested (default off); they take '{' before text blocks do.
    void AllowPascalComments(bool bFlag) { m_bAllowPascalComments = bFlag; }
    // ; comments to the end of the line (default off).
    void AllowAssemblerComments(bool bFlag) { m_bAllowAssemblerComments = bFlag; }
    // {! ... !} text blocks, read as TT_TEXT without their trailing white space (default
    // off).
    void AllowTextBlocks(bool bFlag) { m_bAllowTextBlocks = bFlag; }
    // Quoted strings with backslash escapes (default on); off, quote characters are plain
    // tokens.
    void AllowStringHandling(bool bFlag) { m_bAllowStringHandling = bFlag; }
    // Words, not quoted strings, are delivered in lower case (default off).
    void ForceLowerCaseMode(bool bFlag) { m_bForceLowerCaseMode = bFlag; }
    // The tab size must be positive.
    void SetTabSize(int nTabSize);

    // Back to the start of the text; switches, class table and tab size stay.
    virtual void Rewind();
    // The current token is delivered once more by the next GetNextToken.
    virtual void PushBack();
    // Scans the next token: a TT_ type, the quote character for a quoted string, or the
    // code of a character that is a token of its own. Numbers have no sign, exponent or
    // hexadecimal form; a string without its closing quote ends at the line end. After the
    // end of the text, and after a comment or text block left open, every call gives TT_EOF
    // until Rewind.
    virtual int GetNextToken();
    // The current token as text: the word or string, the number with "%f", "EOF",
    // "EOL", or the character in single quotes.
    virtual CZRString GetStringValue() const;

    // The value of the current TT_NUMBER or TT_FLOAT token, else 0.0.
    double GetNumValue() const { return m_dNumValue; }
    // Line and column of the reading point, which is one character ahead of the token.
    int GetLineNumber() const;
    // Column from 1; a tab moves to the next multiple of the tab size.
    int GetColumnNumber() const;
    // Moves the reading point alone; a position outside the text is the caller's fault.
    void SetPosInString(int nPos);
    // Index of the next byte to be read.
    int GetPosInString() const;
    // True when the last byte read was a line feed, and before the first read.
    bool IsStartOfLine() const;

protected:
    // The held copy with its end marker: one byte longer than the text.
    CZRString const & GetOriginalString() const { return m_sOriginalString; }

private:
    int GetChar();
    int GetCharType(int nChar) const;
    void StartOfLine();
    void ParseNumbers();
    void ResetCharacterTypeTable();

    unsigned char const * Text() const;
    int Marker() const;
    bool IsInCopy(int nPos) const;
    int TakeAt(int nPos);
    void PeekAt(int nPos);
    void TakePeekChar();
    int ReadUntil(int nStop1, int nStop2);
    void CountReadBytes() const;

    void ClearValue();
    int ScanToken();
    int ScanAfterLineEnd(int nChar);
    int ScanFrom(int nChar);
    int ScanOpeningChar(int nChar);
    int EndOfInput();
    int ScanNumber(int nChar);
    int ScanWord(int nChar);
    void SetValueFromCopy(int nFrom, int nLength);
    int ScanQuotedString(int nQuote);
    bool ScanEscape(int & nPos, CTokenTextWriter & Writer);
    bool ScanOctalEscape(int nFirstDigit, int & nPos, CTokenTextWriter & Writer);
    int ScanTextBlock();
    int SkipToLineEnd();
    int SkipPascalComment();
    int SkipSlashStarComment();

    int m_nPosInString; // index of the next byte that GetChar reads

protected:
    CZRString m_sStringValue; // text of the current word, string or text block
    double m_dNumValue;       // value of the current number, else 0.0

private:
    CZRString m_sOriginalString; // the text and one end marker
    bool m_bAllowSlashSlashComments;
    bool m_bAllowSlashStarComments;
    bool m_bAllowPascalComments;
    bool m_bAllowTextBlocks;
    bool m_bAllowAssemblerComments;
    bool m_bAllowStringHandling;
    bool m_bForceLowerCaseMode;
    bool m_bEOLIsSignificant;
    bool m_bPushedBack; // the current token is to be delivered once more
    // The counters follow the reading point lazily, see CountReadBytes.
    mutable int m_nLineNumber;
    mutable int m_nColumnNumber;
    unsigned char m_acCharType[256];
    int m_nPeekChar; // the character the next scan begins with: -1 at the end,
                     // -2 when it is still to be read, -3 when it is the byte at
                     // m_nPosInString, read
    int m_nTokenType;
    int m_nTabSize;
    mutable bool m_bStartOfLine;
    int m_nContinuationDepth;  // nested continuations after comments, see GetNextToken
    mutable int m_nCountedPos; // the bytes read from here on are not yet counted
};
