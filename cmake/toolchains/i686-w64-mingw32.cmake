# 32-bit Windows, cross-built with Debian's mingw-w64 (posix thread model). Built, not run:
# wine on a 64-bit-only machine cannot start 32-bit programs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR X86)
set(COMMON_MINGW_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
