// The check used throughout the library: a test whose failure reports the source text
// of the tested expression, the module path and the line through Debug_Assert, which
// ends the process. Checks are on in every build. Private to the library.
#pragma once

#include <cstddef>

#include "common/kernel/debug.h"

#define ZR_CHECK(expression, szFile)                                                               \
    do                                                                                             \
    {                                                                                              \
        if (!(expression))                                                                         \
            Debug_Assert(#expression, szFile, __LINE__);                                           \
    } while (false)
