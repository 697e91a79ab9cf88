// CZRParams: an indexed list of CZRProperty values from 0, owned by value. A position may
// be empty (PROP_NONE): it counts in GetCount but not for DoesExist. The non-const Get
// and operator[] grow the list to reach an index; the const forms never do. The Expect
// checks raise CZRParamsException 6001 to 6003 with texts naming the index. Read
// replaces the whole list, unlike CZRPropertyManager::Read. One thread at a time.
#pragma once

#include <cstdint>
#include <vector>

#include "common/kernel/api.h"
#include "common/property/zrproperty.h"

class CFileIO;

class COMMON_API CZRParams
{
public:
    // lCount empty positions; lCount must not be negative.
    CZRParams(std::int32_t lCount = 0);
    // Copies every element.
    CZRParams(CZRParams const & Other);
    // Replaces the list by copies of Other's elements.
    CZRParams & operator=(CZRParams const & Other);
    virtual ~CZRParams();

    // Appends a copy.
    void Add(CZRProperty const & prop);
    // In front of element lIndex, which must exist: this never appends.
    void InsertAt(std::int32_t lIndex, CZRProperty const & prop);
    // Removes element lIndex, which must exist; later elements move down.
    void Remove(std::int32_t lIndex);
    // Empties the list.
    void RemoveAll();
    // The same as RemoveAll.
    void Reset();
    // New positions at the end are empty; lCount must not be negative.
    void ResizeList(std::int32_t lCount);
    // Empties element lIndex, growing the list to reach it.
    void ResetAt(std::int32_t lIndex);

    // Every position, empty ones included.
    std::int32_t GetCount() const;
    // True when the list has no position at all.
    bool IsEmpty() const;
    // lIndex lies in the list and its element is not PROP_NONE.
    bool DoesExist(std::int32_t lIndex) const;

    // lIndex must lie in the list.
    CZRProperty const & Get(std::int32_t lIndex) const;
    // The const Get.
    CZRProperty const & operator[](std::int32_t lIndex) const;
    // Lengthens the list to reach lIndex, which must not be negative. The reference is
    // good until the length changes.
    CZRProperty & Get(std::int32_t lIndex);
    // The growing Get: params[5] = x on an empty list gives 6 positions.
    CZRProperty & operator[](std::int32_t lIndex);

    // 6003 "Parameter %d is missing" unless DoesExist(lIndex).
    void ExpectParameter(std::int32_t lIndex) const;
    // 6002 "Parameter %d is of wrong type"; lIndex must lie in the list.
    void ExpectParameterType(std::int32_t lIndex, ePropType eType) const;
    // 6001 "Wrong number of parameters" when the list is shorter than lCount.
    void ExpectParameterCount(std::int32_t lCount) const;

    // Read empties the list first and keeps what it read before a false; a null stream
    // gives false and changes nothing.
    virtual bool Read(CFileIO * pFile);
    // Writes a 4-byte count, then every element, empty ones included; false for a null
    // stream and at the first write that gives false.
    virtual bool Write(CFileIO * pFile) const;

private:
    [[noreturn]] void ThrowException(std::uint32_t ulCode, std::uint32_t ulLine,
                                     char const * szFile, char const * szError) const;

    std::vector<CZRProperty> m_Params;
};
