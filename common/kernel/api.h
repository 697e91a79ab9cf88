// The export macro of the library, and the integer types that carry a pointer through
// the interfaces typed unsigned long / long (callback arguments, user values, cursors).
// On Linux the library is built with hidden visibility, so only what carries COMMON_API
// (whole classes and the free functions of the public interface) is reachable from a
// host program; on Windows the same marks export from Common.dll and import into hosts.
#pragma once

// Marks a class or function as part of the library's binary interface.
#if defined(_WIN32)
#if defined(COMMON_BUILDING_LIBRARY)
#define COMMON_API __declspec(dllexport)
#else
#define COMMON_API __declspec(dllimport)
#endif
#else
#define COMMON_API __attribute__((visibility("default")))
#endif

// unsigned long and long where they hold a pointer (Linux x86-64, 32-bit Windows);
// pointer-wide on 64-bit Windows, where long stays 32 bits.
#if defined(_WIN64)
typedef unsigned long long ZR_ULONG_PTR;
typedef long long ZR_LONG_PTR;
#else
typedef unsigned long ZR_ULONG_PTR;
// The signed twin of ZR_ULONG_PTR.
typedef long ZR_LONG_PTR;
#endif

static_assert(sizeof(ZR_ULONG_PTR) == sizeof(void *) && sizeof(ZR_LONG_PTR) == sizeof(void *),
              "a pointer-carrying value holds a whole pointer");
// The widths the interfaces and the stored forms are written for, on 32 bits as on 64:
// int is the stored 32-bit integer, long holds at least its 32 bits and never more than
// a pointer, long long is the 64-bit counter.
static_assert(sizeof(int) == 4 && sizeof(long) >= 4 && sizeof(long) <= sizeof(void *) &&
                  sizeof(long long) == 8,
              "int of 32 bits, long of 32 bits up to a pointer, long long of 64 bits");
