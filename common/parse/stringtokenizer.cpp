#include "common/parse/stringtokenizer.h"

#include <cstring>

#include "common/kernel/check.h"

static char const s_szSourceFile[] = "common/parse/stringtokenizer";

// ScanToken's answer when it has skipped a comment; never a token of its own.
static int const s_nCommentSkipped = -1000000;

// How many continuations after a comment may nest through the virtual GetNextToken.
// Beyond that the scan goes on in the innermost call, so that a text of nothing but
// comments cannot exhaust the stack; a derived class still sees every token that
// follows a comment in its own GetNextToken.
static int const s_nMaxContinuationDepth = 32;

// The peek character that stands for "nothing read ahead": the next scan begins by
// reading a character. The blank would serve only while it is white space; with this
// value a table that makes the blank ordinary cannot conjure up blank tokens forever.
static int const s_nReadNext = -2;

// Clips a range of character codes to 0..255; false when nothing is left of it.
static bool ClipRange(int & nLow, int & nHigh)
{
    if (nLow < 0)
        nLow = 0;
    if (nHigh > 255)
        nHigh = 255;
    return nLow <= nHigh;
}

CStringTokenizer::CStringTokenizer(CZRString const & sString)
    : m_nPosInString(0), m_dNumValue(0.0), m_sOriginalString(sString),
      m_bAllowSlashSlashComments(true), m_bAllowSlashStarComments(true),
      m_bAllowPascalComments(false), m_bAllowTextBlocks(false), m_bAllowAssemblerComments(false),
      m_bAllowStringHandling(true), m_bForceLowerCaseMode(false), m_bEOLIsSignificant(false),
      m_bPushedBack(false), m_nLineNumber(1), m_nColumnNumber(1), m_nPeekChar(s_nReadNext),
      // Before the first token PushBack delivers TT_EOF and GetStringValue gives "EOF":
      // a defined value that no caller can take for text.
      m_nTokenType(TT_EOF), m_nTabSize(4), m_bStartOfLine(true), m_nContinuationDepth(0)
{
    m_sOriginalString += static_cast<char>(-1);
    ResetCharacterTypeTable();
    WordChars('a', 'z');
    WordChars('A', 'Z');
    WordChars(160, 255);
    WordChars('_', '_');
    QuoteChar('"');
    QuoteChar('\'');
    WhiteSpaceChars(0, 32);
    ParseNumbers();
}

CStringTokenizer::~CStringTokenizer() {}

void CStringTokenizer::WordChars(int nLow, int nHigh)
{
    if (!ClipRange(nLow, nHigh))
        return;
    for (int nChar = nLow; nChar <= nHigh; ++nChar)
        m_acCharType[nChar] |= CT_ALPHA;
}

void CStringTokenizer::WhiteSpaceChars(int nLow, int nHigh)
{
    if (!ClipRange(nLow, nHigh))
        return;
    for (int nChar = nLow; nChar <= nHigh; ++nChar)
        m_acCharType[nChar] |= CT_WHITESPACE;
}

void CStringTokenizer::OrdinaryChars(int nLow, int nHigh)
{
    if (!ClipRange(nLow, nHigh))
        return;
    for (int nChar = nLow; nChar <= nHigh; ++nChar)
        m_acCharType[nChar] = 0;
}

void CStringTokenizer::OrdinaryChar(int nChar)
{
    ZR_CHECK(nChar >= 0, s_szSourceFile);
    ZR_CHECK(nChar < 256, s_szSourceFile);
    m_acCharType[nChar] = 0;
}

void CStringTokenizer::CommentChar(int nChar)
{
    ZR_CHECK(nChar >= 0, s_szSourceFile);
    ZR_CHECK(nChar < 256, s_szSourceFile);
    m_acCharType[nChar] = CT_COMMENT;
}

void CStringTokenizer::QuoteChar(int nChar)
{
    ZR_CHECK(nChar >= 0, s_szSourceFile);
    ZR_CHECK(nChar < 256, s_szSourceFile);
    m_acCharType[nChar] = CT_QUOTE;
}

void CStringTokenizer::SetTabSize(int nTabSize)
{
    ZR_CHECK(nTabSize > 0, s_szSourceFile);
    m_nTabSize = nTabSize;
}

void CStringTokenizer::Rewind()
{
    m_bStartOfLine = true;
    m_nLineNumber = 1;
    m_nColumnNumber = 1;
    m_bPushedBack = false;
    m_nPosInString = 0;
    m_sStringValue.Empty();
    m_dNumValue = 0.0;
    m_nPeekChar = s_nReadNext;
}

void CStringTokenizer::PushBack()
{
    m_bPushedBack = true;
}

int CStringTokenizer::GetNextToken()
{
    if (m_bPushedBack)
    {
        m_bPushedBack = false;
        return m_nTokenType;
    }
    for (;;)
    {
        int const nToken = ScanToken();
        if (nToken != s_nCommentSkipped)
            return nToken;
        if (m_nContinuationDepth < s_nMaxContinuationDepth)
        {
            ++m_nContinuationDepth;
            int const nResult = GetNextToken();
            --m_nContinuationDepth;
            return nResult;
        }
    }
}

CZRString CStringTokenizer::GetStringValue() const
{
    CZRString sResult;
    switch (m_nTokenType)
    {
        case TT_WORD:
        case TT_TEXT:
        case '"':
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
            sResult.Format("'%c'", m_nTokenType & 0xFF);
            return sResult;
    }
}

// Returns the next byte as 0..255, or -1 for the end marker. Only the last byte of the
// held copy is the marker, so that a byte 0xFF of the text itself is read as text.
// Inline (and so hidden) keeps the per-byte calls off the shared library's call table.
inline int CStringTokenizer::GetChar()
{
    int const nMarker = m_sOriginalString.GetLength() - 1;
    int const nPos = m_nPosInString;
    int nChar = -1;
    if (nPos >= 0 && nPos < nMarker)
        nChar = static_cast<unsigned char>(m_sOriginalString.GetString()[nPos]);
    else
        static_cast<void>(m_sOriginalString.GetAt(nPos)); // a position outside the copy fails here
    ++m_nPosInString;

    // Unsigned arithmetic: with a huge tab size the column wraps instead of overflowing.
    unsigned int const uColumn = static_cast<unsigned int>(m_nColumnNumber);
    if (nChar == 9)
    {
        unsigned int const uTabSize = static_cast<unsigned int>(m_nTabSize);
        m_nColumnNumber = static_cast<int>(uColumn + uTabSize - uColumn % uTabSize);
    }
    else
    {
        m_nColumnNumber = static_cast<int>(uColumn + 1);
    }
    if (nChar == 10)
        NewLine();
    else
        m_bStartOfLine = false;
    return nChar;
}

inline int CStringTokenizer::GetCharType(int nChar) const
{
    if (nChar >= 256)
        return CT_ALPHA;
    return m_acCharType[nChar];
}

void CStringTokenizer::NewLine()
{
    ++m_nLineNumber;
    StartOfLine();
}

void CStringTokenizer::StartOfLine()
{
    m_nColumnNumber = 1;
    m_bStartOfLine = true;
}

void CStringTokenizer::ParseNumbers()
{
    for (int nChar = '0'; nChar <= '9'; ++nChar)
        m_acCharType[nChar] |= CT_DIGIT;
}

void CStringTokenizer::ResetCharacterTypeTable()
{
    std::memset(m_acCharType, 0, sizeof(m_acCharType));
}

// One scan from the peek character: a token, or s_nCommentSkipped with the peek
// character set for the scan behind the comment.
int CStringTokenizer::ScanToken()
{
    int nChar = m_nPeekChar;
    if (!m_sStringValue.IsEmpty())
        m_sStringValue.Empty();
    m_dNumValue = 0.0;
    if (nChar == s_nReadNext)
        nChar = GetChar();
    if (nChar < 0)
        return EndOfInput();

    while (GetCharType(nChar) & CT_WHITESPACE)
    {
        if (nChar == 13)
        {
            nChar = GetChar();
            if (nChar == 10)
                nChar = GetChar();
            if (m_bEOLIsSignificant)
            {
                m_nPeekChar = nChar;
                return m_nTokenType = TT_EOL;
            }
        }
        else if (nChar == 10 && m_bEOLIsSignificant)
        {
            m_nPeekChar = s_nReadNext;
            return m_nTokenType = TT_EOL;
        }
        else
        {
            nChar = GetChar();
        }
        if (nChar < 0)
            return EndOfInput();
    }

    int const nType = GetCharType(nChar);
    if (nType & CT_DIGIT)
        return ScanNumber(nChar);
    if (nType & CT_ALPHA)
        return ScanWord(nChar);
    if (nType & CT_COMMENT)
        return SkipToLineEnd();
    if (m_bAllowStringHandling && (nType & CT_QUOTE))
        return ScanQuotedString(nChar);
    if (nChar == '{' && m_bAllowPascalComments)
        return SkipPascalComment();
    if (nChar == '/' && (m_bAllowSlashSlashComments || m_bAllowSlashStarComments))
    {
        nChar = GetChar();
        if (nChar == '*' && m_bAllowSlashStarComments)
            return SkipSlashStarComment();
        if (nChar == '/' && m_bAllowSlashSlashComments)
            return SkipToLineEnd();
        m_nPeekChar = nChar;
        return m_nTokenType = '/';
    }
    if (nChar == ';' && m_bAllowAssemblerComments)
        return SkipToLineEnd();
    if (nChar == '{' && m_bAllowTextBlocks)
    {
        nChar = GetChar();
        if (nChar == '!')
            return ScanTextBlock();
        m_nPeekChar = nChar;
        return m_nTokenType = '{';
    }
    m_nPeekChar = s_nReadNext;
    return m_nTokenType = nChar;
}

// The end of input is final: the peek character stays below zero until Rewind, so
// that no later scan reads past the end marker.
int CStringTokenizer::EndOfInput()
{
    m_nPeekChar = -1;
    return m_nTokenType = TT_EOF;
}

int CStringTokenizer::ScanNumber(int nChar)
{
    double dValue = 0.0;
    int nFractionDigits = 0;
    bool bPoint = false;
    for (;;)
    {
        if (nChar == '.' && !bPoint)
        {
            bPoint = true;
        }
        else if (nChar >= '0' && nChar <= '9')
        {
            dValue = dValue * 10.0 + (nChar - '0');
            if (bPoint)
                ++nFractionDigits;
        }
        else
        {
            break;
        }
        nChar = GetChar();
    }
    m_nPeekChar = nChar;

    // No digit is dropped: past some 308 digits the value is infinite, and with a
    // fraction that long the quotient of two infinities makes it NaN.
    if (nFractionDigits > 0)
    {
        double dPower = 10.0;
        for (int nStep = 1; nStep < nFractionDigits; ++nStep)
            dPower *= 10.0;
        dValue /= dPower;
    }
    else if (bPoint)
    {
        // A point without digits behind it is a token of its own; the byte behind it
        // is read again by the next scan.
        --m_nPosInString;
        m_nPeekChar = '.';
        bPoint = false;
    }
    m_dNumValue = dValue;
    return m_nTokenType = bPoint ? TT_FLOAT : TT_NUMBER;
}

int CStringTokenizer::ScanWord(int nChar)
{
    // Behind its first character a word is the run of bytes read from here on, so it
    // is copied in one piece once its end is found.
    char const cFirst = static_cast<char>(nChar);
    int const nRestStart = m_nPosInString;
    int nType = 0;
    do
    {
        nChar = GetChar();
        nType = nChar < 0 ? CT_WHITESPACE : GetCharType(nChar);
    } while (nType & (CT_DIGIT | CT_ALPHA));
    m_nPeekChar = nChar;

    int const nRestLength = m_nPosInString - 1 - nRestStart;
    char * pBuffer = m_sStringValue.GetBuffer(1 + nRestLength);
    pBuffer[0] = cFirst;
    std::memcpy(pBuffer + 1, m_sOriginalString.GetString() + nRestStart,
                static_cast<std::size_t>(nRestLength));
    m_sStringValue.ReleaseBuffer(1 + nRestLength);
    if (m_bForceLowerCaseMode)
        m_sStringValue.MakeLower();
    return m_nTokenType = TT_WORD;
}

int CStringTokenizer::ScanQuotedString(int nQuote)
{
    std::string sText;
    m_nTokenType = nQuote;
    m_nPeekChar = s_nReadNext;
    bool bOpen = true;
    while (bOpen)
    {
        int nChar = GetChar();
        if (nChar < 0)
        {
            m_nPeekChar = -1;
            break;
        }
        if (nChar == nQuote || nChar == 10 || nChar == 13)
            break;
        if (nChar == '\\')
        {
            nChar = GetChar();
            switch (nChar)
            {
                case -1:
                    m_nPeekChar = -1;
                    bOpen = false;
                    continue;
                case 'a':
                    nChar = 7;
                    break;
                case 'b':
                    nChar = 8;
                    break;
                case 'f':
                    nChar = 12;
                    break;
                case 'n':
                    nChar = 10;
                    break;
                case 'r':
                    nChar = 13;
                    break;
                case 't':
                    nChar = 9;
                    break;
                case 'v':
                    nChar = 11;
                    break;
                case '0':
                case '1':
                case '2':
                case '3':
                case '4':
                case '5':
                case '6':
                case '7':
                    bOpen = ScanOctalEscape(nChar - '0', sText);
                    continue;
                default:
                    break;
            }
        }
        sText += static_cast<char>(nChar);
    }
    SetStringValue(sText);
    return m_nTokenType;
}

// Reads the rest of an octal escape whose first digit is read and appends its byte and
// whatever ended it; false when the string is over.
bool CStringTokenizer::ScanOctalEscape(int nFirstDigit, std::string & sText)
{
    int nValue = nFirstDigit;
    for (int nDigits = 1;; ++nDigits)
    {
        int const nChar = GetChar();
        if (nChar < 0)
        {
            // The escape's value is kept; nothing is appended for the end marker.
            sText += static_cast<char>(nValue & 0xFF);
            m_nPeekChar = -1;
            return false;
        }
        if (GetCharType(nChar) & CT_QUOTE)
        {
            sText += static_cast<char>(nValue & 0xFF);
            return false;
        }
        if (nChar < '0' || nChar > '7')
        {
            sText += static_cast<char>(nValue & 0xFF);
            sText += static_cast<char>(nChar);
            return true;
        }
        nValue = nValue * 8 + (nChar - '0');
        if (nDigits == 2)
        {
            sText += static_cast<char>(nValue & 0xFF);
            return true;
        }
    }
}

// The opening "{!" is read. Leading white space always stays in the text, also when
// the caller has declared '!' white space.
int CStringTokenizer::ScanTextBlock()
{
    std::string sText;
    for (;;)
    {
        int nChar = GetChar();
        if (nChar < 0)
            return EndOfInput();
        if (nChar == '!')
        {
            int const nNext = GetChar();
            if (nNext == '}')
                break;
            if (nNext < 0)
                return EndOfInput();
            sText += '!';
            nChar = nNext;
        }
        sText += static_cast<char>(nChar);
    }
    while (!sText.empty() &&
           m_acCharType[static_cast<unsigned char>(sText.back())] == CT_WHITESPACE)
        sText.pop_back();
    SetStringValue(sText);
    m_nPeekChar = s_nReadNext;
    return m_nTokenType = TT_TEXT;
}

// The rest of a line comment; the byte that ends it starts the next scan, so that a
// significant line end behind the comment is still delivered.
int CStringTokenizer::SkipToLineEnd()
{
    int nChar = 0;
    do
        nChar = GetChar();
    while (nChar != 10 && nChar != 13 && nChar >= 0);
    m_nPeekChar = nChar;
    return s_nCommentSkipped;
}

int CStringTokenizer::SkipPascalComment()
{
    int nChar = 0;
    do
        nChar = GetChar();
    while (nChar != '}' && nChar >= 0);
    if (nChar < 0)
        return EndOfInput();
    m_nPeekChar = s_nReadNext;
    return s_nCommentSkipped;
}

int CStringTokenizer::SkipSlashStarComment()
{
    int nPrevious = 0;
    for (;;)
    {
        int const nChar = GetChar();
        if (nChar < 0)
            return EndOfInput();
        if (nChar == '/' && nPrevious == '*')
            break;
        nPrevious = nChar;
    }
    m_nPeekChar = s_nReadNext;
    return s_nCommentSkipped;
}

// Copies the bytes as they are, NUL bytes included.
void CStringTokenizer::SetStringValue(std::string const & sText)
{
    int const nLength = static_cast<int>(sText.size());
    if (nLength == 0)
    {
        m_sStringValue.Empty();
        return;
    }
    char * pBuffer = m_sStringValue.GetBuffer(nLength);
    std::memcpy(pBuffer, sText.data(), sText.size());
    m_sStringValue.ReleaseBuffer(nLength);
}
