# Debian packages through CPack, one per install component:
#   libcommon1      the shared library (soname libCommon.so.1)
#   libcommon-dev   headers, the libCommon.so link, the CMake package, pkg-config, API docs
#   common-tools    arc and logmon with their manual pages
# Run `cpack` in a Release tree (`cpack -G DEB` from build/release). Library
# dependencies are computed by dpkg-shlibdeps; the shlibs file of libcommon1 lets other
# packages do the same against it.
set(COMMON_DEB_RUNTIME libcommon${PROJECT_VERSION_MAJOR})
set(COMMON_DEB_DOC_DIR ${PROJECT_BINARY_DIR}/debian-doc)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME common)
set(CPACK_PACKAGE_VENDOR "Common developers")
set(CPACK_PACKAGE_CONTACT "Common developers <common-developers@example.com>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tools need libCommon.so.1, which is not yet installed anywhere dpkg-shlibdeps looks.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/common)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${COMMON_DEB_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "foundation library of a real-time engine
Strings, paths, streams over files and memory, a virtual file system
with .arc archives, typed properties, a tokenizer and lexical analyser,
logging with a mailslot sink, a frame timer and profiler, thin locks.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libcommon-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${COMMON_DEB_RUNTIME} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "foundation library of a real-time engine - development files
Headers under common/, the libCommon.so link, the CMake package Common
(find_package(Common 1.0 CONFIG), target Common::Common), the
pkg-config file libcommon and the HTML API reference.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME common-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${COMMON_DEB_RUNTIME} (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "archive tool and log monitor of the Common library
arc packs a directory tree into an .arc archive, unpacks, lists, prints
and verifies archives. logmon prints the log records that programs send
to the mailslot sink, and can forward them to a syslog server.")

# Every package carries its copyright and changelog under /usr/share/doc/<package>/.
file(MAKE_DIRECTORY ${COMMON_DEB_DOC_DIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog ${COMMON_DEB_DOC_DIR}/changelog COPYONLY)
execute_process(COMMAND gzip -9 -n -f ${COMMON_DEB_DOC_DIR}/changelog)
foreach(component runtime dev tools)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${COMMON_DEB_DOC_DIR}/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component}
            EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
