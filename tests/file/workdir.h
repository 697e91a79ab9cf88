// A fresh temporary directory that is also the current directory for the time of a
// test, since names on disk and archives are resolved against the current directory.
// CXfsTest adds a file system and the reads that its tests share.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "common/exception/zrexception.h"
#include "common/file/extendedfilesystem.h"
#include "tempdir.h"

class CWorkDirTest : public testing::Test
{
protected:
    void SetUp() override { std::filesystem::current_path(m_Dir.Path()); }
    void TearDown() override { std::filesystem::current_path(m_OldPath); }

    CTempDir m_Dir;
    std::filesystem::path m_OldPath = std::filesystem::current_path();
};

// Runs the statement and gives the code of the CZRException it raised, or 0.
inline std::uint32_t ErrorCodeOf(std::function<void()> const & Statement,
                                 std::string * pText = nullptr)
{
    try
    {
        Statement();
    }
    catch (CZRException const & Error)
    {
        if (pText != nullptr)
            *pText = Error.GetErrorString();
        return Error.GetErrorCode();
    }
    return 0;
}

// The code and text of the CZRException the statement raised, as "4008 Invalid file handle.".
inline std::string ErrorOf(std::function<void()> const & Statement)
{
    std::string sText;
    std::uint32_t const ulCode = ErrorCodeOf(Statement, &sText);
    return std::to_string(ulCode) + " " + sText;
}

class CXfsTest : public CWorkDirTest
{
protected:
    // The object holds 256 file and 256 archive records: too large for the stack.
    std::unique_ptr<CExtendedFileSystem> m_pXfs = std::make_unique<CExtendedFileSystem>();
    CExtendedFileSystem & Xfs() { return *m_pXfs; }

    // The whole content of a file opened through the file system.
    std::string ReadAll(std::string const & sName)
    {
        std::uint32_t const ulHandle = Xfs().OpenFile(sName.c_str());
        std::string sData(Xfs().GetFileSize(ulHandle), '\0');
        if (!sData.empty())
            Xfs().ReadFile(ulHandle, sData.data(), static_cast<std::uint32_t>(sData.size()));
        Xfs().CloseFile(ulHandle);
        return sData;
    }
    // The position and the size of an open file, as "pos/size".
    std::string Where(std::uint32_t ulHandle)
    {
        return std::to_string(Xfs().Tell(ulHandle)) + "/" +
               std::to_string(Xfs().GetFileSize(ulHandle));
    }
    std::uint32_t ErrorOfOpen(std::string const & sName)
    {
        return ErrorCodeOf([&] { Xfs().CloseFile(Xfs().OpenFile(sName.c_str())); });
    }
};
