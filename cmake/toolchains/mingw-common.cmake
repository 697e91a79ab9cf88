# What both Windows toolchains share; COMMON_MINGW_TRIPLE names the target.
set(CMAKE_C_COMPILER ${COMMON_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${COMMON_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${COMMON_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${COMMON_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The C99 printf family of mingw-w64 instead of the system's: numbers print as they do
# on Linux (%lld, %zu, the forms of %g), which the text stored forms rely on.
add_compile_definitions(__USE_MINGW_ANSI_STDIO=1)

# Header-only CLI11 from the Linux tree, through a package file of the repository.
set(CLI11_DIR ${CMAKE_CURRENT_LIST_DIR}/../windows/CLI11 CACHE PATH "CLI11 for the cross build")

# pkg-config looks at the target's libraries only, never at those of the Linux host.
set(ENV{PKG_CONFIG_LIBDIR} /usr/${COMMON_MINGW_TRIPLE}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
