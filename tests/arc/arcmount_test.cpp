// arc mount through the kernel's FUSE: a tree packed by arc create, mounted, walked and
// read with ordinary file calls and compared with the tree and with arc cat, then
// unmounted with fusermount3; and a mount whose archive was cut short, as a file system
// whose files read short, for packing. Skipped, with the reason, where FUSE can't be used.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/file/extendedfilesystem.h"
#include "tempdir.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{
std::string Tool()
{
    char const * szTools = std::getenv("COMMON_TEST_TOOLS_DIR");
    return std::string(szTools != nullptr ? szTools : "") + "/arc/arc";
}

std::string Quote(std::string const & sText)
{
    std::string sQuoted = "'";
    for (char const cChar : sText)
        sQuoted += cChar == '\'' ? std::string("'\\''") : std::string(1, cChar);
    return sQuoted + "'";
}

// Runs a shell command; its exit code, and its stdout in *pOut when asked for.
int Shell(std::string const & sCommand, std::string * pOut = nullptr)
{
    std::string sOut;
    std::FILE * pPipe = ::popen((sCommand + " 2>&1").c_str(), "r");
    if (pPipe == nullptr)
        return -1;
    char aBuffer[65536];
    for (std::size_t nRead; (nRead = std::fread(aBuffer, 1, sizeof(aBuffer), pPipe)) > 0;)
        sOut.append(aBuffer, nRead);
    int const nStatus = ::pclose(pPipe);
    if (pOut != nullptr)
        *pOut = sOut;
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

// Why FUSE can't be used here, or empty.
std::string FuseUnavailable()
{
    int const nFuse = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (nFuse < 0)
        return std::string("/dev/fuse can't be opened: ") + std::strerror(errno);
    ::close(nFuse);
    if (Shell("command -v fusermount3 >/dev/null") != 0)
        return "fusermount3 is not installed";
    if (Shell(Quote(Tool()) + " mount --help >/dev/null") != 0)
        return "arc was built without libfuse3";
    return std::string();
}

bool IsMountPoint(fs::path const & Directory)
{
    struct stat Inside;
    struct stat Parent;
    return ::stat(Directory.c_str(), &Inside) == 0 &&
           ::stat(Directory.parent_path().c_str(), &Parent) == 0 && Inside.st_dev != Parent.st_dev;
}

// Every name below Directory with its size, "-" for a directory.
std::map<std::string, std::string> Tree(fs::path const & Directory)
{
    std::map<std::string, std::string> Names;
    for (auto const & Entry : fs::recursive_directory_iterator(Directory))
        Names[fs::relative(Entry.path(), Directory).string()] =
            Entry.is_directory() ? "-" : std::to_string(Entry.file_size());
    return Names;
}

class ArcMount : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string const sReason = FuseUnavailable();
        if (!sReason.empty())
            GTEST_SKIP() << sReason;
        fs::create_directory(m_Mount);
    }

    void TearDown() override
    {
        // A failed test must not leave a mount behind.
        if (IsMountPoint(m_Mount))
            Shell("fusermount3 -u -z " + Quote(m_Mount.string()));
        if (m_nChild > 0)
            ::waitpid(m_nChild, nullptr, 0);
    }

    // Starts "arc mount -f" and waits until it reports the mount; false when it ended
    // instead.
    bool MountInForeground(std::string const & sArchive)
    {
        int aPipe[2];
        if (::pipe(aPipe) != 0)
            return false;
        m_nChild = ::fork();
        if (m_nChild == 0)
        {
            ::dup2(aPipe[1], STDERR_FILENO);
            ::close(aPipe[0]);
            std::string const sTool = Tool();
            ::execl(sTool.c_str(), sTool.c_str(), "mount", "-f", sArchive.c_str(), m_Mount.c_str(),
                    static_cast<char *>(nullptr));
            ::_exit(127);
        }
        ::close(aPipe[1]);
        std::string sSaid;
        char aBuffer[256];
        for (ssize_t nRead; sSaid.find("mounted on") == std::string::npos &&
                            (nRead = ::read(aPipe[0], aBuffer, sizeof(aBuffer))) > 0;)
            sSaid.append(aBuffer, static_cast<std::size_t>(nRead));
        ::close(aPipe[0]);
        return sSaid.find("mounted on") != std::string::npos;
    }

    int WaitForChild()
    {
        int nStatus = 0;
        ::waitpid(m_nChild, &nStatus, 0);
        m_nChild = 0;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
    }

    CTempDir m_Dir;
    fs::path const m_Mount = m_Dir.Path() / "mnt";
    pid_t m_nChild = 0;
};
} // namespace

TEST_F(ArcMount, EveryMemberReadsThroughTheMountAsArcCatPrintsIt)
{
    std::string sBig(300000, '\0');
    for (std::size_t nIndex = 0; nIndex < sBig.size(); ++nIndex)
        sBig[nIndex] = static_cast<char>(nIndex * 131 % 251);
    m_Dir.WriteFile("src/a.txt", "hello\n");
    m_Dir.WriteFile("src/empty.dat", "");
    m_Dir.WriteFile("src/town/big.bin", sBig);
    m_Dir.WriteFile("src/town/cellar/barrel.dat", "wine");
    fs::create_directories(m_Dir.Path() / "src/void");
    std::string const sArchive = m_Dir / "t.arc";
    ASSERT_EQ(Shell(Quote(Tool()) + " create " + Quote(sArchive) + " " + Quote(m_Dir / "src")), 0);

    ASSERT_TRUE(MountInForeground(sArchive));
    EXPECT_EQ(Tree(m_Mount), Tree(m_Dir.Path() / "src"));
    for (auto const & Name : Tree(m_Mount))
    {
        if (Name.second == "-")
            continue;
        std::string sCat;
        EXPECT_EQ(Shell(Quote(Tool()) + " cat " + Quote(sArchive) + " " + Quote(Name.first), &sCat),
                  0);
        EXPECT_EQ(m_Dir.ReadFile("mnt/" + Name.first), sCat) << Name.first;
    }
    // Read-only: no member can be written, and nothing can be added.
    EXPECT_EQ(::open((m_Mount / "a.txt").c_str(), O_WRONLY), -1);
    EXPECT_EQ(::open((m_Mount / "new.txt").c_str(), O_WRONLY | O_CREAT, 0644), -1);
    EXPECT_EQ(errno, EROFS);

    EXPECT_EQ(Shell("fusermount3 -u " + Quote(m_Mount.string())), 0);
    EXPECT_EQ(WaitForChild(), 0);
    EXPECT_FALSE(IsMountPoint(m_Mount));

    // Without -f arc returns once the mount stands, and serves it in the background.
    EXPECT_EQ(Shell(Quote(Tool()) + " mount " + Quote(sArchive) + " " + Quote(m_Mount.string())),
              0);
    EXPECT_EQ(m_Dir.ReadFile("mnt/town/big.bin"), sBig);
    EXPECT_EQ(Shell("fusermount3 -u " + Quote(m_Mount.string())), 0);
}

TEST_F(ArcMount, ADamagedArchiveIsRefusedBeforeMounting)
{
    m_Dir.WriteFile("src/a.txt", "hello\n");
    std::string const sArchive = m_Dir / "t.arc";
    ASSERT_EQ(Shell(Quote(Tool()) + " create " + Quote(sArchive) + " " + Quote(m_Dir / "src")), 0);
    fs::resize_file(sArchive, fs::file_size(sArchive) - 1);
    std::string sVerify;
    std::string sMount;
    EXPECT_EQ(Shell(Quote(Tool()) + " verify " + Quote(sArchive), &sVerify), 1);
    EXPECT_EQ(Shell(Quote(Tool()) + " mount -f " + Quote(sArchive) + " " + Quote(m_Mount.string()),
                    &sMount),
              1);
    EXPECT_THAT(sMount, HasSubstr("damaged"));
    // The same problems as verify finds, line for line.
    EXPECT_THAT(sMount, HasSubstr(sVerify.substr(0, sVerify.find('\n'))));
    EXPECT_FALSE(IsMountPoint(m_Mount));
    EXPECT_EQ(Shell(Quote(Tool()) + " mount " + Quote(m_Dir / "none.arc") + " " +
                    Quote(m_Mount.string())),
              1);
}

namespace
{
void RecordAdded(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR ulUser)
{
    auto const * pEvent = reinterpret_cast<CExtendedFileSystem::sArchiveFileEvent const *>(ulArg1);
    if (nCode == XFS_NOTIFY_ADDFILE)
        reinterpret_cast<std::vector<std::string> *>(ulUser)->push_back(pEvent->m_szFileName);
}
} // namespace

TEST_F(ArcMount, AFileThatReadsShortEndsThePackAndLeavesNoneOfIt)
{
    // A member of a mounted archive whose file was cut in the member's middle still
    // shows its full size but reads short, as a file cut while it is packed does.
    std::string sBig(3u << 20, '\0');
    for (std::size_t nIndex = 0; nIndex < sBig.size(); ++nIndex)
        sBig[nIndex] = static_cast<char>(nIndex * 131 % 251);
    m_Dir.WriteFile("src/a.txt", "hello\n");
    m_Dir.WriteFile("src/big.bin", sBig);
    std::string const sArchive = m_Dir / "t.arc";
    ASSERT_EQ(Shell(Quote(Tool()) + " create " + Quote(sArchive) + " " + Quote(m_Dir / "src")), 0);
    std::string const sWhole = m_Dir.ReadFile("t.arc");
    std::size_t const nBigAt = sWhole.find(sBig.substr(0, 4096));
    ASSERT_NE(nBigAt, std::string::npos);
    fs::path const Saved = fs::current_path();
    for (bool const bTool : {false, true})
    {
        // A mount of its own each time: the kernel keeps the size it learnt from the
        // short read.
        m_Dir.WriteFile("t.arc", sWhole);
        ASSERT_TRUE(MountInForeground(sArchive));
        fs::resize_file(sArchive, nBigAt + sBig.size() / 2);
        if (bTool)
        {
            // The tool's walk sees the full size, the pack the short read: the error
            // names the file and no archive is left.
            std::string sOut;
            EXPECT_EQ(Shell(Quote(Tool()) + " create " + Quote(m_Dir / "packed.arc") + " " +
                                Quote(m_Mount.string()),
                            &sOut),
                      1);
            EXPECT_THAT(sOut, HasSubstr("big.bin"));
            EXPECT_THAT(sOut, HasSubstr("(error 4006)"));
            EXPECT_FALSE(fs::exists(m_Dir / "packed.arc"));
        }
        else
        {
            // No event for the file that read short, and the archive holds what was
            // packed before it: the provisional header and the files with an event.
            auto pXfs = std::make_unique<CExtendedFileSystem>();
            std::vector<std::string> vAdded;
            pXfs->AddCallback(RecordAdded, reinterpret_cast<ZR_ULONG_PTR>(&vAdded));
            std::uint32_t ulCode = 0;
            try
            {
                pXfs->CreateArchive((m_Dir / "packed.arc").c_str(), m_Mount.c_str());
            }
            catch (CZRException const & Error)
            {
                ulCode = Error.GetErrorCode();
            }
            fs::current_path(Saved);
            EXPECT_EQ(ulCode, 4006u);
            EXPECT_EQ(std::find(vAdded.begin(), vAdded.end(), "big.bin"), vAdded.end());
            std::string const sPacked = m_Dir.ReadFile("packed.arc");
            std::string const sExpected = vAdded.empty() ? "" : "hello\n";
            EXPECT_EQ(sPacked.size(), 32 + sExpected.size());
            EXPECT_EQ(sPacked.substr(32), sExpected);
            fs::remove(m_Dir / "packed.arc");
        }
        EXPECT_EQ(Shell("fusermount3 -u " + Quote(m_Mount.string())), 0);
        EXPECT_EQ(WaitForChild(), 0);
    }
}
