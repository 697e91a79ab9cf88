#include "sourcecheck.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "common/file/extendedfilesystem.h"
#include "common/kernel/text.h"
#include "shownname.h"

namespace fs = std::filesystem;

namespace
{
// The library's file system registers at most this many units, top and nested together.
constexpr std::size_t UNIT_LIMIT = 256;
constexpr std::size_t NAME_LIMIT = 255;  // bytes of an entry's name
constexpr std::size_t PATH_LIMIT = 1023; // bytes of a path in the library's buffers
constexpr std::uint64_t OFFSET_LIMIT = 0xFFFFFFFFu;
constexpr std::uint64_t HEADER_SIZE = 32;
constexpr std::uint64_t RECORD_SIZE = 276;
constexpr std::size_t NAMES_SHOWN = 5;

// A directory the walk is in. Its files' names are those of its unit in
// sSourceCheck::vFiles; its subdirectories come later, after files of theirs.
struct sDirectory
{
    std::string sPath;
    std::size_t nUnit;
    std::vector<std::size_t> vDirectories; // names in sSourceCheck::sNames
    std::uint64_t ullContent = 0;          // file data and nested units
    std::size_t nUnits = 1;                // this one and all below
};

// Gathers what the survey reports, one directory at a time.
class CCollector
{
public:
    CCollector(std::string const & sShown, fs::path const & Directory,
               std::string const & sArchiveFile, sSourceCheck & Result)
        : m_sShown(sShown), m_Directory(Directory), m_Result(Result)
    {
        m_sArchiveName = fs::path(sArchiveFile).filename().string();
    }

    static void OnEntry(CExtendedFileSystem::sSurveyEntry const & Entry, ZR_ULONG_PTR ulUser)
    {
        reinterpret_cast<CCollector *>(ulUser)->Take(Entry);
    }

    void Finish();

private:
    void Take(CExtendedFileSystem::sSurveyEntry const & Entry);
    std::size_t KeepName(char const * szName);
    void AddFile(char const * szName, std::uint64_t ullSize);
    void Enter(char const * szName);
    void Leave();
    void Unreachable(int nKind, char const * szName);
    void CheckNames(sSourceUnit const & Unit, sDirectory const & Directory);
    void LeftOut(char const * szName);
    void Add(std::size_t nBreach, std::string const & sName);

    std::string m_sShown;
    fs::path m_Directory;
    std::string m_sArchiveName;
    sSourceCheck & m_Result;
    std::vector<sDirectory> m_vStack;
    std::size_t m_nUnits = 0;
    std::vector<std::pair<std::size_t, std::string>> m_vSubtrees; // units below the top
    std::vector<char const *> m_vNames;                           // of the directory being checked
    std::vector<sBreach> m_vBreaches = std::vector<sBreach>(BREACH_COUNT);

    enum
    {
        BREACH_UNREACHABLE,
        BREACH_BACKSLASH,
        BREACH_LONG_NAME,
        BREACH_TOO_DEEP,
        BREACH_MEMBER_PATH,
        BREACH_CASE,
        BREACH_LARGE_FILE,
        BREACH_COUNT
    };
};

std::string ShownSize(std::uint64_t ullSize)
{
    return std::to_string(ullSize) + " bytes";
}

void CCollector::Take(CExtendedFileSystem::sSurveyEntry const & Entry)
{
    switch (Entry.m_nKind)
    {
        case SURVEY_DIRECTORY:
            Enter(Entry.m_szName);
            break;
        case SURVEY_FILE:
            AddFile(Entry.m_szName, Entry.m_ullSize);
            break;
        case SURVEY_END:
            Leave();
            break;
        case SURVEY_LEFT_OUT:
            LeftOut(Entry.m_szName);
            break;
        default:
            Unreachable(Entry.m_nKind, Entry.m_szName);
            break;
    }
}

// Where the name now stands in sSourceCheck::sNames.
std::size_t CCollector::KeepName(char const * szName)
{
    std::size_t const nName = m_Result.sNames.size();
    m_Result.sNames.append(szName, std::strlen(szName) + 1);
    return nName;
}

void CCollector::AddFile(char const * szName, std::uint64_t ullSize)
{
    sDirectory & Directory = m_vStack.back();
    Directory.ullContent += ullSize;
    m_Result.vFiles.push_back({KeepName(szName), ullSize});
    ++m_Result.vUnits[Directory.nUnit].nFiles;
    if (ullSize > OFFSET_LIMIT)
        Add(BREACH_LARGE_FILE,
            ShownPath(m_sShown, Directory.sPath + szName) + " (" + ShownSize(ullSize) + ")");
}

void CCollector::Enter(char const * szName)
{
    std::string sPath;
    if (!m_vStack.empty())
    {
        m_vStack.back().vDirectories.push_back(KeepName(szName));
        sPath = m_vStack.back().sPath + szName + "/";
    }
    ++m_nUnits;
    sSourceUnit Unit;
    Unit.sPath = sPath;
    Unit.nFirstFile = m_Result.vFiles.size();
    m_Result.vUnits.push_back(Unit);
    m_vStack.push_back({sPath, m_Result.vUnits.size() - 1, {}});
}

void CCollector::Leave()
{
    sDirectory Directory = std::move(m_vStack.back());
    m_vStack.pop_back();
    sSourceUnit & Unit = m_Result.vUnits[Directory.nUnit];
    Unit.nEntries = Unit.nFiles + Directory.vDirectories.size();
    CheckNames(Unit, Directory);
    std::uint64_t const ullSize = HEADER_SIZE + Directory.ullContent + RECORD_SIZE * Unit.nEntries;
    if (m_vStack.empty())
    {
        m_Result.ullArchiveSize = ullSize;
        return;
    }
    m_vStack.back().ullContent += ullSize;
    m_vStack.back().nUnits += Directory.nUnits;
    if (m_vStack.size() == 1)
        m_vSubtrees.push_back({Directory.nUnits, Directory.sPath});
}

// A directory the walk can't go into still counts as an entry and a unit; whatever it
// holds is unknown.
void CCollector::Unreachable(int nKind, char const * szName)
{
    std::string const sName = szName;
    std::string sPath = sName;
    if (!m_vStack.empty())
    {
        m_vStack.back().vDirectories.push_back(KeepName(szName));
        m_vStack.back().ullContent += HEADER_SIZE;
        ++m_vStack.back().nUnits;
        sPath = m_vStack.back().sPath + sName;
    }
    ++m_nUnits;
    std::string const sShown = m_vStack.empty() ? m_sShown : ShownPath(m_sShown, sPath);
    if (nKind == SURVEY_TOO_DEEP)
        Add(BREACH_TOO_DEEP, sShown);
    else if (sName.find('\\') == std::string::npos)
        Add(BREACH_UNREACHABLE, sShown);
    if (m_vStack.size() == 1)
        m_vSubtrees.push_back({1, sPath + "/"});
}

// Without case as the library compares, then byte by byte, so that equal names stand
// side by side in one order.
bool LessWithoutCase(char const * szLeft, char const * szRight)
{
    int const nOrder = STR_stricmp(szLeft, szRight);
    return nOrder != 0 ? nOrder < 0 : std::strcmp(szLeft, szRight) < 0;
}

// In the order above, so that what breaks a rule is reported alike from run to run. A
// path is made only for a name that breaks one.
void CCollector::CheckNames(sSourceUnit const & Unit, sDirectory const & Directory)
{
    m_vNames.clear();
    for (std::size_t nFile = Unit.nFirstFile; nFile < Unit.nFirstFile + Unit.nFiles; ++nFile)
        m_vNames.push_back(m_Result.FileName(nFile));
    for (std::size_t const nName : Directory.vDirectories)
        m_vNames.push_back(m_Result.sNames.c_str() + nName);
    std::sort(m_vNames.begin(), m_vNames.end(), LessWithoutCase);
    // The library opens a member by the archive's name, a backslash and its path.
    std::size_t const nMemberStart = m_sArchiveName.size() + 1 + Directory.sPath.size();
    for (std::size_t nName = 0; nName < m_vNames.size(); ++nName)
    {
        char const * const szName = m_vNames[nName];
        std::size_t const nLength = std::strlen(szName);
        bool const bBackslash = std::memchr(szName, '\\', nLength) != nullptr;
        std::size_t const nMember = nMemberStart + nLength;
        bool const bCase = nName > 0 && STR_stricmp(m_vNames[nName - 1], szName) == 0;
        if (!bBackslash && nLength <= NAME_LIMIT && nMember <= PATH_LIMIT && !bCase)
            continue;
        std::string const sPath = Directory.sPath + szName;
        if (bBackslash)
            Add(BREACH_BACKSLASH, ShownPath(m_sShown, sPath));
        if (nLength > NAME_LIMIT)
            Add(BREACH_LONG_NAME, ShownPath(m_sShown, sPath));
        if (nMember > PATH_LIMIT)
            Add(BREACH_MEMBER_PATH,
                ShownPath(m_sShown, sPath) + " (" + std::to_string(nMember) + " bytes)");
        if (bCase)
            Add(BREACH_CASE,
                ShownPath(m_sShown, Directory.sPath + m_vNames[nName - 1]) + " and " + szName);
    }
}

// What an entry the search didn't report is, in a few words.
std::string KindOf(fs::directory_entry const & Entry)
{
    std::error_code Error;
    fs::file_status const Own = Entry.symlink_status(Error);
    if (fs::is_symlink(Own))
    {
        fs::file_status const Target = fs::status(Entry.path(), Error);
        if (Error)
            return Error == std::errc::no_such_file_or_directory ? "a dangling link"
                                                                 : "a link that can't be followed";
        if (fs::is_directory(Target))
            return "a link to a directory";
        return "a link to " + KindOf(fs::directory_entry(fs::canonical(Entry.path(), Error)));
    }
    if (fs::is_fifo(Own))
        return "a FIFO";
    if (fs::is_socket(Own))
        return "a socket";
    if (fs::is_block_file(Own))
        return "a block device";
    if (fs::is_character_file(Own))
        return "a character device";
    return "an entry the directory search didn't report";
}

// Packing takes directories and regular files (a link to one counts as the file); the
// search tells of the rest of the directory, named here, so that nothing goes missing
// without a word.
void CCollector::LeftOut(char const * szName)
{
    std::string const & sPath = m_vStack.back().sPath;
    fs::directory_entry const Entry(m_Directory / sPath / szName);
    m_Result.vLeftOut.push_back(ShownPath(m_sShown, sPath + szName) + ": " + KindOf(Entry));
}

void CCollector::Add(std::size_t nBreach, std::string const & sName)
{
    sBreach & Breach = m_vBreaches[nBreach];
    if (Breach.vNames.size() < NAMES_SHOWN)
        Breach.vNames.push_back(sName);
    ++Breach.nNames;
}

std::string Count(std::size_t nCount, char const * szOne, char const * szMany)
{
    return std::to_string(nCount) + " " + (nCount == 1 ? szOne : szMany);
}

void CCollector::Finish()
{
    struct sText
    {
        char const * szOne;
        char const * szMany;
        char const * szRule;
        char const * szAdvice;
    };
    static sText const aTexts[BREACH_COUNT] = {
        {"directory", "directories", "that can't be entered",
         "make them readable and searchable, or move them out of the tree"},
        {"name", "names", "with a backslash, which the library reads as a path separator",
         "rename them"},
        {"name", "names", "of 256 bytes or more; an archive entry holds at most 255",
         "rename them"},
        {"directory", "directories",
         "below a directory whose path has 1024 bytes or more, which the walk can't keep",
         "pack a subtree, or move the tree to a shorter path"},
        {"member", "members",
         "whose path, behind the archive's name and a backslash, has 1024 bytes or more, "
         "which the library can't open",
         "shorten the names or the nesting, or give the archive a shorter name"},
        {"pair", "pairs",
         "of names equal without case in one directory; names in an archive compare "
         "without case, so only one of each pair could be read",
         "rename one name of each pair"},
        {"file", "files", "of 4 GiB or more; sizes in an archive have 32 bits",
         "leave them out of the tree"},
    };
    if (m_nUnits > UNIT_LIMIT)
    {
        sBreach Breach;
        Breach.sRule = std::to_string(m_nUnits) + " directories, counting " + m_sShown +
                       " itself; an archive holds at most " + std::to_string(UNIT_LIMIT) +
                       ", since the library's file system registers at most " +
                       std::to_string(UNIT_LIMIT) + " units (directories) per process";
        std::stable_sort(m_vSubtrees.begin(), m_vSubtrees.end(),
                         [](auto const & Left, auto const & Right)
                         { return Left.first > Right.first; });
        for (auto const & [nUnits, sPath] : m_vSubtrees)
            if (Breach.vNames.size() < NAMES_SHOWN)
                Breach.vNames.push_back(ShownPath(m_sShown, sPath) + " holds " +
                                        Count(nUnits, "directory", "directories"));
        Breach.nNames = m_vSubtrees.size();
        Breach.sAdvice = "split the tree: pack its subdirectories, alone or in groups of at "
                         "most 256 directories, into archives of their own";
        m_Result.vBreaches.push_back(Breach);
    }
    for (std::size_t nBreach = 0; nBreach < BREACH_COUNT; ++nBreach)
    {
        sBreach & Breach = m_vBreaches[nBreach];
        if (Breach.nNames == 0)
            continue;
        sText const & Text = aTexts[nBreach];
        Breach.sRule = Count(Breach.nNames, Text.szOne, Text.szMany) + " " + Text.szRule;
        Breach.sAdvice = Text.szAdvice;
        m_Result.vBreaches.push_back(Breach);
    }
    if (m_Result.ullArchiveSize > OFFSET_LIMIT)
    {
        sBreach Breach;
        Breach.sRule = "the archive would take " + ShownSize(m_Result.ullArchiveSize) +
                       "; offsets in an archive have 32 bits and reach 4294967295 bytes";
        Breach.sAdvice = "split the tree into archives of their own";
        m_Result.vBreaches.push_back(Breach);
    }
}
} // namespace

std::string JoinPath(std::string const & sShown, std::string const & sPath)
{
    if (sPath.empty())
        return sShown;
    return sShown.empty() || sShown.back() == '/' ? sShown + sPath : sShown + "/" + sPath;
}

std::string ShownPath(std::string const & sShown, std::string const & sPath)
{
    return Escaped(JoinPath(sShown, sPath));
}

void CheckSource(std::string const & sArchive, std::string const & sSourceForm,
                 std::string const & sShown, fs::path const & Directory,
                 std::string const & sArchiveFile, sSourceCheck & Result)
{
    CCollector Collector(sShown, Directory, sArchiveFile, Result);
    auto pFileSystem = std::make_unique<CExtendedFileSystem>();
    pFileSystem->SurveyArchive(sArchive.c_str(), sSourceForm.c_str(), CCollector::OnEntry,
                               reinterpret_cast<ZR_ULONG_PTR>(&Collector));
    Collector.Finish();
}
