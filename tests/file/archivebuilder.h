// Builds .arc archive units byte by byte for the tests: a 32-byte header, the file
// data, the nested units, then the directory of 276-byte records. Offsets count from
// the unit's own header. Numbers are little-endian; tests build damaged archives from
// the same parts.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

inline void SetU32(std::string & sBytes, std::size_t nOffset, std::uint32_t ulValue)
{
    for (int nByte = 0; nByte < 4; ++nByte)
        sBytes[nOffset + nByte] = static_cast<char>((ulValue >> (8 * nByte)) & 0xFF);
}

inline void PutU32(std::string & sBytes, std::uint32_t ulValue)
{
    sBytes.append(4, '\0');
    SetU32(sBytes, sBytes.size() - 4, ulValue);
}

inline std::string ArchiveHeader(std::uint32_t ulSize, std::uint32_t ulDirectoryOffset,
                                 std::uint32_t ulCount)
{
    std::string sHeader("ARCX\x01\x00", 6);
    PutU32(sHeader, ulSize);
    PutU32(sHeader, ulDirectoryOffset);
    PutU32(sHeader, ulCount);
    return sHeader + std::string(14, '\0');
}

inline std::string ArchiveRecord(std::string const & sName, std::uint32_t ulOffset,
                                 std::uint32_t ulSize, bool bDirectory)
{
    std::string sRecord = sName.substr(0, 256);
    sRecord.resize(256, '\0');
    PutU32(sRecord, ulOffset);
    PutU32(sRecord, ulSize);
    sRecord += bDirectory ? '\x01' : '\x00';
    return sRecord + std::string(11, '\0');
}

using ArchiveEntries = std::vector<std::pair<std::string, std::string>>;

// One unit: (name, data) files first, then (name, unit bytes) subdirectories.
inline std::string ArchiveUnit(ArchiveEntries const & vFiles,
                               ArchiveEntries const & vDirectories = {})
{
    std::string sBody;
    std::string sDirectory;
    for (ArchiveEntries const * pList : {&vFiles, &vDirectories})
        for (auto const & Entry : *pList)
        {
            sDirectory += ArchiveRecord(Entry.first, static_cast<std::uint32_t>(32 + sBody.size()),
                                        static_cast<std::uint32_t>(Entry.second.size()),
                                        pList == &vDirectories);
            sBody += Entry.second;
        }
    std::uint32_t const ulCount = static_cast<std::uint32_t>(vFiles.size() + vDirectories.size());
    std::uint32_t const ulDirectoryOffset = static_cast<std::uint32_t>(32 + sBody.size());
    return ArchiveHeader(ulDirectoryOffset + 276 * ulCount, ulDirectoryOffset, ulCount) + sBody +
           sDirectory;
}
