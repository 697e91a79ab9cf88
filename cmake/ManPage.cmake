# Manual pages are written in scdoc's plain source form (tools/<tool>/<tool>.1.scd) and
# turned into roff when they are installed, compressed as Debian keeps them. Without
# scdoc the pages are left out with a note; the tools install all the same.
find_program(COMMON_SCDOC scdoc)
find_program(COMMON_GZIP gzip)

function(common_install_man_page source section)
    if(NOT COMMON_SCDOC OR NOT COMMON_GZIP OR WIN32)
        message(STATUS "scdoc or gzip not found: ${source} is not installed")
        return()
    endif()
    get_filename_component(page ${source} NAME_WE)
    set(built ${PROJECT_BINARY_DIR}/man/${page}.${section})
    install(CODE "
        file(MAKE_DIRECTORY \"${PROJECT_BINARY_DIR}/man\")
        execute_process(COMMAND \"${COMMON_SCDOC}\" INPUT_FILE \"${source}\"
                        OUTPUT_FILE \"${built}\" RESULT_VARIABLE result)
        if(NOT result EQUAL 0)
            message(FATAL_ERROR \"scdoc failed on ${source}\")
        endif()
        execute_process(COMMAND \"${COMMON_GZIP}\" -9 -n -f \"${built}\" RESULT_VARIABLE result)
        if(NOT result EQUAL 0)
            message(FATAL_ERROR \"gzip failed on ${built}\")
        endif()" COMPONENT tools)
    install(FILES ${built}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT tools)
endfunction()
