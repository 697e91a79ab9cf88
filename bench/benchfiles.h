// Files for the benchmarks: a temporary working directory (also made the current
// directory, since archives are found relative to it) and a writer of .arc archives
// holding plain files, in the stored format of the file system.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <stdlib.h>

class CBenchDir
{
public:
    CBenchDir()
    {
        std::string sTemplate =
            (std::filesystem::temp_directory_path() / "common-bench-XXXXXX").string();
        m_Path = ::mkdtemp(sTemplate.data());
        m_OldPath = std::filesystem::current_path();
        std::filesystem::current_path(m_Path);
    }
    ~CBenchDir()
    {
        std::filesystem::current_path(m_OldPath);
        std::error_code Error;
        std::filesystem::remove_all(m_Path, Error);
    }
    CBenchDir(CBenchDir const &) = delete;
    CBenchDir & operator=(CBenchDir const &) = delete;

private:
    std::filesystem::path m_Path;
    std::filesystem::path m_OldPath;
};

inline void BenchPutU32(std::string & sBytes, std::uint32_t ulValue)
{
    for (int nByte = 0; nByte < 4; ++nByte)
        sBytes += static_cast<char>((ulValue >> (8 * nByte)) & 0xFF);
}

inline void BenchWriteFile(std::string const & sName, std::string const & sBytes)
{
    std::FILE * pFile = std::fopen(sName.c_str(), "wb");
    std::fwrite(sBytes.data(), 1, sBytes.size(), pFile);
    std::fclose(pFile);
}

// One archive unit without subdirectories: header, data, directory.
inline void BenchWriteArchive(std::string const & sName,
                              std::vector<std::pair<std::string, std::string>> const & vFiles)
{
    std::string sBody;
    std::string sDirectory;
    std::uint32_t ulOffset = 32;
    for (auto const & File : vFiles)
    {
        std::string sRecord = File.first;
        sRecord.resize(256, '\0');
        BenchPutU32(sRecord, ulOffset);
        BenchPutU32(sRecord, static_cast<std::uint32_t>(File.second.size()));
        sRecord.append(12, '\0');
        sDirectory += sRecord;
        sBody += File.second;
        ulOffset += static_cast<std::uint32_t>(File.second.size());
    }
    std::uint32_t const ulCount = static_cast<std::uint32_t>(vFiles.size());
    std::string sArchive = "ARCX";
    sArchive += '\x01';
    sArchive += '\x00';
    BenchPutU32(sArchive, ulOffset + 276 * ulCount);
    BenchPutU32(sArchive, ulOffset);
    BenchPutU32(sArchive, ulCount);
    sArchive.append(14, '\0');
    BenchWriteFile(sName, sArchive + sBody + sDirectory);
}
