// Registers arbitrary bytes as the archive fuzz.arc and opens, reads and seeks every
// entry that its directories name, down to nested units three levels deep. Any
// outcome but a crash, a hang, a sanitizer report or an exception outside the
// CZRException family is fine: bad archives must end in 4006 or 4014 or in a short
// read of 4006.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/file/extendedfilesystem.h"

namespace
{
constexpr std::size_t MAX_ENTRIES_PER_UNIT = 64;
constexpr int MAX_DEPTH = 3;

std::uint32_t GetU32(std::uint8_t const * pData, std::size_t nSize, std::uint64_t ullOffset,
                     bool & bInside)
{
    bInside = ullOffset + 4 <= nSize;
    if (!bInside)
        return 0;
    std::uint32_t ulValue = 0;
    std::memcpy(&ulValue, pData + ullOffset, 4);
    return ulValue;
}

void ReadEntry(CExtendedFileSystem & Xfs, std::string const & sPath)
{
    try
    {
        Xfs.FileExists(sPath.c_str());
        std::uint32_t const ulHandle = Xfs.OpenFile(sPath.c_str());
        std::uint32_t const ulSize = Xfs.GetFileSize(ulHandle);
        char acBuffer[4096];
        try
        {
            while (Xfs.ReadFile(ulHandle, acBuffer, sizeof(acBuffer)))
            {
            }
            Xfs.SeekEnd(ulHandle, ulSize / 2);
            Xfs.ReadLine(ulHandle, acBuffer, sizeof(acBuffer));
        }
        catch (CZRException const &)
        {
        }
        Xfs.CloseFile(ulHandle);
    }
    catch (CZRException const &)
    {
    }
}

// Walks the unit at ullBase of the bytes as the library should see them, and opens
// every entry through the file system by its path.
void WalkUnit(CExtendedFileSystem & Xfs, std::uint8_t const * pData, std::size_t nSize,
              std::uint64_t ullBase, std::string const & sPrefix, int nDepth)
{
    bool bInside = false;
    std::uint32_t const ulDirectory = GetU32(pData, nSize, ullBase + 10, bInside);
    std::uint32_t const ulCount = GetU32(pData, nSize, ullBase + 14, bInside);
    if (!bInside)
        return;
    for (std::size_t nEntry = 0; nEntry < ulCount && nEntry < MAX_ENTRIES_PER_UNIT; ++nEntry)
    {
        std::uint64_t const ullRecord = ullBase + ulDirectory + 276ull * nEntry;
        if (ullRecord + 276 > nSize)
            return;
        char const * szName = reinterpret_cast<char const *>(pData + ullRecord);
        std::string const sName(szName, strnlen(szName, 255));
        std::string const sPath = sPrefix + "\\" + sName;
        ReadEntry(Xfs, sPath);
        std::uint32_t const ulOffset = GetU32(pData, nSize, ullRecord + 256, bInside);
        if (pData[ullRecord + 264] != 0 && nDepth < MAX_DEPTH)
            WalkUnit(Xfs, pData, nSize, ullBase + ulOffset, sPath, nDepth + 1);
    }
}

// The unit counter is process-wide and only grows, by design; a fuzzer runs millions
// of inputs in one process, so it is reset between inputs through its exported symbol.
std::uint32_t * ArchiveCounter()
{
    static std::uint32_t * pCounter = static_cast<std::uint32_t *>(
        dlsym(RTLD_DEFAULT, "_ZN19CExtendedFileSystem16s_ulArchiveCountE"));
    return pCounter;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    static std::string sDirectory =
        (std::filesystem::temp_directory_path() / ("archive-fuzz-" + std::to_string(getpid())))
            .string();
    std::filesystem::create_directories(sDirectory);
    std::filesystem::current_path(sDirectory);
    if (ArchiveCounter() == nullptr)
        __builtin_trap();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    {
        std::ofstream Out("fuzz.arc", std::ios::binary | std::ios::trunc);
        Out.write(reinterpret_cast<char const *>(pData), static_cast<std::streamsize>(nSize));
    }
    *ArchiveCounter() = 0;
    auto pXfs = std::make_unique<CExtendedFileSystem>();
    ReadEntry(*pXfs, "fuzz\\a");
    WalkUnit(*pXfs, pData, nSize, 0, "fuzz", 1);
    return 0;
}
