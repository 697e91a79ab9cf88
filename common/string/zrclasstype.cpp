#include "common/string/zrclasstype.h"

CZRClassType::CZRClassType(char const * szName) : m_pParentType(nullptr), m_sName(szName) {}

CZRClassType::CZRClassType(char const * szName, CZRClassType const & Parent)
    : m_pParentType(&Parent), m_sName(szName)
{
}

CZRClassType::~CZRClassType() {}

bool CZRClassType::IsDerivedFrom(CZRClassType const & Other) const
{
    for (CZRClassType const * pType = this; pType != nullptr; pType = pType->m_pParentType)
    {
        if (pType == &Other)
            return true;
    }
    return false;
}

CZRString CZRClassType::GetFullName()
{
    CZRString sFullName;
    for (CZRClassType const * pType = this; pType != nullptr; pType = pType->m_pParentType)
        sFullName = pType->m_sName + '/' + sFullName;
    return sFullName;
}
