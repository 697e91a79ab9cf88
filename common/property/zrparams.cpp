#include "common/property/zrparams.h"

#include <cstddef>
#include <new>

#include "common/exception/zrexception.h"
#include "common/file/fileio.h"
#include "common/kernel/check.h"
#include "common/string/zrstring.h"

static char const s_szSourceFile[] = "common/property/zrparams";

CZRParams::CZRParams(std::int32_t lCount)
{
    ResizeList(lCount);
}

CZRParams::CZRParams(CZRParams const & Other) = default;

CZRParams & CZRParams::operator=(CZRParams const & Other) = default;

CZRParams::~CZRParams()
{
    if (!IsEmpty())
        RemoveAll();
}

void CZRParams::Add(CZRProperty const & prop)
{
    m_Params.push_back(prop);
}

void CZRParams::InsertAt(std::int32_t lIndex, CZRProperty const & prop)
{
    ZR_CHECK((0 <= lIndex) && (lIndex < GetCount()), s_szSourceFile);
    m_Params.insert(m_Params.begin() + lIndex, prop);
}

void CZRParams::Remove(std::int32_t lIndex)
{
    ZR_CHECK((0 <= lIndex) && (lIndex < GetCount()), s_szSourceFile);
    m_Params.erase(m_Params.begin() + lIndex);
}

void CZRParams::RemoveAll()
{
    m_Params.clear();
}

void CZRParams::Reset()
{
    RemoveAll();
}

void CZRParams::ResizeList(std::int32_t lCount)
{
    ZR_CHECK(lCount >= 0, s_szSourceFile);
    m_Params.resize(static_cast<std::size_t>(lCount));
}

void CZRParams::ResetAt(std::int32_t lIndex)
{
    Get(lIndex).Empty();
}

std::int32_t CZRParams::GetCount() const
{
    return static_cast<std::int32_t>(m_Params.size());
}

bool CZRParams::IsEmpty() const
{
    return GetCount() == 0;
}

bool CZRParams::DoesExist(std::int32_t lIndex) const
{
    return lIndex >= 0 && lIndex < GetCount() &&
           !m_Params[static_cast<std::size_t>(lIndex)].IsOfType(PROP_NONE);
}

CZRProperty const & CZRParams::Get(std::int32_t lIndex) const
{
    // Callers must stay inside the list. Outside it the answer is an empty position
    // rather than memory behind the list, so ExpectParameterType past the end raises
    // 6002 for any type but PROP_NONE instead of reading out of bounds.
    if (lIndex < 0 || lIndex >= GetCount())
    {
        static CZRProperty const s_Missing;
        return s_Missing;
    }
    return m_Params[static_cast<std::size_t>(lIndex)];
}

CZRProperty const & CZRParams::operator[](std::int32_t lIndex) const
{
    return Get(lIndex);
}

CZRProperty & CZRParams::Get(std::int32_t lIndex)
{
    ZR_CHECK(lIndex >= 0, s_szSourceFile);
    if (!DoesExist(lIndex) && GetCount() <= lIndex)
        m_Params.resize(static_cast<std::size_t>(lIndex) + 1);
    return m_Params[static_cast<std::size_t>(lIndex)];
}

CZRProperty & CZRParams::operator[](std::int32_t lIndex)
{
    return Get(lIndex);
}

void CZRParams::ExpectParameter(std::int32_t lIndex) const
{
    if (DoesExist(lIndex))
        return;
    CZRString sError;
    sError.Format("Parameter %d is missing", lIndex);
    ThrowException(6003, __LINE__, s_szSourceFile, sError);
}

void CZRParams::ExpectParameterType(std::int32_t lIndex, ePropType eType) const
{
    if (Get(lIndex).IsOfType(eType))
        return;
    CZRString sError;
    sError.Format("Parameter %d is of wrong type", lIndex);
    ThrowException(6002, __LINE__, s_szSourceFile, sError);
}

void CZRParams::ExpectParameterCount(std::int32_t lCount) const
{
    if (GetCount() < lCount)
        ThrowException(6001, __LINE__, s_szSourceFile, "Wrong number of parameters");
}

bool CZRParams::Write(CFileIO * pFile) const
{
    if (pFile == nullptr)
        return false;
    if (!pFile->Write(static_cast<long>(GetCount())))
        return false;
    for (CZRProperty const & Param : m_Params)
    {
        if (!Param.Write(pFile))
            return false;
    }
    return true;
}

bool CZRParams::Read(CFileIO * pFile)
{
    if (pFile == nullptr)
        return false;
    RemoveAll();
    long lCount = 0;
    if (!pFile->Read(lCount))
        return false;
    // Nothing is reserved for the count: the list grows with the elements read, each of
    // which takes bytes of the stream, so that a damaged count ends at the end of the
    // stream. Memory that runs out on the way is bad input too.
    try
    {
        for (long i = 0; i < lCount; ++i)
        {
            CZRProperty Param;
            if (!Param.Read(pFile))
                return false;
            Add(Param);
        }
    }
    catch (std::bad_alloc const &)
    {
        return false;
    }
    return true;
}

void CZRParams::ThrowException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                               char const * szError) const
{
    CZRParamsException const Error(ulCode, ulLine, szFile, szError);
    throw Error;
}
