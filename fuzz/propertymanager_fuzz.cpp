// Reads a property manager from arbitrary bytes on a CMemFileIO, then checks that what
// it holds writes and reads back entry for entry in key order.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "common/file/memfileio.h"
#include "common/property/zrpropertymanager.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    std::vector<unsigned char> Bytes(pData, pData + nSize);
    Bytes.push_back(0);
    CMemFileIO Stream(Bytes.data(), static_cast<std::uint32_t>(nSize), 0);
    CZRPropertyManager Manager;
    Manager.Read(&Stream);

    CMemFileIO Copy;
    if (!Manager.Write(&Copy) || !Copy.SetFilePointerPos(0))
        std::abort();
    CZRPropertyManager Back;
    if (!Back.Read(&Copy) || !Copy.IsEof() || Back.GetPropertyCount() != Manager.GetPropertyCount())
        std::abort();
    CZRString sName, sBackName;
    CZRProperty Value, BackValue;
    long lPos = 0, lBackPos = 0;
    bool bMore = Manager.GetFirstProperty(sName, Value, lPos);
    bool bBackMore = Back.GetFirstProperty(sBackName, BackValue, lBackPos);
    while (bMore && bBackMore)
    {
        if (sName.Compare(sBackName) != 0 || Value.GetType() != BackValue.GetType())
            std::abort();
        bMore = Manager.GetNextProperty(sName, Value, lPos);
        bBackMore = Back.GetNextProperty(sBackName, BackValue, lBackPos);
    }
    if (bMore || bBackMore)
        std::abort();
    return 0;
}
