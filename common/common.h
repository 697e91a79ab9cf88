// The umbrella header: every public class and function of the library.
#pragma once

#include "common/file/zrfilescanner.h"
#include "common/kernel/debug.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"
#include "common/parse/lexanalyzer.h"
#include "common/parse/stringtokenizer.h"
#include "common/processcontrol/zrcriticalsection.h"
#include "common/processcontrol/zrevent.h"
#include "common/processcontrol/zrmutex.h"
#include "common/profile/zrprofiler.h"
#include "common/string/zrclasstype.h"
#include "common/string/zrpath.h"
#include "common/string/zrstring.h"
#include "common/time/timer.h"
