// arc mount ARCHIVE DIRECTORY: the archive as a read-only file system through FUSE. The
// archive is checked whole first, as "arc verify" checks it, and a damaged one is not
// mounted. Then its tree is held in memory (units as directories, members as files
// with their sizes) and each read is served from the archive file at the member's
// place; nothing is extracted. Of names equal without regard to case in one unit the
// first record is shown, as the library opens it. "fusermount3 -u DIRECTORY" ends the
// mount and arc with exit code 0. The mount shows the archive as it was when mounted.
#define FUSE_USE_VERSION 31

#include "mount.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <fcntl.h>
#include <fuse.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include "archivemap.h"

namespace
{
struct sNode
{
    bool bDirectory;
    std::uint64_t ullPosition; // of a file's bytes in the archive file
    std::uint32_t ulSize;
    std::vector<std::string> vChildren; // names, in the order of the archive
};

struct sMount
{
    int nArchive; // the archive file, read with pread
    struct stat ArchiveStatus;
    std::map<std::string, sNode> Nodes; // by path: "/", "/town", "/town/hall.dat"
};

struct sMountArguments
{
    std::string sArchive;
    std::string sDirectory;
    bool bForeground = false;
};

sMountArguments s_Arguments;

sMount & Mounted()
{
    return *static_cast<sMount *>(fuse_get_context()->private_data);
}

void AddUnit(sInspection const & Inspection, std::size_t nUnit, std::string const & sPath,
             sMount & Mount)
{
    sNode & Directory = Mount.Nodes[sPath];
    Directory.bDirectory = true;
    std::string const sPrefix = sPath == "/" ? "/" : sPath + "/";
    std::vector<std::string> vNames;
    for (sInspectedEntry const & Entry : Inspection.vUnits[nUnit].vEntries)
    {
        bool bShadowed = false;
        for (std::string const & sName : vNames)
            bShadowed = bShadowed || ::strcasecmp(sName.c_str(), Entry.sName.c_str()) == 0;
        if (bShadowed)
            continue;
        vNames.push_back(Entry.sName);
        if (Entry.ucDirectory != 0 && Entry.nUnit >= 0)
            AddUnit(Inspection, static_cast<std::size_t>(Entry.nUnit), sPrefix + Entry.sName,
                    Mount);
        else
            Mount.Nodes[sPrefix + Entry.sName] =
                sNode{false, Entry.ullPosition, Entry.ulSize, std::vector<std::string>()};
    }
    Mount.Nodes[sPath].vChildren = vNames;
}

sNode const * FindNode(char const * szPath)
{
    std::map<std::string, sNode> const & Nodes = Mounted().Nodes;
    auto const Found = Nodes.find(szPath);
    return Found != Nodes.end() ? &Found->second : nullptr;
}

void * OnInit(fuse_conn_info *, fuse_config * pConfig)
{
    // The tree never changes while mounted: the kernel may keep what it learnt.
    pConfig->kernel_cache = 1;
    std::fprintf(stderr, "arc: %s mounted on %s\n", s_Arguments.sArchive.c_str(),
                 s_Arguments.sDirectory.c_str());
    return fuse_get_context()->private_data;
}

int OnGetAttr(char const * szPath, struct stat * pStatus, fuse_file_info *)
{
    sNode const * pNode = FindNode(szPath);
    if (pNode == nullptr)
        return -ENOENT;
    struct stat const & Archive = Mounted().ArchiveStatus;
    std::memset(pStatus, 0, sizeof(*pStatus));
    pStatus->st_uid = Archive.st_uid;
    pStatus->st_gid = Archive.st_gid;
    pStatus->st_atim = Archive.st_atim;
    pStatus->st_mtim = Archive.st_mtim;
    pStatus->st_ctim = Archive.st_ctim;
    if (pNode->bDirectory)
    {
        pStatus->st_mode = S_IFDIR | 0555;
        pStatus->st_nlink = 2;
    }
    else
    {
        pStatus->st_mode = S_IFREG | 0444;
        pStatus->st_nlink = 1;
        pStatus->st_size = pNode->ulSize;
    }
    return 0;
}

int OnReadDir(char const * szPath, void * pBuffer, fuse_fill_dir_t pfnFill, off_t, fuse_file_info *,
              fuse_readdir_flags)
{
    sNode const * pNode = FindNode(szPath);
    if (pNode == nullptr)
        return -ENOENT;
    if (!pNode->bDirectory)
        return -ENOTDIR;
    pfnFill(pBuffer, ".", nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
    pfnFill(pBuffer, "..", nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
    for (std::string const & sName : pNode->vChildren)
        if (pfnFill(pBuffer, sName.c_str(), nullptr, 0, static_cast<fuse_fill_dir_flags>(0)) != 0)
            break;
    return 0;
}

int OnOpen(char const * szPath, fuse_file_info * pInfo)
{
    sNode const * pNode = FindNode(szPath);
    if (pNode == nullptr)
        return -ENOENT;
    if (pNode->bDirectory)
        return -EISDIR;
    if ((pInfo->flags & O_ACCMODE) != O_RDONLY)
        return -EROFS;
    pInfo->keep_cache = 1;
    return 0;
}

int OnRead(char const * szPath, char * pBuffer, std::size_t nSize, off_t llOffset, fuse_file_info *)
{
    sNode const * pNode = FindNode(szPath);
    if (pNode == nullptr || pNode->bDirectory)
        return -ENOENT;
    if (llOffset < 0 || static_cast<std::uint64_t>(llOffset) >= pNode->ulSize)
        return 0;
    std::uint64_t const ullLeft = pNode->ulSize - static_cast<std::uint64_t>(llOffset);
    std::size_t nWanted = nSize < ullLeft ? nSize : static_cast<std::size_t>(ullLeft);
    std::size_t nDone = 0;
    while (nDone < nWanted)
    {
        ssize_t const nRead = ::pread(
            Mounted().nArchive, pBuffer + nDone, nWanted - nDone,
            static_cast<off_t>(pNode->ullPosition + static_cast<std::uint64_t>(llOffset) + nDone));
        if (nRead < 0 && errno == EINTR)
            continue;
        if (nRead < 0)
            return -EIO;
        if (nRead == 0)
            break;
        nDone += static_cast<std::size_t>(nRead);
    }
    return static_cast<int>(nDone);
}

int Mount(sMountArguments const & Arguments)
{
    std::string sFile = Arguments.sArchive;
    std::size_t const nPart = sFile.find_last_of('/');
    std::size_t const nDot = sFile.rfind('.');
    if (nDot == std::string::npos || (nPart != std::string::npos && nDot < nPart) ||
        ::strcasecmp(sFile.c_str() + nDot, ".arc") != 0)
        sFile += ".arc";
    sInspection Inspection;
    if (!InspectArchive(sFile, Inspection))
    {
        std::fprintf(stderr, "arc: cannot open archive: %s\n", sFile.c_str());
        return 1;
    }
    if (!Inspection.vProblems.empty())
    {
        for (std::string const & sProblem : Inspection.vProblems)
            std::fprintf(stderr, "%s: %s\n", sFile.c_str(), sProblem.c_str());
        std::fprintf(stderr, "arc: %s is damaged (%zu problem%s); not mounted\n", sFile.c_str(),
                     Inspection.vProblems.size(), Inspection.vProblems.size() == 1 ? "" : "s");
        return 1;
    }
    struct stat Target;
    if (::stat(Arguments.sDirectory.c_str(), &Target) != 0 || !S_ISDIR(Target.st_mode))
    {
        std::fprintf(stderr, "arc: no such directory: %s\n", Arguments.sDirectory.c_str());
        return 1;
    }

    sMount Mounted;
    Mounted.nArchive = ::open(sFile.c_str(), O_RDONLY | O_CLOEXEC);
    if (Mounted.nArchive < 0 || ::fstat(Mounted.nArchive, &Mounted.ArchiveStatus) != 0)
    {
        std::fprintf(stderr, "arc: cannot open archive: %s\n", sFile.c_str());
        return 1;
    }
    AddUnit(Inspection, 0, "/", Mounted);

    fuse_operations Operations;
    std::memset(&Operations, 0, sizeof(Operations));
    Operations.init = OnInit;
    Operations.getattr = OnGetAttr;
    Operations.readdir = OnReadDir;
    Operations.open = OnOpen;
    Operations.read = OnRead;

    // The file system's name in the mount table is the archive's; a comma would end the
    // option.
    std::string sName = sFile.substr(sFile.find_last_of('/') + 1);
    for (char & cChar : sName)
        if (cChar == ',' || cChar == '\\')
            cChar = '_';
    std::string const sOptions = "ro,default_permissions,subtype=arc,fsname=" + sName;
    std::vector<std::string> vArguments{"arc", "-s", "-o", sOptions};
    if (Arguments.bForeground)
        vArguments.push_back("-f");
    vArguments.push_back(Arguments.sDirectory);
    std::vector<char *> vArgv;
    for (std::string & sArgument : vArguments)
        vArgv.push_back(&sArgument[0]);
    vArgv.push_back(nullptr);
    int const nResult =
        fuse_main(static_cast<int>(vArguments.size()), vArgv.data(), &Operations, &Mounted);
    ::close(Mounted.nArchive);
    return nResult == 0 ? 0 : 1;
}
} // namespace

void AddMountCommand(CLI::App & App)
{
    CLI::App * pCommand = App.add_subcommand(
        "mount", "mount ARCHIVE read-only on DIRECTORY (FUSE); fusermount3 -u DIRECTORY ends it");
    pCommand
        ->add_option("ARCHIVE", s_Arguments.sArchive,
                     "the archive; \".arc\" is added unless that is its extension")
        ->required();
    pCommand->add_option("DIRECTORY", s_Arguments.sDirectory, "an existing, empty directory")
        ->required();
    pCommand->add_flag("-f,--foreground", s_Arguments.bForeground,
                       "stay in the foreground until unmounted");
}

bool RunMountCommand(CLI::App const & App, int & nExit)
{
    if (!App.got_subcommand("mount"))
        return false;
    nExit = Mount(s_Arguments);
    return true;
}
