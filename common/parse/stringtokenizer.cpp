#include "common/parse/stringtokenizer.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>

#include "common/kernel/check.h"

static char const s_szSourceFile[] = "common/parse/stringtokenizer";

// ScanToken's answer when it has skipped a comment; never a token of its own.
static int const s_nCommentSkipped = -1000000;

// How many continuations after a comment may nest through the virtual GetNextToken.
// Beyond that the scan goes on in the innermost call, so that a text of nothing but
// comments cannot exhaust the stack; a derived class still sees every token that
// follows a comment in its own GetNextToken.
static int const s_nMaxContinuationDepth = 32;

// What a character of a class starts, the class bits tested in their order: a digit
// wins over every other bit, a word character over a comment character, and so on.
enum eScan
{
    SCAN_ORDINARY,
    SCAN_NUMBER,
    SCAN_WORD,
    SCAN_COMMENT,
    SCAN_QUOTED
};

static constexpr unsigned char ScanOfClass(int nType)
{
    return (nType & CT_DIGIT)     ? SCAN_NUMBER
           : (nType & CT_ALPHA)   ? SCAN_WORD
           : (nType & CT_COMMENT) ? SCAN_COMMENT
           : (nType & CT_QUOTE)   ? SCAN_QUOTED
                                  : SCAN_ORDINARY;
}

static constexpr unsigned char s_aucScanOfClass[32] = {
    ScanOfClass(0),  ScanOfClass(1),  ScanOfClass(2),  ScanOfClass(3),  ScanOfClass(4),
    ScanOfClass(5),  ScanOfClass(6),  ScanOfClass(7),  ScanOfClass(8),  ScanOfClass(9),
    ScanOfClass(10), ScanOfClass(11), ScanOfClass(12), ScanOfClass(13), ScanOfClass(14),
    ScanOfClass(15), ScanOfClass(16), ScanOfClass(17), ScanOfClass(18), ScanOfClass(19),
    ScanOfClass(20), ScanOfClass(21), ScanOfClass(22), ScanOfClass(23), ScanOfClass(24),
    ScanOfClass(25), ScanOfClass(26), ScanOfClass(27), ScanOfClass(28), ScanOfClass(29),
    ScanOfClass(30), ScanOfClass(31)};

// The peek character that stands for "nothing read ahead": the next scan begins by
// reading a character. The blank would serve only while it is white space; with this
// value a table that makes the blank ordinary cannot conjure up blank tokens forever.
static int const s_nReadNext = -2;

// The peek character that stands for "the byte at the reading point, read": a scan that
// ends on a following byte leaves it in the text, where the next scan reads it in the
// same way as a byte still to be read. Outside a scan the reading point counts as one
// further (GetPosInString, the counters); SetPosInString makes the byte a real peek
// character first.
static int const s_nPeekAtPos = -3;

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
      m_nTokenType(TT_EOF), m_nTabSize(4), m_bStartOfLine(true), m_nContinuationDepth(0),
      m_nCountedPos(0)
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
    // What was read so far counts with the old size.
    CountReadBytes();
    m_nTabSize = nTabSize;
}

void CStringTokenizer::Rewind()
{
    m_nLineNumber = 1;
    StartOfLine();
    m_bPushedBack = false;
    m_nPosInString = 0;
    m_nCountedPos = 0;
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

// Builds a token's text in the block of the string value, which keeps its capacity from
// token to token, so that a scan allocates nothing once the block is large enough. A
// text that gets no byte leaves the value as it was, emptied by the scan.
class CTokenTextWriter
{
public:
    explicit CTokenTextWriter(CZRString & sValue)
        : m_sValue(sValue), m_pBuffer(nullptr), m_nLength(0), m_nCapacity(0)
    {
    }

    void Append(int nChar)
    {
        if (m_nLength == m_nCapacity)
            Grow(1);
        m_pBuffer[m_nLength++] = static_cast<char>(nChar);
    }

    void Append(unsigned char const * pBytes, int nCount)
    {
        if (nCount == 0)
            return;
        if (m_nCapacity - m_nLength < nCount)
            Grow(nCount);
        std::memcpy(m_pBuffer + m_nLength, pBytes, static_cast<std::size_t>(nCount));
        m_nLength += nCount;
    }

    void Finish()
    {
        if (m_pBuffer != nullptr)
            m_sValue.ReleaseBuffer(m_nLength);
        m_pBuffer = nullptr;
    }

private:
    // A larger block drops the old text, which is carried over here.
    void Grow(int nMore)
    {
        std::int64_t llCapacity = 2 * static_cast<std::int64_t>(m_nCapacity);
        if (llCapacity < 64)
            llCapacity = 64;
        if (llCapacity < static_cast<std::int64_t>(m_nLength) + nMore)
            llCapacity = static_cast<std::int64_t>(m_nLength) + nMore;
        if (llCapacity > INT_MAX - 2)
            llCapacity = INT_MAX - 2;
        std::string sKept;
        if (m_pBuffer != nullptr)
        {
            sKept.assign(m_pBuffer, static_cast<std::size_t>(m_nLength));
            m_sValue.ReleaseBuffer(m_nLength);
        }
        m_pBuffer = m_sValue.GetBuffer(static_cast<int>(llCapacity));
        m_nCapacity = m_sValue.GetData()->m_nAllocLength;
        std::memcpy(m_pBuffer, sKept.data(), sKept.size());
    }

    CZRString & m_sValue;
    char * m_pBuffer;
    int m_nLength;
    int m_nCapacity;
};

// Returns the next byte as 0..255, or -1 for the end marker. Only the last byte of the
// held copy is the marker, so that a byte 0xFF of the text itself is read as text.
// Line and column are counted when asked for (CountReadBytes), not here.
// Inline (and so hidden) keeps the per-byte calls off the shared library's call table.
inline int CStringTokenizer::GetChar()
{
    int const nPos = m_nPosInString;
    int nChar = -1;
    if (static_cast<unsigned int>(nPos) < static_cast<unsigned int>(Marker()))
        nChar = Text()[nPos];
    else if (nPos != Marker())
        static_cast<void>(m_sOriginalString.GetAt(nPos)); // a position outside the copy fails here
    m_nPosInString = nPos + 1;
    return nChar;
}

inline int CStringTokenizer::GetCharType(int nChar) const
{
    if (nChar >= 256)
        return CT_ALPHA;
    return m_acCharType[nChar];
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

// The scans below read runs of bytes by index, with the reading point in a local, and
// store it once behind the run. They read from here only while the reading point lies in
// the copy, marker included; elsewhere GetChar reads, and fails.
inline unsigned char const * CStringTokenizer::Text() const
{
    return reinterpret_cast<unsigned char const *>(m_sOriginalString.GetString());
}

inline int CStringTokenizer::Marker() const
{
    return m_sOriginalString.GetLength() - 1;
}

inline bool CStringTokenizer::IsInCopy(int nPos) const
{
    return static_cast<unsigned int>(nPos) <= static_cast<unsigned int>(Marker());
}

// Reads the byte at nPos, a position in the copy, as GetChar would, and puts the reading
// point behind it.
inline int CStringTokenizer::TakeAt(int nPos)
{
    m_nPosInString = nPos + 1;
    return nPos < Marker() ? Text()[nPos] : -1;
}

// Ends a scan on the byte at nPos, a position in the copy: it counts as read, and the
// next scan begins with it.
inline void CStringTokenizer::PeekAt(int nPos)
{
    m_nPosInString = nPos;
    m_nPeekChar = s_nPeekAtPos;
}

// The reading point as the caller sees it.
int CStringTokenizer::GetPosInString() const
{
    return m_nPeekChar == s_nPeekAtPos ? m_nPosInString + 1 : m_nPosInString;
}

// Reads the byte that a scan left at the reading point into the peek character.
void CStringTokenizer::TakePeekChar()
{
    if (m_nPeekChar == s_nPeekAtPos)
        m_nPeekChar = TakeAt(m_nPosInString);
}

// Line, column and start of line follow every byte read, in the order read. Scanning
// only moves the reading point; the bytes read since the counters were last brought up
// to date, the copy from m_nCountedPos up to the reading point, are counted here when
// the counters are asked for, or before anything moves the reading point other than by
// reading on. The marker counts as any byte but a tab or a line feed.
void CStringTokenizer::CountReadBytes() const
{
    int const nFrom = m_nCountedPos;
    int const nTo = GetPosInString();
    if (nFrom >= nTo)
        return;
    m_nCountedPos = nTo;
    unsigned char const * const pText = Text();
    unsigned int uColumn = static_cast<unsigned int>(m_nColumnNumber);
    unsigned int const uTabSize = static_cast<unsigned int>(m_nTabSize);
    int nLine = m_nLineNumber;
    unsigned char ucLast = 0;
    // Unsigned arithmetic: with a huge tab size the column wraps instead of overflowing.
    for (int nPos = nFrom; nPos < nTo; ++nPos)
    {
        ucLast = pText[nPos];
        if (ucLast == 9)
        {
            uColumn += uTabSize - uColumn % uTabSize;
        }
        else if (ucLast == 10)
        {
            ++nLine;
            uColumn = 1;
        }
        else
        {
            ++uColumn;
        }
    }
    m_nColumnNumber = static_cast<int>(uColumn);
    m_nLineNumber = nLine;
    m_bStartOfLine = ucLast == 10;
}

int CStringTokenizer::GetLineNumber() const
{
    CountReadBytes();
    return m_nLineNumber;
}

int CStringTokenizer::GetColumnNumber() const
{
    CountReadBytes();
    return m_nColumnNumber;
}

bool CStringTokenizer::IsStartOfLine() const
{
    CountReadBytes();
    return m_bStartOfLine;
}

void CStringTokenizer::SetPosInString(int nPos)
{
    CountReadBytes();
    TakePeekChar();
    m_nPosInString = nPos;
    m_nCountedPos = nPos;
}

// The first position from nPos on, below nEnd, whose byte is one of the four given, or
// nEnd. Eight bytes are looked at together while none of them is a stop (zero bytes of
// the copy xor'ed with each stop), then one by one; any byte order will do.
static int FindFirstOf(unsigned char const * pText, int nPos, int nEnd, unsigned char ucStop1,
                       unsigned char ucStop2, unsigned char ucStop3, unsigned char ucStop4)
{
    std::uint64_t const ullOnes = 0x0101010101010101ull;
    std::uint64_t const ullHighs = 0x8080808080808080ull;
    std::uint64_t const ullStop1 = ucStop1 * ullOnes;
    std::uint64_t const ullStop2 = ucStop2 * ullOnes;
    std::uint64_t const ullStop3 = ucStop3 * ullOnes;
    std::uint64_t const ullStop4 = ucStop4 * ullOnes;
    while (nEnd - nPos >= 8)
    {
        std::uint64_t ullBytes;
        std::memcpy(&ullBytes, pText + nPos, sizeof(ullBytes));
        std::uint64_t const ull1 = ullBytes ^ ullStop1;
        std::uint64_t const ull2 = ullBytes ^ ullStop2;
        std::uint64_t const ull3 = ullBytes ^ ullStop3;
        std::uint64_t const ull4 = ullBytes ^ ullStop4;
        std::uint64_t const ullZero = ((ull1 - ullOnes) & ~ull1) | ((ull2 - ullOnes) & ~ull2) |
                                      ((ull3 - ullOnes) & ~ull3) | ((ull4 - ullOnes) & ~ull4);
        if ((ullZero & ullHighs) != 0)
            break;
        nPos += 8;
    }
    while (nPos < nEnd && pText[nPos] != ucStop1 && pText[nPos] != ucStop2 &&
           pText[nPos] != ucStop3 && pText[nPos] != ucStop4)
        ++nPos;
    return nPos;
}

// Reads on until a byte read is one of the two given or the marker; returns that byte.
int CStringTokenizer::ReadUntil(int nStop1, int nStop2)
{
    int const nFrom = m_nPosInString;
    if (!IsInCopy(nFrom))
        return GetChar();
    unsigned char const ucStop1 = static_cast<unsigned char>(nStop1);
    unsigned char const ucStop2 = static_cast<unsigned char>(nStop2);
    return TakeAt(FindFirstOf(Text(), nFrom, Marker(), ucStop1, ucStop2, ucStop1, ucStop2));
}

// The text of the previous token is dropped where a token is decided (a word
// overwrites it), so that a run of words costs no extra call.
inline void CStringTokenizer::ClearValue()
{
    if (!m_sStringValue.IsEmpty())
        m_sStringValue.Empty();
}

// One scan from the peek character: a token, or s_nCommentSkipped with the peek
// character set for the scan behind the comment.
int CStringTokenizer::ScanToken()
{
    int nChar = m_nPeekChar;
    m_dNumValue = 0.0;
    int nPos = m_nPosInString;
    if (nChar != -1 && IsInCopy(nPos))
    {
        // Plain white space, all but a carriage return and a significant line feed, is
        // passed over with the reading point in a local.
        unsigned char const * const pText = Text();
        int const nMarker = Marker();
        int const nLineFeed = m_bEOLIsSignificant ? 10 : 13;
        if (nChar < -1)
            nChar = nPos < nMarker ? pText[nPos++] : (++nPos, -1);
        while (nChar >= 0 && (m_acCharType[nChar] & CT_WHITESPACE) != 0 && nChar != 13 &&
               nChar != nLineFeed)
            nChar = nPos < nMarker ? pText[nPos++] : (++nPos, -1);
        m_nPosInString = nPos;
    }
    else if (nChar < -1)
    {
        nChar = GetChar();
    }
    if (nChar < 0)
        return EndOfInput();
    if (GetCharType(nChar) & CT_WHITESPACE)
        return ScanAfterLineEnd(nChar);
    return ScanFrom(nChar);
}

// The white space step from a carriage return or a significant line feed (or from any
// white space where the reading point lies outside the copy), then the token behind it.
int CStringTokenizer::ScanAfterLineEnd(int nChar)
{
    while (GetCharType(nChar) & CT_WHITESPACE)
    {
        if (nChar == 13)
        {
            nChar = GetChar();
            if (nChar == 10)
                nChar = GetChar();
            if (m_bEOLIsSignificant)
            {
                ClearValue();
                m_nPeekChar = nChar;
                return m_nTokenType = TT_EOL;
            }
        }
        else if (nChar == 10 && m_bEOLIsSignificant)
        {
            ClearValue();
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
    return ScanFrom(nChar);
}

// The token that begins with nChar, a byte that is no white space.
inline int CStringTokenizer::ScanFrom(int nChar)
{
    // One jump on the class, in place of a test per class bit, each of which a text that
    // mixes its tokens would see go either way.
    switch (s_aucScanOfClass[GetCharType(nChar) & 31])
    {
        case SCAN_NUMBER:
            return ScanNumber(nChar);
        case SCAN_WORD:
            return ScanWord(nChar);
        case SCAN_COMMENT:
            return SkipToLineEnd();
        case SCAN_QUOTED:
            if (m_bAllowStringHandling)
                return ScanQuotedString(nChar);
            break;
        default:
            break;
    }
    if (nChar == '{' || nChar == '/' || nChar == ';')
        return ScanOpeningChar(nChar);
    ClearValue();
    m_nPeekChar = s_nReadNext;
    return m_nTokenType = nChar;
}

// A character that may open a comment or a text block, as the switches say.
int CStringTokenizer::ScanOpeningChar(int nChar)
{
    if (nChar == '{' && m_bAllowPascalComments)
        return SkipPascalComment();
    if (nChar == '/' && (m_bAllowSlashSlashComments || m_bAllowSlashStarComments))
    {
        nChar = GetChar();
        if (nChar == '*' && m_bAllowSlashStarComments)
            return SkipSlashStarComment();
        if (nChar == '/' && m_bAllowSlashSlashComments)
            return SkipToLineEnd();
        ClearValue();
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
        ClearValue();
        m_nPeekChar = nChar;
        return m_nTokenType = '{';
    }
    ClearValue();
    m_nPeekChar = s_nReadNext;
    return m_nTokenType = nChar;
}

// The end of input is final: the peek character stays below zero until Rewind, so
// that no later scan reads past the end marker.
int CStringTokenizer::EndOfInput()
{
    ClearValue();
    m_nPeekChar = -1;
    return m_nTokenType = TT_EOF;
}

int CStringTokenizer::ScanNumber(int nChar)
{
    double dValue = nChar - '0';
    int nFractionDigits = 0;
    bool bPoint = false;
    // Digits and one point hold no tab and no line feed: the run is counted at once, and
    // the byte that ends it is read as any.
    int nPos = m_nPosInString;
    if (IsInCopy(nPos))
    {
        unsigned char const * const pText = Text();
        int const nMarker = Marker();
        for (; nPos < nMarker; ++nPos)
        {
            int const nDigit = pText[nPos];
            if (nDigit >= '0' && nDigit <= '9')
            {
                dValue = dValue * 10.0 + (nDigit - '0');
                if (bPoint)
                    ++nFractionDigits;
            }
            else if (nDigit != '.' || bPoint)
            {
                break;
            }
            else
            {
                bPoint = true;
            }
        }
        PeekAt(nPos);
    }
    else
    {
        m_nPeekChar = GetChar();
    }

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
        // is read again by the next scan, and counted again.
        CountReadBytes();
        TakePeekChar();
        --m_nPosInString;
        m_nCountedPos = m_nPosInString;
        m_nPeekChar = '.';
        bPoint = false;
    }
    ClearValue();
    m_dNumValue = dValue;
    return m_nTokenType = bPoint ? TT_FLOAT : TT_NUMBER;
}

static int const s_nWideCopy = 16;

// Sets the string value to nLength bytes of the copy from nFrom on. The bytes are copied
// 16 at a time where the copy and the value's block hold the rounded-up length: a copy of
// one shape whatever the length, then cut to the length.
inline void CStringTokenizer::SetValueFromCopy(int nFrom, int nLength)
{
    if (nLength == 0)
    {
        ClearValue();
        return;
    }
    char const * const pFrom = m_sOriginalString.GetString() + nFrom;
    int const nWide = (nLength + s_nWideCopy - 1) & ~(s_nWideCopy - 1);
    // The copy's block holds its text and the terminator.
    if (nWide <= m_sOriginalString.GetLength() + 1 - nFrom)
    {
        char * const pBuffer = m_sStringValue.GetBuffer(nWide);
        for (int nDone = 0; nDone < nWide; nDone += s_nWideCopy)
            std::memcpy(pBuffer + nDone, pFrom + nDone, s_nWideCopy);
    }
    else
    {
        std::memcpy(m_sStringValue.GetBuffer(nLength), pFrom, static_cast<std::size_t>(nLength));
    }
    m_sStringValue.ReleaseBuffer(nLength);
}

int CStringTokenizer::ScanWord(int nChar)
{
    // Behind its first character a word is the run of bytes read from here on.
    int const nRestStart = m_nPosInString;
    if (!IsInCopy(nRestStart))
    {
        m_nPeekChar = GetChar();
        m_sStringValue = static_cast<char>(nChar);
    }
    else
    {
        unsigned char const * const pText = Text();
        int const nMarker = Marker();
        int nRestEnd = nRestStart;
        while (nRestEnd < nMarker && (m_acCharType[pText[nRestEnd]] & (CT_DIGIT | CT_ALPHA)) != 0)
            ++nRestEnd;
        PeekAt(nRestEnd);
        // The first character stands in front of the rest unless the reading point was
        // moved since it was read.
        if (nRestStart > 0 && pText[nRestStart - 1] == nChar)
        {
            SetValueFromCopy(nRestStart - 1, nRestEnd - nRestStart + 1);
        }
        else
        {
            int const nRestLength = nRestEnd - nRestStart;
            char * const pBuffer = m_sStringValue.GetBuffer(1 + nRestLength);
            pBuffer[0] = static_cast<char>(nChar);
            std::memcpy(pBuffer + 1, pText + nRestStart, static_cast<std::size_t>(nRestLength));
            m_sStringValue.ReleaseBuffer(1 + nRestLength);
        }
    }
    if (m_bForceLowerCaseMode)
        m_sStringValue.MakeLower();
    return m_nTokenType = TT_WORD;
}

int CStringTokenizer::ScanQuotedString(int nQuote)
{
    m_nTokenType = nQuote;
    m_nPeekChar = s_nReadNext;
    int const nFrom = m_nPosInString;
    if (!IsInCopy(nFrom))
    {
        // Nothing can be read here: the string is over.
        ClearValue();
        GetChar();
        m_nPeekChar = -1;
        return m_nTokenType;
    }
    unsigned char const * const pText = Text();
    int const nMarker = Marker();
    unsigned char const ucQuote = static_cast<unsigned char>(nQuote);
    // The quote is tested before the backslash: a backslash that is the quote closes.
    int nPos = FindFirstOf(pText, nFrom, nMarker, ucQuote, '\\', 10, 13);
    if (nPos == nMarker || pText[nPos] != '\\' || ucQuote == '\\')
    {
        // No escape: the text is one piece of the copy.
        SetValueFromCopy(nFrom, nPos - nFrom);
        if (nPos == nMarker)
            m_nPeekChar = -1;
        m_nPosInString = nPos + 1;
        return m_nTokenType;
    }
    ClearValue();
    CTokenTextWriter Writer(m_sStringValue);
    int nRunStart = nFrom;
    for (;;)
    {
        // The bytes up to the one at nPos, which ends the string or starts an escape, go
        // into the text as they are.
        Writer.Append(pText + nRunStart, nPos - nRunStart);
        if (nPos == nMarker)
        {
            ++nPos;
            m_nPeekChar = -1;
            break;
        }
        if (pText[nPos] != '\\' || ucQuote == '\\')
        {
            ++nPos;
            break;
        }
        ++nPos;
        if (!ScanEscape(nPos, Writer))
            break;
        nRunStart = nPos;
        nPos = FindFirstOf(pText, nPos, nMarker, ucQuote, '\\', 10, 13);
    }
    Writer.Finish();
    m_nPosInString = nPos;
    return m_nTokenType;
}

// Reads the byte behind a backslash at nPos, and what belongs to its escape, and
// appends what they stand for; false when the string is over.
bool CStringTokenizer::ScanEscape(int & nPos, CTokenTextWriter & Writer)
{
    int nChar = nPos < Marker() ? Text()[nPos] : -1;
    ++nPos;
    switch (nChar)
    {
        case -1:
            m_nPeekChar = -1;
            return false;
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
            return ScanOctalEscape(nChar - '0', nPos, Writer);
        default:
            break;
    }
    Writer.Append(nChar);
    return true;
}

// Reads the rest of an octal escape whose first digit is read, from nPos on, and appends
// its byte and whatever ended it; false when the string is over.
bool CStringTokenizer::ScanOctalEscape(int nFirstDigit, int & nPos, CTokenTextWriter & Writer)
{
    unsigned char const * const pText = Text();
    int const nMarker = Marker();
    int nValue = nFirstDigit;
    for (int nDigits = 1;; ++nDigits)
    {
        int const nChar = nPos < nMarker ? pText[nPos] : -1;
        ++nPos;
        if (nChar < 0)
        {
            // The escape's value is kept; nothing is appended for the end marker.
            Writer.Append(nValue & 0xFF);
            m_nPeekChar = -1;
            return false;
        }
        if (m_acCharType[nChar] & CT_QUOTE)
        {
            Writer.Append(nValue & 0xFF);
            return false;
        }
        if (nChar < '0' || nChar > '7')
        {
            Writer.Append(nValue & 0xFF);
            Writer.Append(nChar);
            return true;
        }
        nValue = nValue * 8 + (nChar - '0');
        if (nDigits == 2)
        {
            Writer.Append(nValue & 0xFF);
            return true;
        }
    }
}

// The opening "{!" is read. Leading white space always stays in the text, also when
// the caller has declared '!' white space. Every byte up to the closing "!}" is text as
// it stands, a '!' and the byte behind it included, so that the text is one piece of the
// copy once the close is found.
int CStringTokenizer::ScanTextBlock()
{
    ClearValue();
    int const nFrom = m_nPosInString;
    if (!IsInCopy(nFrom))
    {
        GetChar();
        return EndOfInput();
    }
    unsigned char const * const pText = Text();
    int const nMarker = Marker();
    int nPos = nFrom;
    for (;;)
    {
        while (nPos < nMarker && pText[nPos] != '!')
            ++nPos;
        // The marker, or a '!' with the marker behind it: the input ends in the block.
        if (nPos >= nMarker - 1)
        {
            m_nPosInString = nMarker + 1;
            return EndOfInput();
        }
        if (pText[nPos + 1] == '}')
            break;
        nPos += 2;
    }
    m_nPosInString = nPos + 2;

    int nEnd = nPos;
    while (nEnd > nFrom && m_acCharType[pText[nEnd - 1]] == CT_WHITESPACE)
        --nEnd;
    int const nLength = nEnd - nFrom;
    if (nLength > 0)
    {
        char * pBuffer = m_sStringValue.GetBuffer(nLength);
        std::memcpy(pBuffer, pText + nFrom, static_cast<std::size_t>(nLength));
        m_sStringValue.ReleaseBuffer(nLength);
    }
    m_nPeekChar = s_nReadNext;
    return m_nTokenType = TT_TEXT;
}

// The rest of a line comment; the byte that ends it starts the next scan, so that a
// significant line end behind the comment is still delivered.
int CStringTokenizer::SkipToLineEnd()
{
    int const nFrom = m_nPosInString;
    if (!IsInCopy(nFrom))
        m_nPeekChar = GetChar();
    else
        PeekAt(FindFirstOf(Text(), nFrom, Marker(), 10, 13, 10, 13));
    return s_nCommentSkipped;
}

int CStringTokenizer::SkipPascalComment()
{
    if (ReadUntil('}', '}') < 0)
        return EndOfInput();
    m_nPeekChar = s_nReadNext;
    return s_nCommentSkipped;
}

int CStringTokenizer::SkipSlashStarComment()
{
    // The '*' of the opening pair doesn't count: the closing '*' is read after it.
    int const nFrom = m_nPosInString;
    if (!IsInCopy(nFrom))
    {
        GetChar();
        return EndOfInput();
    }
    unsigned char const * const pText = Text();
    int const nMarker = Marker();
    int nPos = nFrom;
    for (;;)
    {
        while (nPos < nMarker && pText[nPos] != '/')
            ++nPos;
        if (nPos == nMarker)
        {
            m_nPosInString = nMarker + 1;
            return EndOfInput();
        }
        ++nPos;
        if (nPos - 1 > nFrom && pText[nPos - 2] == '*')
            break;
    }
    m_nPosInString = nPos;
    m_nPeekChar = s_nReadNext;
    return s_nCommentSkipped;
}
