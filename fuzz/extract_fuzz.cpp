// Arbitrary bytes as the archive fuzz.arc, extracted with ExtractArchive into a fresh
// directory. Bad archives end in an exception of the CZRException family; whatever the
// bytes, nothing is written outside the directory, no link is followed, and no more is
// written than the archive's entries declare, once each.
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

namespace fs = std::filesystem;

namespace
{
std::uint32_t * ArchiveCounter()
{
    static std::uint32_t * pCounter = static_cast<std::uint32_t *>(
        dlsym(RTLD_DEFAULT, "_ZN19CExtendedFileSystem16s_ulArchiveCountE"));
    return pCounter;
}

fs::path s_Directory;
constexpr std::uint64_t NO_BOUND = ~std::uint64_t{0};
std::uint64_t s_ullSteps = 0; // units looked at for one input

// The bytes that all units' file entries declare, each unit counted once per entry
// that leads to it, as extraction writes them.
std::uint64_t DeclaredBytes(std::uint8_t const * pData, std::size_t nSize, std::uint64_t ullBase,
                            int nDepth)
{
    // Units shared by many entries can make the count take long: past a bound the
    // input isn't checked for its bytes.
    if (++s_ullSteps > 100000)
        return NO_BOUND;
    if (nDepth > 256 || ullBase + 32 > nSize)
        return 0;
    std::uint32_t ulDirectory = 0;
    std::uint32_t ulCount = 0;
    std::memcpy(&ulDirectory, pData + ullBase + 10, 4);
    std::memcpy(&ulCount, pData + ullBase + 14, 4);
    std::uint64_t ullBytes = 0;
    for (std::uint64_t ullEntry = 0; ullEntry < ulCount; ++ullEntry)
    {
        std::uint64_t const ullRecord = ullBase + ulDirectory + 276 * ullEntry;
        if (ullRecord + 276 > nSize)
            break;
        std::uint32_t ulOffset = 0;
        std::uint32_t ulSize = 0;
        std::memcpy(&ulOffset, pData + ullRecord + 256, 4);
        std::memcpy(&ulSize, pData + ullRecord + 260, 4);
        if (pData[ullRecord + 264] == 0)
            ullBytes += ulSize;
        else if (ulOffset >= 32)
        {
            std::uint64_t const ullNested =
                DeclaredBytes(pData, nSize, ullBase + ulOffset, nDepth + 1);
            if (ullNested == NO_BOUND)
                return NO_BOUND;
            ullBytes += ullNested;
        }
    }
    return ullBytes;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    s_Directory = fs::temp_directory_path() / ("extract-fuzz-" + std::to_string(getpid()));
    fs::create_directories(s_Directory / "out");
    fs::current_path(s_Directory);
    if (ArchiveCounter() == nullptr)
        __builtin_trap();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    fs::current_path(s_Directory);
    {
        std::ofstream Out("fuzz.arc", std::ios::binary | std::ios::trunc);
        Out.write(reinterpret_cast<char const *>(pData), static_cast<std::streamsize>(nSize));
    }
    *ArchiveCounter() = 0;
    auto pXfs = std::make_unique<CExtendedFileSystem>();
    try
    {
        pXfs->ExtractArchive("fuzz.arc", "out/");
    }
    catch (CZRException const &)
    {
    }
    fs::current_path(s_Directory);
    // Only the archive's own directory may have appeared, and it holds no more bytes
    // than the entries declare.
    std::uint64_t ullWritten = 0;
    for (fs::directory_entry const & Entry : fs::directory_iterator(s_Directory))
        if (Entry.path().filename() != "fuzz.arc" && Entry.path().filename() != "out")
            __builtin_trap();
    for (fs::directory_entry const & Entry : fs::directory_iterator(s_Directory / "out"))
        if (Entry.path().filename() != "fuzz")
            __builtin_trap();
    for (fs::directory_entry const & Entry : fs::recursive_directory_iterator(s_Directory / "out"))
    {
        if (Entry.is_symlink())
            __builtin_trap();
        if (Entry.is_regular_file())
            ullWritten += Entry.file_size();
    }
    s_ullSteps = 0;
    if (ullWritten > DeclaredBytes(pData, nSize, 0, 0))
        __builtin_trap();
    fs::remove_all(s_Directory / "out" / "fuzz");
    return 0;
}
