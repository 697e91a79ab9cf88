#include "common/string/zrpath.h"

static char const s_szSlashes[] = "\\/";

CZRPath::CZRPath() {}

CZRPath::CZRPath(char const * szPath) : m_sPath(szPath) {}

CZRPath::CZRPath(CZRString const & sPath) : m_sPath(sPath) {}

CZRPath::CZRPath(CZRPath const & Other) : m_sPath(Other.m_sPath) {}

CZRPath::~CZRPath() {}

CZRPath const & CZRPath::operator=(char const * szPath)
{
    m_sPath = szPath;
    return *this;
}

CZRPath const & CZRPath::operator=(CZRString const & sPath)
{
    m_sPath = sPath;
    return *this;
}

CZRPath const & CZRPath::operator=(CZRPath const & Other)
{
    m_sPath = Other.m_sPath;
    return *this;
}

void CZRPath::Empty()
{
    m_sPath.Empty();
}

int CZRPath::CompareNoCase(char const * szOther) const
{
    return m_sPath.CompareNoCase(szOther);
}

void CZRPath::MakeLower()
{
    m_sPath.MakeLower();
}

void CZRPath::MakeUpper()
{
    m_sPath.MakeUpper();
}

void CZRPath::MakePretty()
{
    m_sPath.MakeLower();
}

bool CZRPath::IsSlash(char cChar)
{
    return cChar == '\\' || cChar == '/';
}

bool CZRPath::IsDriveLetter(char cChar)
{
    return (cChar >= 'A' && cChar <= 'Z') || (cChar >= 'a' && cChar <= 'z');
}

CZRPath CZRPath::BuildRoot(int nDrive)
{
    if (nDrive < 0 || nDrive > 25)
        return CZRPath();
    char const szRoot[4] = {static_cast<char>('A' + nDrive), ':', '\\', '\0'};
    return CZRPath(szRoot);
}

int CZRPath::GetDriveNumber() const
{
    if (m_sPath.GetLength() < 2 || m_sPath.GetAt(1) != ':')
        return -1;
    char const cDrive = m_sPath.GetAt(0);
    if (cDrive >= 'A' && cDrive <= 'Z')
        return cDrive - 'A';
    if (cDrive >= 'a' && cDrive <= 'z')
        return cDrive - 'a';
    return -1;
}

bool CZRPath::IsUNC() const
{
    return m_sPath.GetLength() >= 2 && m_sPath.GetAt(0) == '\\' && m_sPath.GetAt(1) == '\\';
}

char CZRPath::FirstChar() const
{
    return m_sPath.IsEmpty() ? '\0' : m_sPath.GetAt(0);
}

char CZRPath::LastChar() const
{
    return m_sPath.IsEmpty() ? '\0' : m_sPath.GetAt(m_sPath.GetLength() - 1);
}

bool CZRPath::HasLeadingBackslash() const
{
    return FirstChar() == '\\';
}

bool CZRPath::HasLeadingForwardslash() const
{
    return FirstChar() == '/';
}

bool CZRPath::HasTrailingBackslash() const
{
    return LastChar() == '\\';
}

bool CZRPath::HasTrailingForwardslash() const
{
    return LastChar() == '/';
}

bool CZRPath::HasLeadingSlash() const
{
    return IsSlash(FirstChar());
}

bool CZRPath::HasTrailingSlash() const
{
    return IsSlash(LastChar());
}

void CZRPath::AddTrailingBackslash()
{
    if (!HasTrailingBackslash())
        m_sPath += '\\';
}

void CZRPath::AddTrailingForwardslash()
{
    if (!HasTrailingForwardslash())
        m_sPath += '/';
}

void CZRPath::AddLeadingBackslash()
{
    if (!HasLeadingBackslash())
        m_sPath = '\\' + m_sPath;
}

void CZRPath::AddLeadingForwardslash()
{
    if (!HasLeadingForwardslash())
        m_sPath = '/' + m_sPath;
}

void CZRPath::RemoveTrailingBackslash()
{
    if (HasTrailingBackslash())
        m_sPath = m_sPath.Left(m_sPath.GetLength() - 1);
}

void CZRPath::RemoveTrailingForwardslash()
{
    if (HasTrailingForwardslash())
        m_sPath = m_sPath.Left(m_sPath.GetLength() - 1);
}

void CZRPath::RemoveLeadingBackslash()
{
    if (HasLeadingBackslash())
        m_sPath = m_sPath.Mid(1);
}

void CZRPath::Append(CZRPath const & Other)
{
    if (!m_sPath.IsEmpty() && !HasTrailingBackslash())
        AddTrailingBackslash();
    m_sPath += Other.m_sPath;
}

CZRPath const & CZRPath::operator+=(CZRPath const & Other)
{
    Append(Other);
    return *this;
}

int CZRPath::MakeForwardslashes()
{
    return m_sPath.Replace('\\', '/');
}

int CZRPath::MakeBackwardslashes()
{
    return m_sPath.Replace('/', '\\');
}

int CZRPath::FindExtension() const
{
    return m_sPath.ReverseFind('.');
}

CZRString CZRPath::GetExtension() const
{
    int const nDot = FindExtension();
    return nDot < 0 ? CZRString() : m_sPath.Mid(nDot);
}

void CZRPath::AddExtension(CZRString const & sExt)
{
    if (FindExtension() >= 0 || sExt.IsEmpty() || sExt.GetAt(0) != '.')
        return;
    m_sPath += sExt;
}

void CZRPath::RemoveExtension()
{
    int const nDot = FindExtension();
    if (nDot >= 0)
        m_sPath = m_sPath.Left(nDot);
}

void CZRPath::StripPath()
{
    int const nSlash = m_sPath.ReverseFindOneOf(s_szSlashes);
    if (nSlash >= 0)
        m_sPath = m_sPath.Mid(nSlash);
}

CZRPath CZRPath::GetPath() const
{
    int const nSlash = m_sPath.ReverseFindOneOf(s_szSlashes);
    return nSlash < 0 ? CZRPath() : CZRPath(m_sPath.Left(nSlash));
}

CZRString CZRPath::GetFileName(bool bWithExtension) const
{
    int const nComponents = GetNumPathComponents();
    CZRString sName = GetComponent(nComponents - 1, nComponents);
    if (!sName.IsEmpty() && IsSlash(sName.GetAt(sName.GetLength() - 1)))
        sName = sName.Left(sName.GetLength() - 1);
    if (!bWithExtension)
    {
        int const nDot = sName.ReverseFind('.');
        if (nDot == 0)
            return CZRString();
        if (nDot > 0)
            sName = sName.Left(nDot);
    }
    return sName;
}

int CZRPath::GetNumPathComponents() const
{
    int const nLength = m_sPath.GetLength();
    if (nLength == 0)
        return 0;
    char const * szPath = m_sPath.GetString();
    int nSeparators = 0;
    for (int i = 1; i < nLength; ++i)
    {
        if (IsSlash(szPath[i]))
            ++nSeparators;
    }
    return IsSlash(szPath[nLength - 1]) ? nSeparators : nSeparators + 1;
}

CZRString CZRPath::GetComponent(int nFirst, int nCount) const
{
    if (nCount == 0)
        return CZRString();
    int const nLength = m_sPath.GetLength();
    char const * szPath = m_sPath.GetString();
    int nSeparators = 0;
    int nStart = 0;
    int nEnd = nLength;
    for (int i = 0; i < nLength; ++i)
    {
        if (!IsSlash(szPath[i]))
            continue;
        if (i == 0)
        {
            if (nFirst == 0)
                nStart = 1;
            continue;
        }
        ++nSeparators;
        if (nSeparators == nFirst)
            nStart = i + 1;
        if (nSeparators == nFirst + nCount)
        {
            nEnd = i;
            break;
        }
    }
    return m_sPath.Mid(nStart, nEnd - nStart);
}

bool CZRPath::PrefixesMatch(CZRPath const & Other, int nCount) const
{
    for (int i = 1; i <= nCount; ++i)
    {
        CZRString sMine = GetComponent(0, i);
        CZRString sTheirs = Other.GetComponent(0, i);
        sMine.MakeLower();
        sTheirs.MakeLower();
        if (sMine.Compare(sTheirs) != 0)
            return false;
    }
    return true;
}

bool CZRPath::IsSame(CZRPath const & Other, int /*nIgnored*/, bool bIgnoreLeadingSlash,
                     bool bIgnoreTrailingSlash) const
{
    int const nComponents = GetNumPathComponents();
    if (nComponents != Other.GetNumPathComponents())
        return false;
    if (!bIgnoreTrailingSlash && HasTrailingSlash() != Other.HasTrailingSlash())
        return false;
    if (!bIgnoreLeadingSlash && HasLeadingSlash() != Other.HasLeadingSlash())
        return false;
    return PrefixesMatch(Other, nComponents);
}

bool CZRPath::IsBelow(CZRPath const & Other) const
{
    int const nComponents = GetNumPathComponents();
    if (nComponents >= Other.GetNumPathComponents())
        return false;
    return PrefixesMatch(Other, nComponents);
}

bool CZRPath::IsAbove(CZRPath const & Other) const
{
    return Other.IsBelow(*this);
}

bool CZRPath::IsBelowOrSame(CZRPath const & Other) const
{
    return IsBelow(Other) || IsSame(Other, 0, true, true);
}

bool CZRPath::IsAboveOrSame(CZRPath const & Other) const
{
    return IsAbove(Other) || IsSame(Other, 0, true, true);
}

void CZRPath::CompactPath(CZRPath const &, unsigned int) {}
