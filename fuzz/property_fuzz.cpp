// Reads properties from arbitrary bytes on a CMemFileIO until the stream gives false,
// and checks that each property read writes and reads back as itself.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/file/memfileio.h"
#include "common/property/zrproperty.h"

namespace
{
bool SameValue(CZRProperty const & Left, CZRProperty const & Right)
{
    if (Left.GetType() != Right.GetType())
        return false;
    switch (Left.GetType())
    {
        case PROP_BOOL:
            return Left.GetBool() == Right.GetBool();
        case PROP_INT:
            return Left.GetInt() == Right.GetInt();
        case PROP_LONG:
            return Left.GetLong() == Right.GetLong();
        case PROP_FLOAT:
        {
            float const fLeft = Left.GetFloat();
            float const fRight = Right.GetFloat();
            return std::memcmp(&fLeft, &fRight, sizeof(float)) == 0;
        }
        case PROP_STRING:
            // An empty string may have no block at all: its text is null.
            return Left.GetString().GetLength() == Right.GetString().GetLength() &&
                   (Left.GetString().GetLength() == 0 ||
                    std::memcmp(Left.GetString().GetString(), Right.GetString().GetString(),
                                Left.GetString().GetLength()) == 0);
        default:
            return true;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    std::vector<unsigned char> Bytes(pData, pData + nSize);
    Bytes.push_back(0);
    CMemFileIO Stream(Bytes.data(), static_cast<std::uint32_t>(nSize), 0);
    CZRProperty Property;
    while (Property.Read(&Stream))
    {
        // A string cut off by the end of the stream keeps its stored length and an
        // undefined tail; those bytes too must write and read back as they are.
        if (Stream.GetFilePointerPos() > nSize)
            std::abort();
        CMemFileIO Copy;
        if (!Property.Write(&Copy) || !Copy.SetFilePointerPos(0))
            std::abort();
        CZRProperty Back(12345);
        if (!Back.Read(&Copy) || !SameValue(Property, Back) || !Copy.IsEof())
            std::abort();
    }
    return 0;
}
