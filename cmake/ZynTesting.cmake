# zyn_add_qtest(NAME <name> SOURCES <files...> LIBS <targets...>
#               [WEBENGINE] [SANITIZE] [LABELS <labels...>] [TIMEOUT <s>])
#
# A QtTest executable run by CTest. Every test gets its own HOME, so
# settings and configuration files of parallel tests never meet.
# WEBENGINE tests run under Xvfb; SANITIZE tests are also built by the
# `sanitize_tests` target and run again under ASan/UBSan.
if(NOT TARGET sanitize_tests)
  add_custom_target(sanitize_tests)
endif()

function(zyn_add_qtest)
  cmake_parse_arguments(T "WEBENGINE;SANITIZE" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE Qt5::Test ${T_LIBS})
  set(home ${CMAKE_BINARY_DIR}/testhome/${T_NAME})
  if(T_WEBENGINE)
    add_test(NAME ${T_NAME} COMMAND xvfb-run -a -s "-screen 0 1600x1000x24" $<TARGET_FILE:${T_NAME}>)
    set(platform xcb)
  else()
    add_test(NAME ${T_NAME} COMMAND ${T_NAME})
    set(platform offscreen)
  endif()
  set(labels ${T_LABELS})
  if(T_SANITIZE)
    list(APPEND labels sanitize)
    add_dependencies(sanitize_tests ${T_NAME})
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  file(MAKE_DIRECTORY ${home})
  set_tests_properties(${T_NAME} PROPERTIES
    LABELS "${labels}"
    TIMEOUT ${T_TIMEOUT}
    ENVIRONMENT "HOME=${home};XDG_CONFIG_HOME=${home}/.config;XDG_DATA_HOME=${home}/.local/share;QT_QPA_PLATFORM=${platform};QTWEBENGINE_DISABLE_SANDBOX=1;ZYN_DATA_PATH=${ZYN_DATA_OUTPUT_DIR};ZYN_PLUGIN_PATH=${ZYN_PLUGIN_OUTPUT_DIR};ZYN_TOOLS_DIR=${CMAKE_BINARY_DIR}/bin")
endfunction()

# zyn_add_fuzzer(NAME <name> SOURCES <files...> LIBS <targets...> CORPUS <dir> [SECONDS <n>])
# A libFuzzer target (clang only), run by CTest for a bounded time over the
# seed corpus kept in the repository. Built by the `fuzz_targets` target.
# A fixed seed makes a failing run repeatable from its log; 0 explores anew
# each run. New-coverage lines are not printed, so a crash report is never
# buried (or cut off) under them.
set(ZYN_FUZZ_SEED 1 CACHE STRING "libFuzzer -seed for the CTest fuzz runs (0: random)")
if(NOT TARGET fuzz_targets)
  add_custom_target(fuzz_targets)
endif()

function(zyn_add_fuzzer)
  cmake_parse_arguments(F "" "NAME;CORPUS;SECONDS" "SOURCES;LIBS" ${ARGN})
  if(NOT ZYN_BUILD_FUZZ)
    # Compiled (not linked) in every other build, so a change that breaks a
    # fuzz target shows without the clang build.
    add_library(${F_NAME}_compiles OBJECT ${F_SOURCES})
    target_link_libraries(${F_NAME}_compiles PRIVATE ${F_LIBS})
    return()
  endif()
  if(NOT F_SECONDS)
    set(F_SECONDS 60)
  endif()
  add_executable(${F_NAME} ${F_SOURCES})
  target_compile_options(${F_NAME} PRIVATE -fsanitize=fuzzer,address,undefined)
  target_link_options(${F_NAME} PRIVATE -fsanitize=fuzzer,address,undefined)
  target_link_libraries(${F_NAME} PRIVATE ${F_LIBS})
  add_dependencies(fuzz_targets ${F_NAME})
  set(work ${CMAKE_BINARY_DIR}/fuzz/${F_NAME})
  file(MAKE_DIRECTORY ${work}/corpus)
  add_test(NAME ${F_NAME}
    COMMAND $<TARGET_FILE:${F_NAME}> -seed=${ZYN_FUZZ_SEED} -verbosity=0 -print_final_stats=1
            -max_total_time=${F_SECONDS} -timeout=10 -rss_limit_mb=4096
            -artifact_prefix=${work}/ ${work}/corpus ${F_CORPUS})
  set_tests_properties(${F_NAME} PROPERTIES LABELS fuzz TIMEOUT 900
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;ASAN_OPTIONS=detect_leaks=0;ZYN_DATA_PATH=${ZYN_DATA_OUTPUT_DIR}")
endfunction()
