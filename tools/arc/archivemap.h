// Reads the structure of an .arc archive for listing and checking, apart from the
// library's file system, which registers only what a path names and trusts what it
// reads. Every unit is looked at: header, version, directory bounds, and whether each
// entry lies inside its unit. The archive comes from outside: nothing is read beyond
// the file, nothing is allocated beyond its size, and a unit whose place is in doubt
// is not entered, so that the work stays linear in the file's size.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct sInspectedEntry
{
    std::string sName;
    std::uint32_t ulOffset; // from the start of its unit
    std::uint32_t ulSize;   // data size, or the nested unit's size
    std::uint8_t ucDirectory;
    std::uint64_t ullPosition; // from the start of the file
    int nUnit;                 // the nested unit read for a directory, or -1
    bool bNameSound;           // a name that extraction can create
};

struct sInspectedUnit
{
    std::string sPath; // "" for the top unit, "town/cellar/" below it
    std::uint64_t ullPosition;
    std::uint32_t ulSize; // as its header says
    std::uint32_t ulDirectoryOffset;
    std::uint32_t ulEntryCount;
    std::vector<sInspectedEntry> vEntries;
};

struct sInspection
{
    std::uint64_t ullFileSize = 0;
    std::vector<sInspectedUnit> vUnits; // the top unit first, when it could be read
    std::vector<std::string> vProblems; // empty for a sound archive
};

// False when the file can't be opened.
bool InspectArchive(std::string const & sPath, sInspection & Result);
// The entry that sMember names ("town/hall.dat", case-blind), or null.
sInspectedEntry const * FindMember(sInspection const & Inspection, std::string const & sMember);
