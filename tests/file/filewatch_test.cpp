// Watching files for changes as an editor or a packer makes them: writes in place,
// saves by rename, deletions, archives packed again. The system queues a change
// before the call that made it returns, so each poll sees what was done before it.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "testos.h"
#include "workdir.h"

namespace fs = std::filesystem;

namespace
{
class FileWatch : public CXfsTest
{
protected:
    // The names the polls give until nNames different names have come (one poll for
    // none), sorted and joined by spaces. Linux queues a change before the call that
    // made it returns; wine's server hands it on a moment later, so a poll may come
    // before it there.
    std::string PollFor(std::size_t nNames)
    {
        std::vector<std::string> vNames;
        auto const tEnd = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        do
        {
            std::vector<CZRString> vChanged{CZRString("stale")};
            std::int32_t const lCount = Xfs().PollChanges(vChanged);
            EXPECT_EQ(lCount, static_cast<std::int32_t>(vChanged.size()));
            for (CZRString const & sName : vChanged)
            {
                EXPECT_EQ(std::count(vNames.begin(), vNames.end(), sName.GetString()), 0)
                    << sName.GetString() << " came twice";
                vNames.emplace_back(sName.GetString());
            }
            if (vNames.size() < nNames)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        } while (vNames.size() < nNames && std::chrono::steady_clock::now() < tEnd);
        std::sort(vNames.begin(), vNames.end());
        std::string sNames;
        for (std::string const & sName : vNames)
            sNames += (sNames.empty() ? "" : " ") + sName;
        return sNames;
    }

    // Writes a new file beside the old one and renames it over it, as editors save.
    void SaveByRename(std::string const & sName, std::string const & sBytes)
    {
        m_Dir.WriteFile(sName + ".tmp", sBytes);
        fs::rename(m_Dir / (sName + ".tmp"), m_Dir / sName);
    }

    static std::string Pack(std::string const & sA, std::string const & sHall)
    {
        return ArchiveUnit({{"a.txt", sA}, {"b.txt", "bee"}},
                           {{"town", ArchiveUnit({{"hall.dat", sHall}})}});
    }

    static std::size_t OpenDescriptors() { return TEST_OpenHandles(); }
};
} // namespace

TEST_F(FileWatch, FilesOnDiskChangedInPlaceByRenameOrDeletionAreReportedOncePerPoll)
{
    m_Dir.WriteFile("cfg.txt", "one");
    m_Dir.WriteFile("other.txt", "x");
    m_Dir.WriteFile("r/deep.txt", "deep");
    Xfs().AddRoot("r");
    EXPECT_FALSE(Xfs().Watch("missing.txt"));
    EXPECT_FALSE(Xfs().Watch(nullptr));
    ASSERT_TRUE(Xfs().Watch("cfg.txt"));
    ASSERT_TRUE(Xfs().Watch("cfg.txt"));
    ASSERT_TRUE(Xfs().Watch("deep.txt"));
    EXPECT_EQ(PollFor(0), "");

    for (char const * szBytes : {"two", "three", "four"})
        m_Dir.WriteFile("cfg.txt", szBytes);
    m_Dir.WriteFile("other.txt", "y");
    EXPECT_EQ(PollFor(1), "cfg.txt");
    EXPECT_EQ(PollFor(0), "");

    SaveByRename("cfg.txt", "five");
    m_Dir.WriteFile("r/deep.txt", "deeper");
    EXPECT_EQ(PollFor(2), "cfg.txt deep.txt");
    EXPECT_EQ(ReadAll("cfg.txt"), "five");

    fs::remove(m_Dir / "cfg.txt");
    EXPECT_EQ(PollFor(1), "cfg.txt");
    m_Dir.WriteFile("cfg.txt", "six");
    EXPECT_EQ(PollFor(1), "cfg.txt");

    Xfs().Unwatch("cfg.txt");
    Xfs().Unwatch("never watched");
    m_Dir.WriteFile("cfg.txt", "seven");
    m_Dir.WriteFile("r/deep.txt", "deepest");
    EXPECT_EQ(PollFor(1), "deep.txt");
}

TEST_F(FileWatch, ArchiveMembersCountAsChangedOnlyWhenTheirBytesDiffer)
{
    m_Dir.WriteFile("data.arc", Pack("one", "hall"));
    ASSERT_TRUE(Xfs().Watch("data\\a.txt"));
    ASSERT_TRUE(Xfs().Watch("data\\town\\hall.dat"));
    EXPECT_FALSE(Xfs().Watch("data\\none.txt"));

    // A longer a.txt moves every byte behind it; hall.dat stays as it was.
    m_Dir.WriteFile("data.arc", Pack("one more", "hall"));
    EXPECT_EQ(PollFor(1), "data\\a.txt");
    EXPECT_EQ(ReadAll("data\\a.txt"), "one more");
    EXPECT_EQ(ReadAll("data\\town\\hall.dat"), "hall");

    // Packed again with the same members, then several times before one poll.
    m_Dir.WriteFile("data.arc", Pack("one more", "hall"));
    EXPECT_EQ(PollFor(0), "");
    SaveByRename("data.arc", Pack("1", "hall"));
    SaveByRename("data.arc", Pack("1", "HALL"));
    m_Dir.WriteFile("data.arc", Pack("one more", "HALL"));
    EXPECT_EQ(PollFor(1), "data\\town\\hall.dat");
    EXPECT_EQ(ReadAll("data\\town\\hall.dat"), "HALL");

    // A damaged or missing archive loses its members until it is sound again.
    m_Dir.WriteFile("data.arc", "not an archive at all, but long enough for a header");
    EXPECT_EQ(PollFor(2), "data\\a.txt data\\town\\hall.dat");
    EXPECT_EQ(ErrorOfOpen("data\\a.txt"), 4002u);
    fs::remove(m_Dir / "data.arc");
    EXPECT_EQ(PollFor(0), "");
    m_Dir.WriteFile("data.arc", Pack("one more", "HALL"));
    EXPECT_EQ(PollFor(2), "data\\a.txt data\\town\\hall.dat");
    EXPECT_EQ(ReadAll("data\\town\\hall.dat"), "HALL");
}

TEST_F(FileWatch, ClosingTheFileSystemEndsItsWatches)
{
    m_Dir.WriteFile("cfg.txt", "one");
    std::size_t const nBefore = TEST_OpenHandles();
    {
        auto pOther = std::make_unique<CExtendedFileSystem>();
        ASSERT_TRUE(pOther->Watch("cfg.txt"));
        EXPECT_GT(TEST_OpenHandles(), nBefore);
        // A copy watches nothing of its own.
        auto pCopy = std::make_unique<CExtendedFileSystem>(*pOther);
        m_Dir.WriteFile("cfg.txt", "two");
        std::vector<CZRString> vChanged;
        std::int32_t lCount = 0;
        for (int nTry = 0; nTry < 500 && lCount == 0; ++nTry)
        {
            lCount = pOther->PollChanges(vChanged);
            if (lCount == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_EQ(lCount, 1);
        EXPECT_EQ(pCopy->PollChanges(vChanged), 0);
    }
    EXPECT_EQ(TEST_OpenHandles(), nBefore);
}
