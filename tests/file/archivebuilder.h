// Builds .arc archive units byte by byte for the tests: a 32-byte header, the file
// data, the nested units, then the directory of 276-byte records. Offsets count from
// the unit's own header. Helpers write little-endian numbers, so that tests can also
// build damaged archives by hand.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

inline void PutU32(std::string & sBytes, std::uint32_t ulValue)
{
    for (int nByte = 0; nByte < 4; ++nByte)
        sBytes += static_cast<char>((ulValue >> (8 * nByte)) & 0xFF);
}

inline void SetU32(std::string & sBytes, std::size_t nOffset, std::uint32_t ulValue)
{
    for (int nByte = 0; nByte < 4; ++nByte)
        sBytes[nOffset + nByte] = static_cast<char>((ulValue >> (8 * nByte)) & 0xFF);
}

inline std::string ArchiveHeader(std::uint32_t ulSize, std::uint32_t ulDirectoryOffset,
                                 std::uint32_t ulCount)
{
    std::string sHeader = "ARCX";
    sHeader += '\x01';
    sHeader += '\x00';
    PutU32(sHeader, ulSize);
    PutU32(sHeader, ulDirectoryOffset);
    PutU32(sHeader, ulCount);
    sHeader.append(14, '\0');
    return sHeader;
}

inline std::string ArchiveRecord(std::string const & sName, std::uint32_t ulOffset,
                                 std::uint32_t ulSize, bool bDirectory)
{
    std::string sRecord = sName.substr(0, 256);
    sRecord.resize(256, '\0');
    PutU32(sRecord, ulOffset);
    PutU32(sRecord, ulSize);
    sRecord += bDirectory ? '\x01' : '\x00';
    sRecord.append(11, '\0');
    return sRecord;
}

// One unit: (name, data) files first, then (name, unit bytes) subdirectories.
inline std::string
ArchiveUnit(std::vector<std::pair<std::string, std::string>> const & vFiles,
            std::vector<std::pair<std::string, std::string>> const & vDirectories = {})
{
    std::string sBody;
    std::string sDirectory;
    std::uint32_t ulOffset = 32;
    for (auto const & File : vFiles)
    {
        sDirectory += ArchiveRecord(File.first, ulOffset,
                                    static_cast<std::uint32_t>(File.second.size()), false);
        sBody += File.second;
        ulOffset += static_cast<std::uint32_t>(File.second.size());
    }
    for (auto const & Directory : vDirectories)
    {
        sDirectory += ArchiveRecord(Directory.first, ulOffset,
                                    static_cast<std::uint32_t>(Directory.second.size()), true);
        sBody += Directory.second;
        ulOffset += static_cast<std::uint32_t>(Directory.second.size());
    }
    std::uint32_t const ulCount = static_cast<std::uint32_t>(vFiles.size() + vDirectories.size());
    return ArchiveHeader(ulOffset + 276 * ulCount, ulOffset, ulCount) + sBody + sDirectory;
}
