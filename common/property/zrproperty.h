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
    CZRProperty();
    CZRProperty(int nValue);
    CZRProperty(long lValue);
    CZRProperty(bool bValue);
    CZRProperty(float fValue);
    CZRProperty(CZRString const & sValue);
    CZRProperty(char const * szValue);
    CZRProperty(CZRProperty const & Other);
    virtual ~CZRProperty();

    // Takes the type and value of Other; a type outside the table becomes PROP_NONE and
    // leaves the values here as they were.
    CZRProperty const & operator=(CZRProperty const & Other);
    CZRProperty const & operator=(int nValue);
    CZRProperty const & operator=(long lValue);
    CZRProperty const & operator=(bool bValue);
    CZRProperty const & operator=(float fValue);
    CZRProperty const & operator=(CZRString const & sValue);
    CZRProperty const & operator=(char const * szValue);

    // Each sets the type, then the value; the other value members stay as they were.
    void Set(int nValue);
    void Set(long lValue);
    void Set(bool bValue);
    void Set(float fValue);
    void Set(CZRString const & sValue);
    // Changes the type only: the value is whatever the member of the new type holds.
    void SetType(ePropType eType);
    ePropType GetType() const;
    bool IsOfType(ePropType eType) const;
    // Clears every value and makes the property PROP_NONE.
    void Empty();

    // Each needs the property to be of its type.
    int GetInt() const;
    long GetLong() const;
    bool GetBool() const;
    float GetFloat() const;
    CZRString const & GetString() const;
    operator int() const;
    operator long() const;
    operator bool() const;
    operator float() const;
    // A view of the string, good until the property next changes.
    operator char const *() const;
    operator CZRString() const;
    operator CZRPath() const;

    // False for a null stream or when the stream's operation gives false; a failed
    // Read leaves the property as it was. What the stream raises passes through.
    bool Read(CFileIO * pFile);
    bool Write(CFileIO * pFile) const;

private:
    void Reset();

    unsigned char m_ucType; // one ePropType value
    std::int32_t m_lValue;  // PROP_INT, PROP_LONG, and PROP_BOOL as 0 or not 0
    float m_fValue;         // PROP_FLOAT
    CZRString m_sValue;     // PROP_STRING
};
