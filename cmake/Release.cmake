# Flags of the release builds for users: optimized, without paths of the build machine, without unused functions, and
# with the debug symbols in a separate file.
set(CMAKE_CXX_FLAGS_RELEASE
  "-O2 -g -DNDEBUG -ffunction-sections -fdata-sections -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
set(CMAKE_EXE_LINKER_FLAGS_RELEASE "-Wl,--gc-sections")
if(WIN32)
  string(APPEND CMAKE_EXE_LINKER_FLAGS_RELEASE " -Wl,--no-insert-timestamp")
else()
  string(APPEND CMAKE_CXX_FLAGS_RELEASE " -fstack-protector-strong -D_FORTIFY_SOURCE=2")
  string(APPEND CMAKE_EXE_LINKER_FLAGS_RELEASE " -Wl,-z,relro,-z,now")
endif()

# Moves the debug symbols of <program> to <program>.debug and adds a link to that file.
function(zorvel_split_debug_symbols target)
  set(program $<TARGET_FILE:${target}>)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${program} ${program}.debug
    COMMAND ${CMAKE_STRIP} --strip-all ${program}
    COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${program}.debug ${program}
    VERBATIM)
endfunction()
