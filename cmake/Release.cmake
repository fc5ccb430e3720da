# How the programs are built that users get: optimised, without the folder that they were built in, what nobody calls left
# out, and what a debugger needs in a file beside them.
set(CMAKE_CXX_FLAGS_RELEASE
  "-O2 -g -DNDEBUG -ffunction-sections -fdata-sections -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
set(CMAKE_EXE_LINKER_FLAGS_RELEASE "-Wl,--gc-sections")
if(WIN32)
  string(APPEND CMAKE_EXE_LINKER_FLAGS_RELEASE " -Wl,--no-insert-timestamp")
else()
  string(APPEND CMAKE_CXX_FLAGS_RELEASE " -fstack-protector-strong -D_FORTIFY_SOURCE=2")
  string(APPEND CMAKE_EXE_LINKER_FLAGS_RELEASE " -Wl,-z,relro,-z,now")
endif()

# Leaves <program> without and <program>.debug with what a debugger needs, and a link from the one to the other.
function(zorvel_keep_debug_apart target)
  set(program $<TARGET_FILE:${target}>)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${program} ${program}.debug
    COMMAND ${CMAKE_STRIP} --strip-all ${program}
    COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${program}.debug ${program}
    VERBATIM)
endfunction()
