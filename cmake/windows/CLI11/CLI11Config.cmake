# CLI11 for the cross builds: Debian's libcli11-dev installs the header-only library
# under /usr/include/CLI, a tree that a Windows compiler must not search as a whole.
# The target's include directory holds only a link to that one folder.
if(TARGET CLI11::CLI11)
    return()
endif()
set(COMMON_CLI11_HEADERS /usr/include/CLI)
if(NOT EXISTS ${COMMON_CLI11_HEADERS}/CLI.hpp)
    set(CLI11_FOUND FALSE)
    set(CLI11_NOT_FOUND_MESSAGE "CLI11 headers not found in ${COMMON_CLI11_HEADERS} (libcli11-dev)")
    return()
endif()
set(COMMON_CLI11_INCLUDE ${CMAKE_BINARY_DIR}/cli11-include)
file(MAKE_DIRECTORY ${COMMON_CLI11_INCLUDE})
file(CREATE_LINK ${COMMON_CLI11_HEADERS} ${COMMON_CLI11_INCLUDE}/CLI SYMBOLIC)
add_library(CLI11::CLI11 INTERFACE IMPORTED)
set_target_properties(CLI11::CLI11 PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${COMMON_CLI11_INCLUDE})
set(CLI11_FOUND TRUE)
