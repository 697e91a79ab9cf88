// The export macro of the library. The library is built with hidden visibility, so
// only what carries COMMON_API (whole classes and the free functions of the public
// interface) is reachable from a host program.
#pragma once

#define COMMON_API __attribute__((visibility("default")))
