#include "archivemap.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "common/kernel/text.h"

namespace
{
constexpr std::uint32_t HEADER_SIZE = 32;
constexpr std::uint32_t RECORD_SIZE = 276;
constexpr std::size_t MAX_DEPTH = 1000;

std::string Format(char const * szFormat, ...) __attribute__((format(printf, 1, 2)));
std::string Format(char const * szFormat, ...)
{
    char szBuffer[512];
    va_list pArgs;
    va_start(pArgs, szFormat);
    std::vsnprintf(szBuffer, sizeof(szBuffer), szFormat, pArgs);
    va_end(pArgs);
    return szBuffer;
}

std::uint32_t U32At(unsigned char const * pBytes)
{
    return static_cast<std::uint32_t>(pBytes[0]) | static_cast<std::uint32_t>(pBytes[1]) << 8 |
           static_cast<std::uint32_t>(pBytes[2]) << 16 |
           static_cast<std::uint32_t>(pBytes[3]) << 24;
}

// A stream's offsets have 64 bits on every system, where a C stream's (long) may not.
bool ReadAt(std::ifstream & File, std::uint64_t ullPosition, void * pBuffer, std::size_t nSize)
{
    File.clear();
    File.seekg(static_cast<std::streamoff>(ullPosition));
    File.read(static_cast<char *>(pBuffer), static_cast<std::streamsize>(nSize));
    return File.gcount() == static_cast<std::streamsize>(nSize);
}

std::string UnitLabel(std::string const & sPath)
{
    return sPath.empty() ? "top unit" : "unit '" + sPath.substr(0, sPath.size() - 1) + "'";
}

// What is wrong with an entry's name for extraction, or null.
char const * NameProblem(unsigned char const * pRecord, std::string const & sName)
{
    if (std::memchr(pRecord, '\0', 256) == nullptr)
        return "has no terminator in its 256 bytes";
    if (sName.empty())
        return "has an empty name";
    if (sName == "." || sName == "..")
        return "is named like a directory link";
    if (sName.find_first_of("/\\") != std::string::npos)
        return "has a slash or backslash in its name";
    return nullptr;
}

class CInspector
{
public:
    CInspector(std::ifstream & File, sInspection & Result) : m_File(File), m_Result(Result) {}

    // Reads the unit at ullPosition, which has ullRoom bytes to lie in; false when its
    // directory couldn't be read.
    bool ReadUnit(std::uint64_t ullPosition, std::uint64_t ullRoom, std::string const & sPath);
    void CheckEntries(std::size_t nUnit);
    void ReportDuplicateNames(sInspectedUnit const & Unit);

private:
    void Problem(std::string const & sText) { m_Result.vProblems.push_back(sText); }

    std::ifstream & m_File;
    sInspection & m_Result;
};

bool CInspector::ReadUnit(std::uint64_t ullPosition, std::uint64_t ullRoom,
                          std::string const & sPath)
{
    std::string const sLabel = UnitLabel(sPath);
    unsigned char aHeader[HEADER_SIZE];
    if (ullRoom < HEADER_SIZE || !ReadAt(m_File, ullPosition, aHeader, HEADER_SIZE))
    {
        Problem(Format("%s: header cut short (%llu bytes where 32 are needed)", sLabel.c_str(),
                       static_cast<unsigned long long>(ullRoom)));
        return false;
    }
    if (std::memcmp(aHeader, "ARCX", 4) != 0)
    {
        Problem(sLabel + ": not an archive unit (no \"ARCX\" at its start)");
        return false;
    }
    if (aHeader[4] != 1 || aHeader[5] != 0)
    {
        Problem(Format("%s: version %u.%u, only 1.0 can be read", sLabel.c_str(), aHeader[4],
                       aHeader[5]));
        return false;
    }
    sInspectedUnit Unit{
        sPath, ullPosition, U32At(aHeader + 6), U32At(aHeader + 10), U32At(aHeader + 14), {}};
    std::uint64_t const ullDirectoryEnd = static_cast<std::uint64_t>(Unit.ulDirectoryOffset) +
                                          std::uint64_t{RECORD_SIZE} * Unit.ulEntryCount;
    if (Unit.ulDirectoryOffset < HEADER_SIZE || ullDirectoryEnd > ullRoom)
    {
        Problem(Format("%s: directory of %u entries at offset %u lies outside the unit's %llu "
                       "bytes",
                       sLabel.c_str(), Unit.ulEntryCount, Unit.ulDirectoryOffset,
                       static_cast<unsigned long long>(ullRoom)));
        return false;
    }
    if (Unit.ulSize != ullDirectoryEnd)
        Problem(Format("%s: header gives the size %u, but its directory ends at %llu",
                       sLabel.c_str(), Unit.ulSize,
                       static_cast<unsigned long long>(ullDirectoryEnd)));
    std::vector<unsigned char> vRecords(std::size_t{RECORD_SIZE} * Unit.ulEntryCount);
    if (!vRecords.empty() &&
        !ReadAt(m_File, ullPosition + Unit.ulDirectoryOffset, vRecords.data(), vRecords.size()))
    {
        Problem(sLabel + ": directory can't be read");
        return false;
    }
    for (std::uint32_t ulIndex = 0; ulIndex < Unit.ulEntryCount; ++ulIndex)
    {
        unsigned char const * pRecord = vRecords.data() + std::size_t{RECORD_SIZE} * ulIndex;
        sInspectedEntry Entry{std::string(reinterpret_cast<char const *>(pRecord),
                                          strnlen(reinterpret_cast<char const *>(pRecord), 256)),
                              U32At(pRecord + 256),
                              U32At(pRecord + 260),
                              pRecord[264],
                              0,
                              -1,
                              true};
        Entry.ullPosition = ullPosition + Entry.ulOffset;
        if (char const * szProblem = NameProblem(pRecord, Entry.sName))
        {
            Problem(Format("entry '%s%s' %s", sPath.c_str(), Entry.sName.c_str(), szProblem));
            Entry.bNameSound = false;
        }
        Unit.vEntries.push_back(Entry);
    }
    m_Result.vUnits.push_back(std::move(Unit));
    return true;
}

// Names compare without regard to case, and of equal names only the first is reached.
void CInspector::ReportDuplicateNames(sInspectedUnit const & Unit)
{
    std::vector<std::pair<std::string, std::size_t>> vNames;
    vNames.reserve(Unit.vEntries.size());
    for (std::size_t nIndex = 0; nIndex < Unit.vEntries.size(); ++nIndex)
    {
        std::string sFolded = Unit.vEntries[nIndex].sName;
        for (char & c : sFolded)
            c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
        vNames.emplace_back(std::move(sFolded), nIndex);
    }
    std::sort(vNames.begin(), vNames.end());
    std::size_t nFirst = 0; // the first of the run of equal names, in record order
    for (std::size_t nStep = 1; nStep < vNames.size(); ++nStep)
    {
        if (vNames[nStep - 1].first != vNames[nStep].first)
        {
            nFirst = nStep;
            continue;
        }
        Problem(Format("entry '%s%s' has the name of entry '%s%s', which hides it",
                       Unit.sPath.c_str(), Unit.vEntries[vNames[nStep].second].sName.c_str(),
                       Unit.sPath.c_str(), Unit.vEntries[vNames[nFirst].second].sName.c_str()));
    }
}

void CInspector::CheckEntries(std::size_t nUnit)
{
    // Copied: reading nested units below grows the vector of units.
    sInspectedUnit const Unit = m_Result.vUnits[nUnit];
    std::vector<bool> vSound(Unit.vEntries.size(), true);
    for (std::size_t nIndex = 0; nIndex < Unit.vEntries.size(); ++nIndex)
    {
        sInspectedEntry const & Entry = Unit.vEntries[nIndex];
        std::string const sName = Unit.sPath + Entry.sName;
        if (Entry.ucDirectory > 1)
            Problem(Format("entry '%s': directory flag %u is neither 0 nor 1", sName.c_str(),
                           Entry.ucDirectory));
        std::uint64_t const ullEnd = std::uint64_t{Entry.ulOffset} + Entry.ulSize;
        if (Entry.ucDirectory != 0 && Entry.ulOffset < HEADER_SIZE)
        {
            Problem(Format("entry '%s': a directory that points back at its own unit (offset %u)",
                           sName.c_str(), Entry.ulOffset));
            vSound[nIndex] = false;
        }
        else if (Entry.ulOffset < HEADER_SIZE || ullEnd > Unit.ulDirectoryOffset)
        {
            Problem(Format("entry '%s': bytes %u to %llu lie outside its unit's data, which "
                           "runs from 32 to %u",
                           sName.c_str(), Entry.ulOffset, static_cast<unsigned long long>(ullEnd),
                           Unit.ulDirectoryOffset));
            vSound[nIndex] = false;
        }
    }
    ReportDuplicateNames(Unit);
    // Entries of a sound archive never share bytes; nested units that did would be read
    // again and again.
    std::vector<std::size_t> vOrder;
    for (std::size_t nIndex = 0; nIndex < Unit.vEntries.size(); ++nIndex)
        if (vSound[nIndex] && Unit.vEntries[nIndex].ulSize > 0)
            vOrder.push_back(nIndex);
    std::sort(vOrder.begin(), vOrder.end(),
              [&](std::size_t nLeft, std::size_t nRight)
              { return Unit.vEntries[nLeft].ulOffset < Unit.vEntries[nRight].ulOffset; });
    for (std::size_t nStep = 1; nStep < vOrder.size(); ++nStep)
    {
        sInspectedEntry const & Before = Unit.vEntries[vOrder[nStep - 1]];
        sInspectedEntry const & After = Unit.vEntries[vOrder[nStep]];
        if (std::uint64_t{Before.ulOffset} + Before.ulSize > After.ulOffset)
        {
            Problem(Format("entry '%s%s' overlaps entry '%s%s'", Unit.sPath.c_str(),
                           After.sName.c_str(), Unit.sPath.c_str(), Before.sName.c_str()));
            vSound[vOrder[nStep]] = false;
            vSound[vOrder[nStep - 1]] = false;
        }
    }
    std::size_t const nDepth =
        static_cast<std::size_t>(std::count(Unit.sPath.begin(), Unit.sPath.end(), '/'));
    for (std::size_t nIndex = 0; nIndex < Unit.vEntries.size(); ++nIndex)
    {
        sInspectedEntry const & Entry = Unit.vEntries[nIndex];
        if (Entry.ucDirectory == 0 || !vSound[nIndex] || !Entry.bNameSound)
            continue;
        std::string const sPath = Unit.sPath + Entry.sName + "/";
        if (nDepth >= MAX_DEPTH)
        {
            Problem("unit '" + sPath + "' lies deeper than 1000 levels and isn't looked at");
            continue;
        }
        if (!ReadUnit(Entry.ullPosition, Entry.ulSize, sPath))
            continue;
        int const nNested = static_cast<int>(m_Result.vUnits.size() - 1);
        m_Result.vUnits[nUnit].vEntries[nIndex].nUnit = nNested;
        if (m_Result.vUnits[nNested].ulSize != Entry.ulSize)
            Problem(Format("entry '%s': its size %u differs from its unit's size %u",
                           (Unit.sPath + Entry.sName).c_str(), Entry.ulSize,
                           m_Result.vUnits[nNested].ulSize));
    }
}
} // namespace

bool InspectArchive(std::string const & sPath, sInspection & Result)
{
    Result = sInspection();
    std::ifstream File(sPath, std::ios::binary);
    if (!File.seekg(0, std::ios::end))
        return false;
    std::streamoff const llSize = File.tellg();
    if (llSize < 0)
        return false;
    Result.ullFileSize = static_cast<std::uint64_t>(llSize);
    CInspector Inspector(File, Result);
    if (!Inspector.ReadUnit(0, Result.ullFileSize, ""))
        return true;
    if (Result.vUnits[0].ulSize != Result.ullFileSize)
        Result.vProblems.push_back(Format("the file holds %llu bytes, its top unit %u",
                                          static_cast<unsigned long long>(Result.ullFileSize),
                                          Result.vUnits[0].ulSize));
    // Units are checked in the order they were read; each check may read more of them.
    for (std::size_t nUnit = 0; nUnit < Result.vUnits.size(); ++nUnit)
        Inspector.CheckEntries(nUnit);
    return true;
}

sInspectedEntry const * FindMember(sInspection const & Inspection, std::string const & sMember)
{
    if (Inspection.vUnits.empty())
        return nullptr;
    std::size_t nUnit = 0;
    std::size_t nStart = 0;
    while (true)
    {
        std::size_t const nSlash = sMember.find('/', nStart);
        std::string const sPart = sMember.substr(nStart, nSlash - nStart);
        sInspectedEntry const * pFound = nullptr;
        for (sInspectedEntry const & Entry : Inspection.vUnits[nUnit].vEntries)
        {
            if (STR_stricmp(Entry.sName.c_str(), sPart.c_str()) == 0)
            {
                pFound = &Entry;
                break;
            }
        }
        if (pFound == nullptr || nSlash == std::string::npos)
            return pFound;
        if (pFound->nUnit < 0)
            return nullptr;
        nUnit = static_cast<std::size_t>(pFound->nUnit);
        nStart = nSlash + 1;
    }
}
