// arc without FUSE: no mount command.
#include "mount.h"

void AddMountCommand(CLI::App &) {}

bool RunMountCommand(CLI::App const &, int &)
{
    return false;
}
