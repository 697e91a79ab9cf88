// CZRProperty: the tagged value of the property system, nothing or one bool, int, long,
// float or string. It converts nothing: each getter checks the type and a wrong one is
// a failed check, so values from outside are tested with GetType or IsOfType first.
// Int, long and bool share one 32-bit member; SetType changes only the tag. Its stored
// form is a 4-byte type number and the value in the binary form of CFileIO; the reader
// also takes the older numbers 1 to 5 and 255. Owns its string; one thread at a time.
#pragma once

#include <cstdint>

#include "common/kernel/api.h"
#include "common/string/zrpath.h"
#include "common/string/zrstring.h"

class CFileIO;

// The type codes; they are characters and they are stored.
enum ePropType
{
    PROP_NONE = '-',
    PROP_BOOL = 'b',
    PROP_FLOAT = 'f',
    PROP_INT = 'i',
    PROP_LONG = 'l',
    PROP_STRING = 's',
};

class COMMON_API CZRProperty
{
public:
    // PROP_NONE, with every value cleared.
    CZRProperty();
    // A PROP_INT.
    CZRProperty(int nValue);
    // A PROP_LONG; the value is kept in 32 bits.
    CZRProperty(long lValue);
    // A PROP_BOOL.
    CZRProperty(bool bValue);
    // A PROP_FLOAT.
    CZRProperty(float fValue);
    // A PROP_STRING holding a copy of the text.
    CZRProperty(CZRString const & sValue);
    // A PROP_STRING holding a copy of the text.
    CZRProperty(char const * szValue);
    // A copy of Other's type and value, as operator= makes it.
    CZRProperty(CZRProperty const & Other);
    virtual ~CZRProperty();

    // Takes the type and value of Other; a type outside the table becomes PROP_NONE and
    // leaves the values here as they were.
    CZRProperty const & operator=(CZRProperty const & Other);
    // The typed assignments do what Set does and return this property.
    CZRProperty const & operator=(int nValue);
    // Set(long).
    CZRProperty const & operator=(long lValue);
    // Set(bool).
    CZRProperty const & operator=(bool bValue);
    // Set(float).
    CZRProperty const & operator=(float fValue);
    // Set(CZRString const &).
    CZRProperty const & operator=(CZRString const & sValue);
    // Set of a string copied from the text.
    CZRProperty const & operator=(char const * szValue);

    // Each sets the type, then the value; the other value members stay as they were.
    void Set(int nValue);
    // PROP_LONG; kept in the 32 bits that int and bool share.
    void Set(long lValue);
    // PROP_BOOL.
    void Set(bool bValue);
    // PROP_FLOAT.
    void Set(float fValue);
    // PROP_STRING, holding a copy of the text.
    void Set(CZRString const & sValue);
    // Changes the type only: the value is whatever the member of the new type holds.
    void SetType(ePropType eType);
    // The current type tag.
    ePropType GetType() const;
    // True when the property is of that type.
    bool IsOfType(ePropType eType) const;
    // Clears every value and makes the property PROP_NONE.
    void Empty();

    // Each needs the property to be of its type.
    int GetInt() const;
    // The value of a PROP_LONG; any other type is a failed check.
    long GetLong() const;
    // The value of a PROP_BOOL; any other type is a failed check.
    bool GetBool() const;
    // The value of a PROP_FLOAT; any other type is a failed check.
    float GetFloat() const;
    // The text of a PROP_STRING, good until the property next changes; any other type is
    // a failed check.
    CZRString const & GetString() const;
    // GetInt.
    operator int() const;
    // GetLong.
    operator long() const;
    // GetBool.
    operator bool() const;
    // GetFloat.
    operator float() const;
    // A view of the string, good until the property next changes.
    operator char const *() const;
    // A copy of the text of a PROP_STRING; any other type is a failed check.
    operator CZRString() const;
    // The text of a PROP_STRING as a path; any other type is a failed check.
    operator CZRPath() const;

    // False for a null stream or when the stream's operation gives false; a failed
    // Read leaves the property as it was. What the stream raises passes through.
    // Read takes what Write stored, or the older type numbers; an unknown type number
    // reads as PROP_NONE with no value bytes.
    bool Read(CFileIO * pFile);
    // Writes the 4-byte type number and the value in the stream's binary forms; a
    // PROP_NONE writes the number alone.
    bool Write(CFileIO * pFile) const;

private:
    void Reset();

    unsigned char m_ucType; // one ePropType value
    std::int32_t m_lValue;  // PROP_INT, PROP_LONG, and PROP_BOOL as 0 or not 0
    float m_fValue;         // PROP_FLOAT
    CZRString m_sValue;     // PROP_STRING
};
