// arc mount: an archive as a read-only directory tree through FUSE, units as directories
// and members as files, their bytes read from the archive as they are asked for. Built
// where libfuse3 is found; elsewhere arc has no such command.
#pragma once

#include <CLI/CLI.hpp>

// Adds the command to App, where arc is built with FUSE.
void AddMountCommand(CLI::App & App);
// True when the command was given; nExit is then its exit code.
bool RunMountCommand(CLI::App const & App, int & nExit);
