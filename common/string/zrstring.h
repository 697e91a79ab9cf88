// CZRString: the byte string of the whole library. Deep-copying, never shared; the
// capacity is exactly the longest text the string has needed and never shrinks, and
// only destruction (or FreeBuffer) gives the block back. A string that never held text
// has no block at all and its GetString() is null; one emptied later keeps its block
// and GetString() points at a NUL. Positions and lengths are bytes. A failed check (a
// broken precondition) ends the process through Debug_Assert. One thread at a time;
// Format is safe from several threads on different strings.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "common/kernel/api.h"

// The block description of a CZRString: its text, length, capacity and lend count.
struct sStringData
{
    int m_nRefs;         // 0 no block, 1 own block, +1 for each GetBuffer not yet released
    int m_nStringLength; // bytes of text in front of the terminator
    int m_nAllocLength;  // capacity, terminator not counted
    char * m_pchData;    // the block of m_nAllocLength + 1 bytes, or null
};

class COMMON_API CZRString
{
public:
    // An empty string without a block.
    CZRString();
    // A copy of the text; null or empty text gives a string without a block.
    CZRString(char const * szString);
    // A deep copy with a block of its own.
    CZRString(CZRString const & sOther);
    // nCount copies of cChar; a count below 1 gives an empty string.
    CZRString(char cChar, int nCount);
    virtual ~CZRString();

    // Copies the other's text; the capacity grows to fit and never shrinks.
    CZRString const & operator=(CZRString const & sOther);
    // Null assigns empty text.
    CZRString const & operator=(char const * szString);
    // The string becomes that one character; the NUL character empties it.
    CZRString const & operator=(char cChar);

    // Appends the other's text, NUL bytes in it included.
    CZRString const & operator+=(CZRString const & sOther);
    // Appends the text; null is a failed check.
    CZRString const & operator+=(char const * szString);
    // Appends one byte; the NUL character too, which lengthens the string by one.
    CZRString const & operator+=(char cChar);

    // The block itself: null for a string that never had a block.
    char const * GetString() const { return m_sData.m_pchData; }
    // The same as GetString: null for a string that never had a block.
    operator char const *() const { return m_sData.m_pchData; }
    // Bytes of text, from the stored length.
    std::int32_t GetLength() const { return m_sData.m_nStringLength; }
    // True when the length is 0, with or without a block.
    bool IsEmpty() const { return m_sData.m_nStringLength == 0; }
    // The byte at nIndex; an index outside the text is a failed check.
    char GetAt(int nIndex) const;
    // The same as GetAt; gives a copy, no write goes through it.
    char operator[](int nIndex) const;
    // Overwrites the byte at nIndex; an index outside the text is a failed check.
    void SetAt(int nIndex, char cChar);
    // The string's block description, to read only.
    sStringData const * GetData() const { return &m_sData; }

    // Lends the block with a capacity of at least nMinLength + 1; when it has to grow,
    // the old text is gone. Nothing but ReleaseBuffer may touch the string meanwhile.
    char * GetBuffer(int nMinLength);
    // Ends a loan: -1 takes the length of the terminated text in the block.
    void ReleaseBuffer(int nNewLength = -1);

    // Length 0, block kept.
    void Empty();
    // Lower case in place (ASCII letters); length and capacity stay.
    void MakeLower();
    // Upper case in place (ASCII letters); length and capacity stay.
    void MakeUpper();
    // Reverses the bytes in place.
    void MakeReverse();
    // Replaces every cOld by cNew; returns how many were replaced.
    int Replace(char cOld, char cNew);
    // printf into a 1024-byte buffer shared under the library-wide mutex; a text of
    // 1024 bytes or more is cut to 1023. Arguments may point into this string.
    void Format(char const * szFormat, ...) __attribute__((format(printf, 2, 3)));
    // Format with an argument list.
    void FormatV(char const * szFormat, va_list pArgs);

    // The first nCount bytes; a negative count gives an empty string, a count beyond
    // the length the whole string.
    CZRString Left(int nCount) const;
    // The last nCount bytes, by the same rules as Left.
    CZRString Right(int nCount) const;
    // From nFirst to the end; empty when nFirst is at or behind the length.
    CZRString Mid(int nFirst) const;
    // nCount bytes from nFirst, cut at the end of the text; a negative nFirst counts
    // from 0 with nCount unchanged ("abc".Mid(-2, 2) is "ab").
    CZRString Mid(int nFirst, int nCount) const;

    // Byte positions, or -1.
    // First cCharToSearch at or behind nStartPos; a negative start or the NUL character
    // is a failed check.
    int Find(char cCharToSearch, int nStartPos = 0) const;
    // First occurrence of the text at or behind nStartPos; an empty text gives -1, a
    // negative start or a null text is a failed check.
    int Find(char const * szSubStringToSearch, int nStartPos = 0) const;
    // Last occurrence of the byte.
    int ReverseFind(char cCharToSearch) const;
    // First byte that is in the set; a null set is a failed check.
    int FindOneOf(char const * szCharSet) const;
    // Last byte that is in the set; a null set is a failed check.
    int ReverseFindOneOf(char const * szCharSet) const;

    // A null argument and a string without a block compare as empty text.
    // Byte order, as STR_strcmp: below 0, 0 or above 0.
    int Compare(char const * szOther) const;
    // As Compare with the ASCII letters folded; szOther must not be null.
    int CompareNoCase(char const * szOther) const;
    // The order of the current locale; szOther must not be null.
    int Collate(char const * szOther) const;
    // The case-blind order; szOther must not be null.
    int CollateNoCase(char const * szOther) const;

    // Conversions of the leading number; an empty string gives 0 without parsing.
    // The leading integer in base nBase, as STR_strtol; text behind it is ignored.
    int ToInt(int nBase = 10) const;
    // The same as ToInt.
    std::int32_t ToLong(int nBase = 10) const;
    // The leading unsigned integer in base nBase, as STR_strtoul.
    unsigned int ToUint(int nBase = 10) const;
    // The same as ToUint.
    std::uint32_t ToUlong(int nBase = 10) const;
    // The leading number, as STR_strtod, narrowed to float.
    float ToFloat() const;
    // The leading number, as STR_strtod.
    double ToDouble() const;
    // "1" and "TRUE" in any case are true; everything else is false.
    bool ToBool() const;

    // A new string of the left text followed by the right one.
    friend CZRString operator+(CZRString const & sLeft, CZRString const & sRight);
    // The left text followed by one byte.
    friend CZRString operator+(CZRString const & sLeft, char cRight);
    // One byte followed by the right text.
    friend CZRString operator+(char cLeft, CZRString const & sRight);
    // The left text followed by szRight; null counts as empty text.
    friend CZRString operator+(CZRString const & sLeft, char const * szRight);

private:
    void Init();
    char * Alloc(int nLength);
    void AllocBuffer(int nLength);
    void FreeBuffer();
    void GrowBufferIfNeeded(int nLength);
    void AssignCopy(int nSrcLen, char const * szSrcData);
    void ConcatCopy(int nSrc1Len, char const * szSrc1Data, int nSrc2Len, char const * szSrc2Data);
    void ConcatInPlace(int nSrcLen, char const * szSrcData);
    static int GetSafeStringLength(char const * szString);
    void AssignPart(char const * szPart, int nCount);

    sStringData m_sData;
};

// The concatenations build a new string from the left operand, then the right one.
// They live in the header so that no symbol of their own has to be exported.
inline CZRString operator+(CZRString const & sLeft, CZRString const & sRight)
{
    CZRString sResult;
    sResult.ConcatCopy(sLeft.m_sData.m_nStringLength, sLeft.m_sData.m_pchData,
                       sRight.m_sData.m_nStringLength, sRight.m_sData.m_pchData);
    return sResult;
}

// The left text followed by one byte.
inline CZRString operator+(CZRString const & sLeft, char cRight)
{
    CZRString sResult;
    sResult.ConcatCopy(sLeft.m_sData.m_nStringLength, sLeft.m_sData.m_pchData, 1, &cRight);
    return sResult;
}

// One byte followed by the right text.
inline CZRString operator+(char cLeft, CZRString const & sRight)
{
    CZRString sResult;
    sResult.ConcatCopy(1, &cLeft, sRight.m_sData.m_nStringLength, sRight.m_sData.m_pchData);
    return sResult;
}

// The left text followed by szRight; null counts as empty text.
inline CZRString operator+(CZRString const & sLeft, char const * szRight)
{
    CZRString sResult;
    sResult.ConcatCopy(sLeft.m_sData.m_nStringLength, sLeft.m_sData.m_pchData,
                       CZRString::GetSafeStringLength(szRight), szRight);
    return sResult;
}
