# Install rules: the library (runtime component; the .so link goes with dev), the public
# headers, a CMake package and a pkg-config file (dev), and the tools with their manual
# pages (tools). A Debug tree installs libCommon_Dbg beside a Release tree's libCommon
# into the same prefix; the CMake package then gives each configuration its own file.
include(CMakePackageConfigHelpers)
include(${CMAKE_CURRENT_LIST_DIR}/ManPage.cmake)

set(COMMON_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Common)

install(TARGETS Common EXPORT CommonTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
                NAMELINK_COMPONENT dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)

foreach(header ${COMMON_PUBLIC_HEADERS})
    get_filename_component(header_dir ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/${header}
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${header_dir} COMPONENT dev)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/include/common/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/common COMPONENT dev)

install(EXPORT CommonTargets NAMESPACE Common:: DESTINATION ${COMMON_CMAKE_DIR}
        COMPONENT dev)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/CommonConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/CommonConfig.cmake
                              INSTALL_DESTINATION ${COMMON_CMAKE_DIR})
# A program built against 1.x runs with any later 1.y: same major, same or newer minor.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CommonConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CommonConfig.cmake
              ${PROJECT_BINARY_DIR}/CommonConfigVersion.cmake
        DESTINATION ${COMMON_CMAKE_DIR} COMPONENT dev)

# pkg-config: libcommon for Release builds, libcommon-dbg for the Debug library. The
# prefix is found from the file's own place, so that a prefix can be moved.
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    set(COMMON_PC_NAME libcommon-dbg)
    set(COMMON_PC_LIBRARY Common_Dbg)
else()
    set(COMMON_PC_NAME libcommon)
    set(COMMON_PC_LIBRARY Common)
endif()
file(RELATIVE_PATH COMMON_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" COMMON_PC_TO_PREFIX "${COMMON_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/libcommon.pc.in
               ${PROJECT_BINARY_DIR}/${COMMON_PC_NAME}.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/${COMMON_PC_NAME}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

foreach(tool arc logmon)
    if(TARGET ${tool})
        # The tools find the library beside them in any prefix, /usr or a user's own.
        if(NOT WIN32)
            set_target_properties(${tool} PROPERTIES
                                  INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
        endif()
        install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
        common_install_man_page(${PROJECT_SOURCE_DIR}/tools/${tool}/${tool}.1.scd 1)
    endif()
endforeach()

# The API reference, when the docs target has been built; under the development
# package's name, where Debian looks for a package's documents.
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html/
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libcommon-dev/html COMPONENT dev
        OPTIONAL)
