// CZRClassType: a hand-made descriptor of a host class, one object per described
// class, linked to the descriptor of its parent class. A type's identity is the
// address of its descriptor, never its name. The parent is only pointed to: it must
// outlive its children. The library offers the class and uses it nowhere itself.
#pragma once

#include "common/kernel/api.h"
#include "common/string/zrstring.h"

class COMMON_API CZRClassType
{
public:
    // A root type; a null name gives an empty name.
    CZRClassType(char const * szName);
    // A type derived from Parent, which must outlive it.
    CZRClassType(char const * szName, CZRClassType const & Parent);
    virtual ~CZRClassType();

    // The name given at construction; null when that name was null or empty.
    char const * GetName() const { return m_sName.GetString(); }
    // The same as GetName.
    operator char const *() const { return m_sName.GetString(); }
    // The name as a string.
    operator CZRString const &() const { return m_sName; }
    // A copy of the name.
    operator CZRString() { return m_sName; }

    // The parent's descriptor, or null at the root of a tree.
    CZRClassType const * GetParentType() const { return m_pParentType; }
    // True when Other is this type or one of its ancestors, by address.
    bool IsDerivedFrom(CZRClassType const & Other) const;
    // The names from the root down, each followed by '/': "Base/Middle/Leaf/".
    CZRString GetFullName();

private:
    CZRClassType const * m_pParentType; // not owned
    CZRString m_sName;
};
