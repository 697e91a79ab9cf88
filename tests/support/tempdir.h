// A fresh temporary directory for one test, removed with everything in it when the
// object goes out of scope. Tests that touch files work only inside one of these.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

class CTempDir
{
public:
    CTempDir()
    {
        // create_directory is false for a name that exists: another name is drawn.
        std::random_device Seed;
        std::mt19937 Random(Seed());
        std::filesystem::path const Base = std::filesystem::temp_directory_path();
        for (int nTry = 0; nTry < 100 && m_Path.empty(); ++nTry)
        {
            std::filesystem::path const Path =
                Base / ("common-test-" + std::to_string(Random() % 1000000000u));
            std::error_code Error;
            if (std::filesystem::create_directory(Path, Error))
                m_Path = Path;
        }
    }
    ~CTempDir()
    {
        std::error_code Error;
        if (!m_Path.empty())
            std::filesystem::remove_all(m_Path, Error);
    }
    CTempDir(CTempDir const &) = delete;
    CTempDir & operator=(CTempDir const &) = delete;

    std::filesystem::path const & Path() const { return m_Path; }
    std::string operator/(std::string const & sName) const { return (m_Path / sName).string(); }

    // Writes a file below the directory, making its parent directories.
    void WriteFile(std::string const & sName, std::string const & sBytes) const
    {
        std::filesystem::path const File = m_Path / sName;
        std::filesystem::create_directories(File.parent_path());
        std::ofstream Out(File, std::ios::binary);
        Out.write(sBytes.data(), static_cast<std::streamsize>(sBytes.size()));
    }

    std::string ReadFile(std::string const & sName) const
    {
        std::ifstream In(m_Path / sName, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(In), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path m_Path;
};
