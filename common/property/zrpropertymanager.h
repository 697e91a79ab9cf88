// CZRPropertyManager: named CZRProperty values, each name once, kept, walked and stored
// in key order: byte-wise and case-sensitive ("B" before "a"). The manager owns copies
// of names and values. A missing name is no error: GetProperty gives PROP_NONE and
// FindProperty a stand-by property shared by all managers. Read merges into what is
// there, unlike CZRParams::Read. One thread at a time, the stand-bys included.
#pragma once

#include <cstdint>
#include <map>

#include "common/kernel/api.h"
#include "common/property/zrproperty.h"
#include "common/string/zrstring.h"

class CFileIO;

class COMMON_API CZRPropertyManager
{
public:
    CZRPropertyManager();
    // Copies every name and value.
    CZRPropertyManager(CZRPropertyManager const & Other);
    // Replaces every entry by copies of Other's.
    CZRPropertyManager & operator=(CZRPropertyManager const & Other);
    virtual ~CZRPropertyManager();

    // Inserts a new name, then assigns the value.
    void SetProperty(CZRString const & sName, CZRProperty const & prop);
    // SetProperty with the name copied into a string.
    void SetProperty(char const * szName, CZRProperty const & prop);
    // Assigns the value; for a missing name only makes prop PROP_NONE.
    void GetProperty(CZRString const & sName, CZRProperty & prop) const;
    // GetProperty with the name copied into a string.
    void GetProperty(char const * szName, CZRProperty & prop) const;
    // True for every stored name, a PROP_NONE value included.
    bool HasProperty(CZRString const & sName) const;
    // HasProperty with the name copied into a string.
    bool HasProperty(char const * szName) const;
    // A missing name is no error.
    void RemoveProperty(CZRString const & sName);
    // RemoveProperty with the name copied into a string.
    void RemoveProperty(char const * szName);
    // Removes every entry.
    void RemoveAllProperties();
    // The number of entries.
    int GetPropertyCount() const;

    // The stored value, or for a missing name a stand-by made PROP_NONE, one per overload,
    // living until the process ends. Never inserts.
    CZRProperty & FindProperty(CZRString const & sName);
    // The same for a const manager, with a stand-by of its own.
    CZRProperty const & FindProperty(CZRString const & sName) const;
    // Inserts a missing name with a PROP_NONE value; assigning through it stores.
    CZRProperty & operator[](char const * szName);
    // FindProperty: never inserts.
    CZRProperty const & operator[](char const * szName) const;

    // The walk in key order. lPos is an opaque cursor to hand back; false when there is
    // no entry, with name, value and cursor unchanged. The entry under the cursor must
    // stay while the walk goes on; others may come and go.
    bool GetFirstProperty(CZRString & sName, CZRProperty & prop, ZR_LONG_PTR & lPos) const;
    // The entry behind the one under the cursor, the cursor moving on to it.
    bool GetNextProperty(CZRString & sName, CZRProperty & prop, ZR_LONG_PTR & lPos) const;

    // pFile must not be null. Read merges: names the stream doesn't hold stay, and those
    // it holds take its values; entries read before a false stay too.
    virtual bool Read(CFileIO * pFile);
    // Writes a 4-byte count, then each name and value in key order; false at the first
    // write that gives false.
    virtual bool Write(CFileIO * pFile);

private:
    struct sNameOrder
    {
        bool operator()(CZRString const & sLeft, CZRString const & sRight) const
        {
            return sLeft.Compare(sRight) < 0;
        }
    };
    typedef std::map<CZRString, CZRProperty, sNameOrder> PropertyMap;

    PropertyMap m_Properties;
};
