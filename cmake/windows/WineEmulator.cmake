# Programs of a Windows build (the tests, their discovery, the tools the tests start) run
# under wine through scripts/wine-run.sh, which finds the compiler's run-time DLLs
# (libstdc++, libgcc, libwinpthread) and Common's DLL through WINEPATH. The wine prefix is
# the build tree's own, made on first use; scripts/run-tests.sh makes a fresh one per run.
set(common_wine_dll_dirs)
foreach(dll libstdc++-6.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                    OUTPUT_VARIABLE dll_path OUTPUT_STRIP_TRAILING_WHITESPACE)
    get_filename_component(dll_dir ${dll_path} DIRECTORY)
    get_filename_component(dll_dir ${dll_dir} REALPATH)
    list(APPEND common_wine_dll_dirs --dll-dir ${dll_dir})
endforeach()
set(COMMON_WINE_RUN ${PROJECT_SOURCE_DIR}/scripts/wine-run.sh
    --prefix ${PROJECT_BINARY_DIR}/wineprefix ${common_wine_dll_dirs})
set(CMAKE_CROSSCOMPILING_EMULATOR ${COMMON_WINE_RUN} --dll-dir ${PROJECT_BINARY_DIR}/common)
