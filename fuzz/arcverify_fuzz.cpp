// Arbitrary bytes as an archive for `arc verify`, `list` and `cat`: the inspection reads
// every unit it can reach, and each entry it reports is looked up again by its path. It
// must read nothing beyond the file, allocate nothing beyond its size, and stay linear:
// its problem list and its units are bounded by what the bytes can hold.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include "tools/arc/archivemap.h"

namespace
{
std::string const & ArchivePath()
{
    static std::string const s_sPath = (std::filesystem::temp_directory_path() /
                                        ("arcverify-fuzz-" + std::to_string(getpid()) + ".arc"))
                                           .string();
    return s_sPath;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    {
        std::ofstream Out(ArchivePath(), std::ios::binary | std::ios::trunc);
        Out.write(reinterpret_cast<char const *>(pData), static_cast<std::streamsize>(nSize));
    }
    sInspection Inspection;
    if (!InspectArchive(ArchivePath(), Inspection))
        __builtin_trap();
    // A record takes 276 bytes of the file and a unit at least 32: more of either than the
    // bytes can hold would mean that something was counted twice.
    std::size_t nEntries = 0;
    for (sInspectedUnit const & Unit : Inspection.vUnits)
        nEntries += Unit.vEntries.size();
    if (Inspection.vUnits.size() > nSize / 32 + 1 || nEntries > nSize / 276 + 1)
        __builtin_trap();
    // Every name of the top unit finds an entry (the first of its name); deeper names
    // may lie below a directory whose name an earlier entry hides.
    if (!Inspection.vUnits.empty())
    {
        for (sInspectedEntry const & Entry : Inspection.vUnits[0].vEntries)
        {
            if (Entry.sName.find('/') == std::string::npos &&
                FindMember(Inspection, Entry.sName) == nullptr)
                __builtin_trap();
        }
        for (sInspectedUnit const & Unit : Inspection.vUnits)
            for (sInspectedEntry const & Entry : Unit.vEntries)
                FindMember(Inspection, Unit.sPath + Entry.sName);
    }
    return 0;
}
