// The look at a source tree that arc create takes before anything is written. The tree
// is walked by the library itself (CExtendedFileSystem::SurveyArchive), with the
// searches and changes of directory of packing, so both see the same names in the same
// order. What would keep the archive from being read back whole is gathered rule by
// rule with the names involved; what packing leaves out by design (links to
// directories, dangling links, FIFOs, sockets, devices) is gathered apart, for warnings.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// One rule of the archive that the tree breaks, with the names that break it.
struct sBreach
{
    std::string sRule;
    std::vector<std::string> vNames; // as shown to the user, at most a few of them
    std::size_t nNames = 0;          // all of them
    std::string sAdvice;
};

struct sSourceUnit
{
    std::string sPath;          // relative to the source, "" for the top, "a/b/" below
    std::size_t nEntries = 0;   // files and subdirectories
    std::size_t nFirstFile = 0; // its files in sSourceCheck::vFiles
    std::size_t nFiles = 0;
};

struct sSourceFile
{
    std::size_t nName; // where its name begins in sSourceCheck::sNames
    std::uint64_t ullSize;
};

struct sSourceCheck
{
    std::vector<sSourceUnit> vUnits; // in packing order
    std::vector<sSourceFile> vFiles; // in packing order
    // The names of the tree one after another, each ended by a zero byte: one block
    // for all, rather than a string for each of perhaps millions of files.
    std::string sNames;
    std::uint64_t ullArchiveSize = 0;
    std::vector<std::string> vLeftOut; // "path: what it is"
    std::vector<sBreach> vBreaches;    // empty when the archive reads back whole

    char const * FileName(std::size_t nFile) const { return sNames.c_str() + vFiles[nFile].nName; }
    // Relative to the source, as sSourceUnit::sPath is.
    std::string FilePath(sSourceUnit const & Unit, std::size_t nFile) const
    {
        return Unit.sPath + FileName(nFile);
    }
};

// Walks the directory as CreateArchive(sArchive, sSourceForm) will; sShown is how the
// user named the directory, Directory its absolute path, sArchiveFile the archive's file.
// Raises what SurveyArchive raises.
void CheckSource(std::string const & sArchive, std::string const & sSourceForm,
                 std::string const & sShown, std::filesystem::path const & Directory,
                 std::string const & sArchiveFile, sSourceCheck & Result);

// The path of a source name as the user named the source: sShown, a slash and sPath.
std::string JoinPath(std::string const & sShown, std::string const & sPath);
// The same, escaped for a message.
std::string ShownPath(std::string const & sShown, std::string const & sPath);
