// A fresh temporary directory that is also the current directory for the time of a
// test, since names on disk and archives are resolved against the current directory.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "common/exception/zrexception.h"
#include "tempdir.h"

class CWorkDirTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_OldPath = std::filesystem::current_path();
        std::filesystem::current_path(m_Dir.Path());
    }
    void TearDown() override { std::filesystem::current_path(m_OldPath); }

    CTempDir m_Dir;
    std::filesystem::path m_OldPath;
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
