// What a failing pack or unpack was about. The library's exceptions carry a code and a
// text but no name; these follow the file system's events along the order that the
// look before the work found (the source survey, the archive's units), so that an error
// can be told with the file, member or directory it hit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "archivemap.h"
#include "common/kernel/api.h"
#include "sourcecheck.h"

class CExtendedFileSystem;

// Packing: in each unit, in packing order, event 4 for each entry, then event 1 for each
// file, raised after the file was read and before its data is written.
class CPackSubject
{
public:
    CPackSubject(sSourceCheck const & Check, std::string const & sShown,
                 std::string const & sArchiveFile);
    void Attach(CExtendedFileSystem & FileSystem);
    // The subject of an error with ulCode raised now.
    std::string Describe(std::uint32_t ulCode) const;

private:
    static void OnEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR ulArg2, ZR_ULONG_PTR ulUser);
    void Take(int nCode, char const * szDirectory, char const * szName);
    // Moves past units whose events are all seen, and units that raise none.
    void SkipDone();
    std::string DescribeFile(sSourceUnit const & Unit, std::size_t nFile) const;
    std::string DescribeDirectory() const;

    sSourceCheck const & m_Check;
    std::string m_sShown;
    std::string m_sArchiveFile;
    std::size_t m_nUnit = 0;
    std::size_t m_nSeen = 0;  // events of m_nUnit seen
    bool m_bLost = false;     // the events left the expected order: the tree changed
    std::string m_sLastEvent; // directory and name of the latest event
};

// Unpacking: event 3 for a directory, then event 2 for each of its files, raised just
// before the directory or file is written; then the subdirectories in turn.
class CExtractSubject
{
public:
    CExtractSubject(sInspection const & Inspection, std::string const & sArchiveName);
    void Attach(CExtendedFileSystem & FileSystem);
    std::string Describe() const;

private:
    static void OnEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR ulArg2, ZR_ULONG_PTR ulUser);
    void AddUnit(sInspection const & Inspection, std::size_t nUnit, std::string const & sPath);

    std::vector<std::string> m_vSteps; // member paths in the order of the events
    std::size_t m_nSeen = 0;
};
