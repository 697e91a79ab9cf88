// Files larger than the copy buffer move between source and archive in pieces. What
// a reader sees must stay as if each file were read whole before its event and written
// after it: the bytes of the moment it was read, no event for a file that reads short,
// and nothing of such a file left in the archive; on extraction, a member whose bytes
// are gone leaves no file under its name.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "workdir.h"

namespace fs = std::filesystem;

namespace
{
// Larger than any buffer the copy could use, and not a multiple of a page.
constexpr std::size_t LARGE_SIZE = (5u << 20) + 77;

std::string Pattern(std::size_t nSize, int nSeed)
{
    std::string sBytes(nSize, '\0');
    for (std::size_t nByte = 0; nByte < nSize; ++nByte)
        sBytes[nByte] = static_cast<char>((nByte * 13 + nSeed) % 253);
    return sBytes;
}

struct sSeen
{
    std::vector<std::string> vAdded; // names of event 1, in order
    std::string sChange;             // what the callback does at the event for "big.bin"
};

// Changes big.bin at its own event 1, after its bytes were read.
void ChangeAtItsEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR ulUser)
{
    auto * pSeen = reinterpret_cast<sSeen *>(ulUser);
    auto const * pEvent = reinterpret_cast<CExtendedFileSystem::sArchiveFileEvent const *>(ulArg1);
    if (nCode != XFS_NOTIFY_ADDFILE)
        return;
    pSeen->vAdded.push_back(pEvent->m_szFileName);
    if (pSeen->vAdded.back() != "big.bin")
        return;
    if (pSeen->sChange == "shrink")
        fs::resize_file("big.bin", 10);
    else if (pSeen->sChange == "grow")
        std::ofstream("big.bin", std::ios::binary | std::ios::app) << std::string(3 << 20, 'g');
    else if (pSeen->sChange == "vanish")
    {
        // Windows refuses to delete a file that is still open; then nothing changes.
        std::error_code Error;
        fs::remove("big.bin", Error);
    }
    else if (pSeen->sChange == "throw")
        throw 17;
}

int s_nExtracted = 0;
fs::path s_CutArchive;
// Cuts the archive in the middle of the big member when its extraction begins.
void CutAtBigMember(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR)
{
    auto const * pEvent = reinterpret_cast<CExtendedFileSystem::sArchiveFileEvent const *>(ulArg1);
    if (nCode == XFS_NOTIFY_EXTRACTFILE && std::string(pEvent->m_szFileName) == "big.bin")
        fs::resize_file(s_CutArchive, 32 + 3 + LARGE_SIZE / 2);
    if (nCode == XFS_NOTIFY_EXTRACTFILE)
        ++s_nExtracted;
}

class ArchiveCopy : public CWorkDirTest
{
protected:
    std::unique_ptr<CExtendedFileSystem> m_pXfs = std::make_unique<CExtendedFileSystem>();
    CExtendedFileSystem & Xfs() { return *m_pXfs; }
};
} // namespace

TEST_F(ArchiveCopy, AFileChangedAtItsEventIsPackedAsItWasRead)
{
    std::string const sBig = Pattern(LARGE_SIZE, 3);
    for (char const * szChange : {"shrink", "grow", "vanish"})
    {
        SCOPED_TRACE(szChange);
        fs::current_path(m_Dir.Path());
        fs::remove_all("tree");
        m_Dir.WriteFile("tree/big.bin", sBig);
        m_Dir.WriteFile("tree/small.txt", "small");
        sSeen Seen{{}, szChange};
        Xfs().AddCallback(ChangeAtItsEvent, reinterpret_cast<ZR_ULONG_PTR>(&Seen));
        ASSERT_TRUE(Xfs().CreateArchive("packed.arc", "./tree"));
        Xfs().RemoveCallback(ChangeAtItsEvent);
        EXPECT_EQ(Seen.vAdded.size(), 2u);

        fs::remove_all("out");
        fs::create_directory("out");
        ASSERT_TRUE(Xfs().ExtractArchive("packed.arc", "out/"));
        EXPECT_TRUE(m_Dir.ReadFile("out/packed/big.bin") == sBig);
        EXPECT_EQ(m_Dir.ReadFile("out/packed/small.txt"), "small");
    }
}

TEST_F(ArchiveCopy, AnErrorAtTheEventLeavesNoneOfTheFileInTheArchive)
{
    // The callback's exception stands where the file's data would be written: what was
    // packed before stays, the copied bytes of the large file don't.
    m_Dir.WriteFile("tree/big.bin", Pattern(LARGE_SIZE, 5));
    sSeen Seen{{}, "throw"};
    Xfs().AddCallback(ChangeAtItsEvent, reinterpret_cast<ZR_ULONG_PTR>(&Seen));
    EXPECT_THROW(Xfs().CreateArchive("packed.arc", "./tree"), int);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(m_Dir.ReadFile("packed.arc"), ArchiveHeader(0, 0, 0));
}

TEST_F(ArchiveCopy, AMemberCutOffDuringExtractionLeavesNoFile)
{
    // Over 4 MB of member bytes: copied member by member, not through one view of the unit.
    m_Dir.WriteFile("cut.arc", ArchiveUnit({{"a", "aaa"}, {"big.bin", Pattern(LARGE_SIZE, 7)}}));
    fs::create_directory("out");
    s_nExtracted = 0;
    s_CutArchive = fs::absolute("cut.arc");
    Xfs().AddCallback(CutAtBigMember, 0);
    std::string sText;
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("cut.arc", "out/"); }, &sText), 4006u);
    EXPECT_EQ(sText, "Error reading from file.");
    EXPECT_EQ(s_nExtracted, 2);
    fs::current_path(m_Dir.Path());
    std::vector<std::string> vNames;
    for (auto const & Entry : fs::directory_iterator("out/cut"))
        vNames.push_back(Entry.path().filename().string());
    EXPECT_EQ(vNames, std::vector<std::string>{"a"});
    EXPECT_EQ(m_Dir.ReadFile("out/cut/a"), "aaa");
}
