// Byte strings for stored-form tests: building them from numbers, reading what a memory
// stream holds, and a memory stream that starts out holding given bytes.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "common/file/memfileio.h"

inline std::string Bytes(std::initializer_list<int> Values)
{
    std::string sBytes;
    for (int nValue : Values)
        sBytes += static_cast<char>(nValue);
    return sBytes;
}

inline std::string Contents(CMemFileIO const & Stream)
{
    return std::string(reinterpret_cast<char const *>(Stream.GetBuffer()), Stream.GetSize());
}

// A memory stream holding sBytes, positioned at its start.
class CByteStream : public CMemFileIO
{
public:
    explicit CByteStream(std::string const & sBytes)
    {
        Write(sBytes.data(), static_cast<std::uint32_t>(sBytes.size()));
        SetFilePointerPos(0);
    }
};
