# zv_test(NAME SOURCES... [FAKES Clock ...] [LIBRARIES ...] [LABELS ...] [TIMEOUT seconds] [COST seconds]
#         [ENVIRONMENT name=value ...] [NIGHTLY pattern] [WHOLE] [LAUNCHER script] [ONE_THREAD] [SERIAL])
#
# One GoogleTest program.
#   FAKES        files of tests/fake/. Each replaces the platform service, or the portable part, of the same name.
#   COST         starts the entry before all entries with a smaller cost, so that no long entry runs alone at the end.
#   NIGHTLY      a GoogleTest pattern. The tests that match it take minutes and have the label nightly, which ./test
#                excludes.
#   WHOLE        registers the program as one ctest entry, for tests that share an expensive set-up. Otherwise every TEST
#                is an entry. On Windows every program is WHOLE, because each run needs a Wine prefix.
#   LAUNCHER     a script that runs a WHOLE program.
#   ENVIRONMENT  variables of a WHOLE program.
#   ONE_THREAD   neither the tests nor the code under test start a thread.
#   SERIAL       runs the entries while no other test runs.
#
# With ZV_SANITIZERS a portable test also runs as NAME_address and, unless it is ONE_THREAD, as NAME_thread: one entry
# each.
#
# For Windows, a portable test over FAKES is only built with ZV_FAKES_UNDER_WINE, which ./test --nightly sets: it repeats
# a test of the Linux build and calls almost nothing of the system.
include(GoogleTest)
option(ZV_FAKES_UNDER_WINE "Build the portable tests over fakes for Windows, too" OFF)

if(WIN32)
  # The distribution ships GoogleTest's sources; build them with the cross compiler.
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  add_library(zorvel_gtest INTERFACE)
  target_link_libraries(zorvel_gtest INTERFACE gmock)
else()
  find_package(GTest REQUIRED)
  add_library(zorvel_gtest INTERFACE)
  target_link_libraries(zorvel_gtest INTERFACE GTest::gmock)
endif()

# The entry point, the fakes and GoogleTest's headers are compiled once for all tests. Tests are compiled without
# optimization; the code under test is compiled as it ships.
set(zv_test_flags -O0)
if(NOT WIN32)  # Wine prints no source lines
  list(APPEND zv_test_flags -g1)
endif()
# These fakes process whole pictures and would take ten times as long without optimization.
set(zv_busy_fakes BytePipe DesktopCapture EncoderLibrary NumberedDesktop)

# zv_shared_object(OUT NAME SOURCE COMPILE FLAGS...): an object library of one file, created at its first use.
function(zv_shared_object out name source compile)
  string(REPLACE zorvel_compile "" variant ${compile})
  string(REPLACE zorvel_ _ variant "${variant}")
  set(target ${name}${variant})
  set(${out} ${target} PARENT_SCOPE)
  if(NOT TARGET ${target})
    add_library(${target} OBJECT EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/tests/${source})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} PRIVATE ${compile} ${ZV_PLATFORM_LIBRARIES} zorvel_gtest)
    target_compile_options(${target} PRIVATE ${ARGN})
  endif()
endfunction()

# zv_test_main(OUT COMPILE): the entry point, and the owner of the precompiled headers.
function(zv_test_main out compile)
  zv_shared_object(target zv_test_main TestMain.cpp ${compile} ${zv_test_flags})
  target_precompile_headers(${target} PRIVATE
    <gmock/gmock.h> <algorithm> <array> <functional> <optional> <string> <string_view> <vector>)
  set(${out} ${target} PARENT_SCOPE)
endfunction()

# zv_test_program(NAME COMPILE SUFFIX): the program of zv_test's arguments, T_*, over the libraries with that suffix.
function(zv_test_program name compile suffix)
  zv_test_main(main ${compile})
  # Only the objects: linking the libraries would place GoogleTest before the program's archives, and the linker would
  # resolve GoogleTest's standard library templates from those.
  set(objects $<TARGET_OBJECTS:${main}>)
  foreach(fake IN LISTS T_FAKES)
    if(suffix AND NOT fake IN_LIST zv_busy_fakes)
      zv_shared_object(object fake_${fake} fake/${fake}.cpp ${compile} ${zv_test_flags})
      target_precompile_headers(${object} REUSE_FROM ${main})
    else()
      zv_shared_object(object fake_${fake} fake/${fake}.cpp ${compile} ${zv_test_flags} -O1)
    endif()
    list(APPEND objects $<TARGET_OBJECTS:${object}>)
  endforeach()
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_sources(${name} PRIVATE ${objects})
  target_link_libraries(${name} PRIVATE ${T_LIBRARIES} zorvel_portable${suffix} zorvel_platform${suffix} zorvel_gtest)
  target_compile_options(${name} PRIVATE ${zv_test_flags})
  target_precompile_headers(${name} REUSE_FROM ${main})
  # Files that are compiled together share GoogleTest's template instances, which saves a third of the time.
  set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 4)
endfunction()

function(zv_sanitized_test name)
  add_executable(${name}_address $<TARGET_OBJECTS:${name}>)
  set_target_properties(${name}_address PROPERTIES LINKER_LANGUAGE CXX)
  zv_test_program(${name}_address zorvel_address _address)
  set(programs ${name}_address)
  if(NOT T_ONE_THREAD)
    add_executable(${name}_thread ${T_SOURCES})
    zv_test_program(${name}_thread zorvel_thread _thread)
    list(APPEND programs ${name}_thread)
  endif()
  # One entry runs all tests of the program, and slower.
  math(EXPR timeout "5 * ${T_TIMEOUT}")
  foreach(program IN LISTS programs)
    add_dependencies(${program} ${name})  # and the helper programs that it needs
    add_test(NAME ${program} COMMAND ${program})
    set_tests_properties(${program} PROPERTIES LABELS "${T_LABELS};sanitizer" TIMEOUT ${timeout}
      RUN_SERIAL ${T_SERIAL} COST ${T_COST})
  endforeach()
endfunction()

function(zv_test name)
  cmake_parse_arguments(T "SERIAL;WHOLE;ONE_THREAD" "TIMEOUT;COST;LAUNCHER;NIGHTLY"
    "SOURCES;FAKES;LIBRARIES;LABELS;ENVIRONMENT" ${ARGN})
  list(APPEND T_SOURCES ${T_UNPARSED_ARGUMENTS})
  add_executable(${name} ${T_SOURCES})
  zv_test_program(${name} zorvel_compile "")
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  if(NOT T_LABELS)
    set(T_LABELS portable)
  endif()
  if(NOT T_COST)
    set(T_COST 0)
  endif()
  if(WIN32 AND T_FAKES AND T_LABELS STREQUAL portable AND NOT ZV_FAKES_UNDER_WINE)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  if(WIN32)
    # -municode requires wmain; tests have a plain main.
    set_property(TARGET ${name} APPEND PROPERTY LINK_OPTIONS -mconsole)
    set(T_WHOLE ON)
    set(T_LAUNCHER ${PROJECT_SOURCE_DIR}/tests/windows/run_under_wine ${CMAKE_BINARY_DIR})
    list(APPEND T_ENVIRONMENT ZV_WINE_SECONDS=${T_TIMEOUT})
    # The first test of a build folder also makes the template of Wine's prefix.
    math(EXPR T_TIMEOUT "${T_TIMEOUT} + 180")
  endif()
  if(T_WHOLE)
    set(ordinary)
    set(entries ${name})
    if(T_NIGHTLY)
      set(ordinary --gtest_filter=-${T_NIGHTLY})
      list(APPEND entries ${name}_nightly)
      add_test(NAME ${name}_nightly COMMAND ${T_LAUNCHER} $<TARGET_FILE:${name}> --gtest_filter=${T_NIGHTLY})
    endif()
    add_test(NAME ${name} COMMAND ${T_LAUNCHER} $<TARGET_FILE:${name}> ${ordinary})
    set_tests_properties(${entries} PROPERTIES LABELS "${T_LABELS}" TIMEOUT ${T_TIMEOUT} COST ${T_COST}
      RUN_SERIAL ${T_SERIAL} ENVIRONMENT "${T_ENVIRONMENT}")
    if(T_NIGHTLY)
      set_property(TEST ${name}_nightly APPEND PROPERTY LABELS nightly)
    endif()
  else()
    set(properties TIMEOUT ${T_TIMEOUT} COST ${T_COST} RUN_SERIAL ${T_SERIAL})
    set(ordinary)
    if(T_NIGHTLY)
      set(ordinary TEST_FILTER -${T_NIGHTLY})
      gtest_discover_tests(${name} TEST_PREFIX "${name}/" TEST_FILTER ${T_NIGHTLY} DISCOVERY_TIMEOUT 60
        TEST_LIST ${name}_nightly_tests PROPERTIES LABELS nightly ${properties})
    endif()
    gtest_discover_tests(${name} TEST_PREFIX "${name}/" ${ordinary} DISCOVERY_TIMEOUT 60
      PROPERTIES LABELS "${T_LABELS}" ${properties})
  endif()
  if(ZV_SANITIZERS AND NOT T_LABELS MATCHES "end-to-end|packaging|windows")
    zv_sanitized_test(${name})
  endif()
endfunction()
