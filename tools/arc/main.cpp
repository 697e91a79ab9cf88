// arc: packs directory trees into .arc archives and unpacks them, lists, prints and
// checks them. Exit codes: 0 success, 1 failure (one line on stderr with the error's
// text and code, after what it was about), 2 usage. A progress bar goes to stderr when it is a
// terminal.
#include <cstdio>
#include <exception>
#include <string>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "common/exception/zrexception.h"
#include "mount.h"

namespace
{
struct sArguments
{
    std::string sArchive;
    std::string sDirectory;
    std::string sTarget = ".";
    std::string sMember;
    bool bQuiet = false;
    bool bLong = false;
    bool bRaw = false;
};

// The archive's limits, which are the library's; create and extract check them before
// anything is written.
char const s_szLimits[] =
    "Limits of an archive, checked before anything is written:\n"
    "  - at most 256 directories, counting DIR itself: the library's file system\n"
    "    registers at most 256 units (directories) per process;\n"
    "  - names of at most 255 bytes, without a backslash (a path separator to the\n"
    "    library), and no two in one directory equal without regard to case (names\n"
    "    in an archive compare without case);\n"
    "  - paths of at most 1023 bytes (the library's path buffers): directories on\n"
    "    disk while packing, the archive's name and a member's path, and every path\n"
    "    written by extraction;\n"
    "  - files under 4 GiB and archives of at most 4 GiB - 1 bytes (32-bit sizes and\n"
    "    offsets).\n"
    "To stay within them, pack large trees as several archives of their\n"
    "subdirectories, rename clashing names, and extract into short paths.\n";

CLI::App * AddCommand(CLI::App & App, char const * szName, char const * szDescription,
                      sArguments & Arguments)
{
    CLI::App * pCommand = App.add_subcommand(szName, szDescription);
    pCommand
        ->add_option("ARCHIVE", Arguments.sArchive,
                     "the archive; \".arc\" is added unless that is its extension")
        ->required();
    return pCommand;
}

int Run(CLI::App const & App, sArguments const & Arguments)
{
    int nExit = 0;
    if (RunMountCommand(App, nExit))
        return nExit;
    if (App.got_subcommand("create"))
        return CommandCreate(Arguments.sArchive, Arguments.sDirectory, Arguments.bQuiet);
    if (App.got_subcommand("extract"))
        return CommandExtract(Arguments.sArchive, Arguments.sTarget, Arguments.bQuiet);
    if (App.got_subcommand("list"))
        return CommandList(Arguments.sArchive, Arguments.bLong, Arguments.bRaw);
    if (App.got_subcommand("cat"))
        return CommandCat(Arguments.sArchive, Arguments.sMember);
    return CommandVerify(Arguments.sArchive);
}
} // namespace

int main(int argc, char ** argv)
{
    CLI::App App("Packs directory trees into .arc archives and unpacks them.", "arc");
    App.require_subcommand(1);
    App.fallthrough();
    // "/name" is a member's path on every system, never an option in Windows' style.
    App.allow_windows_style_options(false);
    sArguments Arguments;
    App.add_flag("-q,--quiet", Arguments.bQuiet, "no progress bar");

    CLI::App * pCreate =
        AddCommand(App, "create", "pack the directory DIR into ARCHIVE", Arguments);
    pCreate->add_option("DIR", Arguments.sDirectory, "the directory whose content is packed")
        ->required();
    pCreate->footer(std::string(s_szLimits) +
                    "Links to directories, dangling links, FIFOs, sockets and devices are\n"
                    "left out, with one warning each.");
    CLI::App * pExtract =
        AddCommand(App, "extract", "unpack ARCHIVE into TARGET_DIR/<archive name>", Arguments);
    pExtract->add_option("TARGET_DIR", Arguments.sTarget,
                         "an existing directory (default: the current one)");
    pExtract->footer(std::string(s_szLimits) +
                     "Damaged archives and archives past these limits are refused.");
    CLI::App * pList =
        AddCommand(App, "list", "show the tree of names and sizes in ARCHIVE", Arguments);
    pList->add_flag("-l,--long", Arguments.bLong, "add offsets in the file and unit sizes");
    pList->add_flag("--raw", Arguments.bRaw,
                    "names as stored; otherwise control characters, backslashes and spaces "
                    "are escaped as ls -b does");
    AddCommand(App, "cat", "write one member of ARCHIVE to the standard output", Arguments)
        ->add_option("PATH", Arguments.sMember, "the member, as town/hall.dat or town\\hall.dat")
        ->required();
    AddCommand(App, "verify", "check every unit and entry of ARCHIVE", Arguments);
    AddMountCommand(App);

    try
    {
        App.parse(argc, argv);
    }
    catch (CLI::ParseError const & Error)
    {
        return App.exit(Error) == 0 ? 0 : 2;
    }

    try
    {
        return Run(App, Arguments);
    }
    catch (CZRException const & Error)
    {
        std::fprintf(stderr, "arc: %s (error %u)\n", Error.GetErrorString(), Error.GetErrorCode());
    }
    catch (std::exception const & Error)
    {
        std::fprintf(stderr, "arc: %s\n", Error.what());
    }
    return 1;
}
