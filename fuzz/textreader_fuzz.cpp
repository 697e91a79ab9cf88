// Two halves. The text readers run over arbitrary bytes on a CMemFileIO in an order the
// first byte picks, until the stream ends. Then the writers' text of numbers made from
// the input must read back: every int exactly, every float as its four-decimal text says,
// whatever its magnitude.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/file/memfileio.h"

namespace
{
void RunReaders(std::vector<unsigned char> & Bytes, std::size_t nSize, unsigned char ucPlan)
{
    CMemFileIO Stream(Bytes.data(), static_cast<std::uint32_t>(nSize), 0);
    char szLine[7];
    CZRString sConstant("key");
    // Seven of the nine readers consume at least a byte before the end; a failed
    // constant with StepBack and a short ReadLine may consume none. So the rounds are
    // bounded by the size, and the guard makes a hang a finding.
    for (std::size_t nRound = 0; !Stream.IsEof(); ++nRound)
    {
        if (nRound > 2 * nSize + 16)
            std::abort();
        int nValue = 0;
        long lValue = 0;
        unsigned long ulValue = 0;
        float fValue = 0;
        char cValue = 0;
        CZRString sValue;
        switch ((ucPlan + nRound) % 9)
        {
            case 0:
                Stream.ReadAscii(nValue, ';');
                break;
            case 1:
                Stream.ReadAscii(lValue, ',');
                break;
            case 2:
                Stream.ReadAscii(ulValue, ';');
                break;
            case 3:
                Stream.ReadAscii(fValue, ';');
                break;
            case 4:
                Stream.ReadAscii(sValue);
                break;
            case 5:
                Stream.ReadAscii(cValue, (nRound & 1) != 0);
                break;
            case 6:
                if (!Stream.ReadConstAscii(sConstant))
                    Stream.StepBack();
                break;
            case 7:
                Stream.ReadConstAscii('x');
                break;
            default:
                Stream.ReadLine(szLine, static_cast<unsigned int>(nRound % sizeof(szLine)));
                break;
        }
        if (Stream.GetFilePointerPos() > nSize)
            std::abort();
    }
}

void CheckNumbersReadBack(std::uint8_t const * pData, std::size_t nSize)
{
    CMemFileIO Stream;
    std::size_t const nWords = nSize / 4;
    for (std::size_t i = 0; i < nWords; ++i)
    {
        std::int32_t nValue;
        float fValue;
        std::memcpy(&nValue, pData + i * 4, 4);
        std::memcpy(&fValue, pData + i * 4, 4);
        if (!Stream.WriteAscii(static_cast<int>(nValue)) || !Stream.WriteAscii(fValue) ||
            !Stream.WriteConstAscii('\n'))
            std::abort();
    }
    Stream.SetFilePointerPos(0);
    for (std::size_t i = 0; i < nWords; ++i)
    {
        std::int32_t nExpected;
        float fExpected;
        std::memcpy(&nExpected, pData + i * 4, 4);
        std::memcpy(&fExpected, pData + i * 4, 4);
        char szText[64];
        std::snprintf(szText, sizeof(szText), "%.4f", static_cast<double>(fExpected));
        fExpected = std::strtof(szText, nullptr);
        int nValue = ~nExpected;
        float fValue = 0;
        if (!Stream.ReadAscii(nValue, ';') || nValue != nExpected)
            std::abort();
        if (!Stream.ReadAscii(fValue, ';'))
            std::abort();
        bool const bSame = std::isnan(fExpected) ? std::isnan(fValue) && std::signbit(fValue) ==
                                                                             std::signbit(fExpected)
                                                 : std::memcmp(&fValue, &fExpected, 4) == 0;
        if (!bSame)
            std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    if (nSize == 0)
        return 0;
    std::vector<unsigned char> Bytes(pData + 1, pData + nSize);
    Bytes.push_back(0);
    RunReaders(Bytes, nSize - 1, pData[0]);
    CheckNumbersReadBack(pData, nSize);
    return 0;
}
