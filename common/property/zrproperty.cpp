#include "common/property/zrproperty.h"

#include <new>

#include "common/file/fileio.h"
#include "common/kernel/check.h"

static char const s_szSourceFile[] = "common/property/zrproperty";

namespace
{
// The numbers of the older stored form that stand for a type of today.
constexpr std::int32_t OLD_BOOL = 1;
constexpr std::int32_t OLD_INT = 2;
constexpr std::int32_t OLD_LONG = 3;
constexpr std::int32_t OLD_FLOAT = 4;
constexpr std::int32_t OLD_STRING = 5;
constexpr std::int32_t OLD_NONE = 255;
constexpr std::int32_t OLD_LAST_SMALL = 31;

std::int32_t CurrentTypeNumber(std::int32_t lOldNumber)
{
    switch (lOldNumber)
    {
        case OLD_INT:
            return PROP_INT;
        case OLD_LONG:
            return PROP_LONG;
        case OLD_FLOAT:
            return PROP_FLOAT;
        case OLD_STRING:
            return PROP_STRING;
        case OLD_NONE:
            return PROP_NONE;
        default:
            // 6 to 31 mean nothing and stay as they are.
            return lOldNumber;
    }
}
} // namespace

CZRProperty::CZRProperty() : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0) {}

CZRProperty::CZRProperty(int nValue) : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0)
{
    Set(nValue);
}

CZRProperty::CZRProperty(long lValue) : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0)
{
    Set(lValue);
}

CZRProperty::CZRProperty(bool bValue) : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0)
{
    Set(bValue);
}

CZRProperty::CZRProperty(float fValue) : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0)
{
    Set(fValue);
}

CZRProperty::CZRProperty(CZRString const & sValue) : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0)
{
    Set(sValue);
}

CZRProperty::CZRProperty(char const * szValue) : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0)
{
    Set(CZRString(szValue));
}

CZRProperty::CZRProperty(CZRProperty const & Other) : m_ucType(PROP_NONE), m_lValue(0), m_fValue(0)
{
    *this = Other;
}

CZRProperty::~CZRProperty() = default;

CZRProperty const & CZRProperty::operator=(CZRProperty const & Other)
{
    switch (Other.GetType())
    {
        case PROP_BOOL:
            Set(Other.GetBool());
            break;
        case PROP_INT:
            Set(Other.GetInt());
            break;
        case PROP_LONG:
            Set(Other.GetLong());
            break;
        case PROP_FLOAT:
            Set(Other.GetFloat());
            break;
        case PROP_STRING:
            Set(Other.GetString());
            break;
        default:
            SetType(PROP_NONE);
            break;
    }
    return *this;
}

CZRProperty const & CZRProperty::operator=(int nValue)
{
    Set(nValue);
    return *this;
}

CZRProperty const & CZRProperty::operator=(long lValue)
{
    Set(lValue);
    return *this;
}

CZRProperty const & CZRProperty::operator=(bool bValue)
{
    Set(bValue);
    return *this;
}

CZRProperty const & CZRProperty::operator=(float fValue)
{
    Set(fValue);
    return *this;
}

CZRProperty const & CZRProperty::operator=(CZRString const & sValue)
{
    Set(sValue);
    return *this;
}

CZRProperty const & CZRProperty::operator=(char const * szValue)
{
    Set(CZRString(szValue));
    return *this;
}

void CZRProperty::Set(int nValue)
{
    SetType(PROP_INT);
    m_lValue = nValue;
}

void CZRProperty::Set(long lValue)
{
    SetType(PROP_LONG);
    m_lValue = static_cast<std::int32_t>(lValue);
}

void CZRProperty::Set(bool bValue)
{
    SetType(PROP_BOOL);
    m_lValue = bValue ? 1 : 0;
}

void CZRProperty::Set(float fValue)
{
    SetType(PROP_FLOAT);
    m_fValue = fValue;
}

void CZRProperty::Set(CZRString const & sValue)
{
    SetType(PROP_STRING);
    m_sValue = sValue;
}

void CZRProperty::SetType(ePropType eType)
{
    m_ucType = static_cast<unsigned char>(eType);
}

ePropType CZRProperty::GetType() const
{
    return static_cast<ePropType>(m_ucType);
}

bool CZRProperty::IsOfType(ePropType eType) const
{
    return GetType() == eType;
}

void CZRProperty::Empty()
{
    Reset();
    SetType(PROP_NONE);
}

int CZRProperty::GetInt() const
{
    ZR_CHECK(GetType() == PROP_INT, s_szSourceFile);
    return m_lValue;
}

long CZRProperty::GetLong() const
{
    ZR_CHECK(GetType() == PROP_LONG, s_szSourceFile);
    return m_lValue;
}

bool CZRProperty::GetBool() const
{
    ZR_CHECK(GetType() == PROP_BOOL, s_szSourceFile);
    return m_lValue != 0;
}

float CZRProperty::GetFloat() const
{
    ZR_CHECK(GetType() == PROP_FLOAT, s_szSourceFile);
    return m_fValue;
}

CZRString const & CZRProperty::GetString() const
{
    ZR_CHECK(GetType() == PROP_STRING, s_szSourceFile);
    return m_sValue;
}

CZRProperty::operator int() const
{
    ZR_CHECK(GetType() == PROP_INT, s_szSourceFile);
    return m_lValue;
}

CZRProperty::operator long() const
{
    ZR_CHECK(GetType() == PROP_LONG, s_szSourceFile);
    return m_lValue;
}

CZRProperty::operator bool() const
{
    ZR_CHECK(GetType() == PROP_BOOL, s_szSourceFile);
    return m_lValue != 0;
}

CZRProperty::operator float() const
{
    ZR_CHECK(GetType() == PROP_FLOAT, s_szSourceFile);
    return m_fValue;
}

CZRProperty::operator char const *() const
{
    ZR_CHECK(GetType() == PROP_STRING, s_szSourceFile);
    return m_sValue.GetString();
}

CZRProperty::operator CZRString() const
{
    ZR_CHECK(GetType() == PROP_STRING, s_szSourceFile);
    return m_sValue;
}

CZRProperty::operator CZRPath() const
{
    ZR_CHECK(GetType() == PROP_STRING, s_szSourceFile);
    return CZRPath(m_sValue);
}

bool CZRProperty::Write(CFileIO * pFile) const
{
    if (pFile == nullptr)
        return false;
    if (!pFile->Write(static_cast<int>(GetType())))
        return false;
    switch (GetType())
    {
        case PROP_BOOL:
            return pFile->Write(m_lValue != 0);
        case PROP_INT:
            return pFile->Write(static_cast<int>(m_lValue));
        case PROP_LONG:
            return pFile->Write(static_cast<long>(m_lValue));
        case PROP_FLOAT:
            return pFile->Write(m_fValue);
        case PROP_STRING:
            return pFile->Write(m_sValue);
        default:
            return true;
    }
}

bool CZRProperty::Read(CFileIO * pFile)
{
    if (pFile == nullptr)
        return false;
    std::int32_t lType = 0;
    if (!pFile->Read(&lType, 4))
        return false;
    if ((lType >= OLD_BOOL && lType <= OLD_LAST_SMALL) || lType == OLD_NONE)
    {
        if (lType == OLD_BOOL)
        {
            // The older bool is 4 bytes wide.
            int nValue = 0;
            if (!pFile->Read(nValue))
                return false;
            Set(nValue != 0);
            return true;
        }
        lType = CurrentTypeNumber(lType);
    }
    switch (lType)
    {
        case PROP_BOOL:
        {
            bool bValue = false;
            if (!pFile->Read(bValue))
                return false;
            Set(bValue);
            break;
        }
        case PROP_INT:
        {
            int nValue = 0;
            if (!pFile->Read(nValue))
                return false;
            Set(nValue);
            break;
        }
        case PROP_LONG:
        {
            long lValue = 0;
            if (!pFile->Read(lValue))
                return false;
            Set(lValue);
            break;
        }
        case PROP_FLOAT:
        {
            float fValue = 0;
            if (!pFile->Read(fValue))
                return false;
            Set(fValue);
            break;
        }
        case PROP_STRING:
        {
            // The stored text may be more than memory holds twice: bad input as well.
            try
            {
                CZRString sValue;
                if (!pFile->Read(sValue))
                    return false;
                Set(sValue);
            }
            catch (std::bad_alloc const &)
            {
                return false;
            }
            break;
        }
        default:
            SetType(PROP_NONE);
            break;
    }
    return true;
}

void CZRProperty::Reset()
{
    m_lValue = 0;
    m_fValue = 0;
    m_sValue = "";
}
