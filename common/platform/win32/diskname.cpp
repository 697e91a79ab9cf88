#include "common/platform/diskname.h"

bool PLATFORM_DiskNamesFoldCase()
{
    return true;
}
