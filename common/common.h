// The umbrella header: every public class and function of the library.
#pragma once

#include "common/exception/zrexception.h"
#include "common/file/extendedfilesystem.h"
#include "common/file/fileio.h"
#include "common/file/vectors.h"
#include "common/kernel/debug.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"
#include "common/log/zrlog.h"
#include "common/mailslot/zrmailslot.h"
#include "common/processcontrol/zrmutex.h"
#include "common/string/zrclasstype.h"
#include "common/string/zrpath.h"
#include "common/string/zrstring.h"
