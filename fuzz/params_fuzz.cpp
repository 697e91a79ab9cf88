// Reads a parameter list from arbitrary bytes on a CMemFileIO, then checks that it writes
// and reads back with the same types at the same positions, empty ones included.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "common/file/memfileio.h"
#include "common/property/zrparams.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    std::vector<unsigned char> Bytes(pData, pData + nSize);
    Bytes.push_back(0);
    CMemFileIO Stream(Bytes.data(), static_cast<std::uint32_t>(nSize), 0);
    CZRParams Params(2);
    Params.Read(&Stream);

    // A string cut off by the end keeps its stored length, up to a megabyte past the
    // input: the copy grows in large steps, as a writer of that much does, instead of
    // one reallocation of the whole block per kilobyte.
    CMemFileIO Copy(1 << 20);
    if (!Params.Write(&Copy) || !Copy.SetFilePointerPos(0))
        std::abort();
    CZRParams Back;
    if (!Back.Read(&Copy) || !Copy.IsEof() || Back.GetCount() != Params.GetCount())
        std::abort();
    for (std::int32_t i = 0; i < Params.GetCount(); ++i)
    {
        if (Params[i].GetType() != Back[i].GetType() || Params.DoesExist(i) != Back.DoesExist(i))
            std::abort();
    }
    return 0;
}
