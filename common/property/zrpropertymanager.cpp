#include "common/property/zrpropertymanager.h"

#include <new>

#include "common/file/fileio.h"
#include "common/kernel/check.h"

static char const s_szSourceFile[] = "common/property/zrpropertymanager";

CZRPropertyManager::CZRPropertyManager() = default;

CZRPropertyManager::CZRPropertyManager(CZRPropertyManager const & Other) = default;

CZRPropertyManager & CZRPropertyManager::operator=(CZRPropertyManager const & Other) = default;

CZRPropertyManager::~CZRPropertyManager() = default;

void CZRPropertyManager::SetProperty(CZRString const & sName, CZRProperty const & prop)
{
    // A name behind the last one, as when a stored manager is read, goes to the end
    // with one comparison instead of a search.
    if (!m_Properties.empty() && m_Properties.rbegin()->first.Compare(sName) < 0)
    {
        m_Properties.emplace_hint(m_Properties.end(), sName, CZRProperty())->second = prop;
        return;
    }
    m_Properties[sName] = prop;
}

void CZRPropertyManager::SetProperty(char const * szName, CZRProperty const & prop)
{
    SetProperty(CZRString(szName), prop);
}

void CZRPropertyManager::GetProperty(CZRString const & sName, CZRProperty & prop) const
{
    PropertyMap::const_iterator const Entry = m_Properties.find(sName);
    if (Entry != m_Properties.end())
        prop = Entry->second;
    else
        prop.SetType(PROP_NONE);
}

void CZRPropertyManager::GetProperty(char const * szName, CZRProperty & prop) const
{
    GetProperty(CZRString(szName), prop);
}

bool CZRPropertyManager::HasProperty(CZRString const & sName) const
{
    return m_Properties.find(sName) != m_Properties.end();
}

bool CZRPropertyManager::HasProperty(char const * szName) const
{
    return HasProperty(CZRString(szName));
}

void CZRPropertyManager::RemoveProperty(CZRString const & sName)
{
    m_Properties.erase(sName);
}

void CZRPropertyManager::RemoveProperty(char const * szName)
{
    RemoveProperty(CZRString(szName));
}

void CZRPropertyManager::RemoveAllProperties()
{
    m_Properties.clear();
}

int CZRPropertyManager::GetPropertyCount() const
{
    return static_cast<int>(m_Properties.size());
}

CZRProperty & CZRPropertyManager::FindProperty(CZRString const & sName)
{
    static CZRProperty s_StandBy;
    PropertyMap::iterator const Entry = m_Properties.find(sName);
    if (Entry != m_Properties.end())
        return Entry->second;
    s_StandBy.SetType(PROP_NONE);
    return s_StandBy;
}

CZRProperty const & CZRPropertyManager::FindProperty(CZRString const & sName) const
{
    static CZRProperty s_StandBy;
    PropertyMap::const_iterator const Entry = m_Properties.find(sName);
    if (Entry != m_Properties.end())
        return Entry->second;
    s_StandBy.SetType(PROP_NONE);
    return s_StandBy;
}

CZRProperty & CZRPropertyManager::operator[](char const * szName)
{
    return m_Properties[CZRString(szName)];
}

CZRProperty const & CZRPropertyManager::operator[](char const * szName) const
{
    return FindProperty(CZRString(szName));
}

bool CZRPropertyManager::GetFirstProperty(CZRString & sName, CZRProperty & prop,
                                          ZR_LONG_PTR & lPos) const
{
    PropertyMap::const_iterator const Entry = m_Properties.begin();
    if (Entry == m_Properties.end())
        return false;
    // The cursor is the address of the entry's pair in the map: it stays good while the
    // entry does, whatever else comes and goes, and a long holds an address here.
    lPos = reinterpret_cast<ZR_LONG_PTR>(&*Entry);
    sName = Entry->first;
    prop = Entry->second;
    return true;
}

bool CZRPropertyManager::GetNextProperty(CZRString & sName, CZRProperty & prop,
                                         ZR_LONG_PTR & lPos) const
{
    PropertyMap::value_type const * pCurrent =
        reinterpret_cast<PropertyMap::value_type const *>(lPos);
    PropertyMap::const_iterator const Entry = m_Properties.upper_bound(pCurrent->first);
    if (Entry == m_Properties.end())
        return false;
    lPos = reinterpret_cast<ZR_LONG_PTR>(&*Entry);
    sName = Entry->first;
    prop = Entry->second;
    return true;
}

bool CZRPropertyManager::Write(CFileIO * pFile)
{
    ZR_CHECK(pFile != NULL, s_szSourceFile);
    if (!pFile->Write(GetPropertyCount()))
        return false;
    // The walk of GetFirstProperty and GetNextProperty, without their copies.
    for (PropertyMap::value_type const & Entry : m_Properties)
    {
        if (!pFile->Write(Entry.first) || !Entry.second.Write(pFile))
            return false;
    }
    return true;
}

bool CZRPropertyManager::Read(CFileIO * pFile)
{
    ZR_CHECK(pFile != NULL, s_szSourceFile);
    int nCount = 0;
    if (!pFile->Read(nCount))
        return false;
    // Nothing is reserved for the count: each entry read takes bytes of the stream, so a
    // damaged count ends at the end of the stream. Memory that runs out on the way is
    // bad input too.
    try
    {
        for (int i = 0; i < nCount; ++i)
        {
            CZRString sName;
            if (!pFile->Read(sName))
                return false;
            CZRProperty Value;
            if (!Value.Read(pFile))
                return false;
            SetProperty(sName, Value);
        }
    }
    catch (std::bad_alloc const &)
    {
        return false;
    }
    return true;
}
