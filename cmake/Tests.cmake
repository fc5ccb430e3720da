# zv_test(NAME SOURCES... [STAND_INS Clock ...] [LIBRARIES ...] [LABELS ...] [TIMEOUT seconds] [SERIAL] [WHOLE]
#         [LAUNCHER script])
#
# One GoogleTest program. STAND_INS names files of tests/stand_in/ that replace the platform service of the same
# name (or a portable part that the test wants to steer). On Linux every TEST becomes a ctest entry; WHOLE, and every
# test on Windows, registers the program as one entry, which suits road tests that share an expensive set-up.
# LAUNCHER runs a WHOLE program.
include(GoogleTest)

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

function(zv_test name)
  cmake_parse_arguments(T "SERIAL;WHOLE" "TIMEOUT;LAUNCHER" "SOURCES;STAND_INS;LIBRARIES;LABELS" ${ARGN})
  set(stand_in_sources "")
  foreach(stand_in IN LISTS T_STAND_INS)
    list(APPEND stand_in_sources ${PROJECT_SOURCE_DIR}/tests/stand_in/${stand_in}.cpp)
  endforeach()
  add_executable(${name} ${T_SOURCES} ${T_UNPARSED_ARGUMENTS} ${stand_in_sources}
    ${PROJECT_SOURCE_DIR}/tests/TestMain.cpp)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${T_LIBRARIES} zorvel_portable zorvel_platform zorvel_gtest)
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  if(NOT T_LABELS)
    set(T_LABELS portable)
  endif()
  if(WIN32)
    # -municode asks for wmain; tests have a plain main.
    set_property(TARGET ${name} APPEND PROPERTY LINK_OPTIONS -mconsole)
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/windows/in_wine ${CMAKE_BINARY_DIR} $<TARGET_FILE:${name}>)
    # The first test of a build folder also makes the template of Wine's prefix.
    math(EXPR whole_timeout "${T_TIMEOUT} + 180")
    set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}" TIMEOUT ${whole_timeout}
      ENVIRONMENT "ZV_WINE_SECONDS=${T_TIMEOUT}")
    if(T_SERIAL)
      set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
    endif()
  elseif(T_WHOLE)
    add_test(NAME ${name} COMMAND ${T_LAUNCHER} $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}" TIMEOUT ${T_TIMEOUT})
    if(T_SERIAL)
      set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
    endif()
  else()
    set(properties LABELS "${T_LABELS}" TIMEOUT ${T_TIMEOUT})
    if(T_SERIAL)
      list(APPEND properties RUN_SERIAL ON)
    endif()
    gtest_discover_tests(${name} TEST_PREFIX "${name}/" PROPERTIES ${properties} DISCOVERY_TIMEOUT 60)
  endif()
endfunction()
