// CZRString: the byte string of the whole library. Deep-copying, never shared; the
// capacity is exactly the longest text the string has needed and never shrinks, and
// only destruction (or FreeBuffer) gives the block back. A string that never held text
// has no block at all and its GetString() is null; one emptied later keeps its block
// and GetString() points at a NUL. Positions and lengths are bytes. One thread at a
// time; Format is safe from several threads on different strings.
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
    CZRString();
    CZRString(char const * szString);
    CZRString(CZRString const & sOther);
    // nCount copies of cChar; a count below 1 gives an empty string.
    CZRString(char cChar, int nCount);
    virtual ~CZRString();

    CZRString const & operator=(CZRString const & sOther);
    // Null assigns empty text.
    CZRString const & operator=(char const * szString);
    // The string becomes that one character; the NUL character empties it.
    CZRString const & operator=(char cChar);

    CZRString const & operator+=(CZRString const & sOther);
    CZRString const & operator+=(char const * szString);
    CZRString const & operator+=(char cChar);

    // The block itself: null for a string that never had a block.
    char const * GetString() const { return m_sData.m_pchData; }
    operator char const *() const { return m_sData.m_pchData; }
    std::int32_t GetLength() const { return m_sData.m_nStringLength; }
    bool IsEmpty() const { return m_sData.m_nStringLength == 0; }
    char GetAt(int nIndex) const;
    char operator[](int nIndex) const;
    void SetAt(int nIndex, char cChar);
    sStringData const * GetData() const { return &m_sData; }

    // Lends the block with a capacity of at least nMinLength + 1; when it has to grow,
    // the old text is gone. Nothing but ReleaseBuffer may touch the string meanwhile.
    char * GetBuffer(int nMinLength);
    // Ends a loan: -1 takes the length of the terminated text in the block.
    void ReleaseBuffer(int nNewLength = -1);

    // Length 0, block kept.
    void Empty();
    void MakeLower();
    void MakeUpper();
    void MakeReverse();
    // Replaces every cOld by cNew; returns how many were replaced.
    int Replace(char cOld, char cNew);
    // printf into a 1024-byte buffer shared under the library-wide mutex; a text of
    // 1024 bytes or more is cut to 1023. Arguments may point into this string.
    void Format(char const * szFormat, ...) __attribute__((format(printf, 2, 3)));
    void FormatV(char const * szFormat, va_list pArgs);

    CZRString Left(int nCount) const;
    CZRString Right(int nCount) const;
    CZRString Mid(int nFirst) const;
    CZRString Mid(int nFirst, int nCount) const;

    // Byte positions, or -1.
    int Find(char cCharToSearch, int nStartPos = 0) const;
    int Find(char const * szSubStringToSearch, int nStartPos = 0) const;
    int ReverseFind(char cCharToSearch) const;
    int FindOneOf(char const * szCharSet) const;
    int ReverseFindOneOf(char const * szCharSet) const;

    // A null argument and a string without a block compare as empty text.
    int Compare(char const * szOther) const;
    int CompareNoCase(char const * szOther) const;
    int Collate(char const * szOther) const;
    int CollateNoCase(char const * szOther) const;

    // Conversions of the leading number; an empty string gives 0 without parsing.
    int ToInt(int nBase = 10) const;
    std::int32_t ToLong(int nBase = 10) const;
    unsigned int ToUint(int nBase = 10) const;
    std::uint32_t ToUlong(int nBase = 10) const;
    float ToFloat() const;
    double ToDouble() const;
    // "1" and "TRUE" in any case are true; everything else is false.
    bool ToBool() const;

    friend CZRString operator+(CZRString const & sLeft, CZRString const & sRight);
    friend CZRString operator+(CZRString const & sLeft, char cRight);
    friend CZRString operator+(char cLeft, CZRString const & sRight);
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

inline CZRString operator+(CZRString const & sLeft, char cRight)
{
    CZRString sResult;
    sResult.ConcatCopy(sLeft.m_sData.m_nStringLength, sLeft.m_sData.m_pchData, 1, &cRight);
    return sResult;
}

inline CZRString operator+(char cLeft, CZRString const & sRight)
{
    CZRString sResult;
    sResult.ConcatCopy(1, &cLeft, sRight.m_sData.m_nStringLength, sRight.m_sData.m_pchData);
    return sResult;
}

inline CZRString operator+(CZRString const & sLeft, char const * szRight)
{
    CZRString sResult;
    sResult.ConcatCopy(sLeft.m_sData.m_nStringLength, sLeft.m_sData.m_pchData,
                       CZRString::GetSafeStringLength(szRight), szRight);
    return sResult;
}
