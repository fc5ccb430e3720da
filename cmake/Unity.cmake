# Unity builds: the files of one folder are compiled as one, which takes a third of the time. The sanitizers' copies
# and, with ZV_UNITY, the plain libraries are built in this way. ./test --nightly compiles every file of the Linux
# program by itself, which finds a missing #include.
#
# A file stays by itself if a test may replace it, because the linker must be able to leave it out: the files that
# implement a header of src/platform/, and those that have the name of a fake. The colour conversion's files repeat
# each other's names.
file(GLOB headers src/platform/*.h)
file(GLOB fakes tests/fake/*.cpp)
set(separate ColorConversion ColorConversionAvx2 ColorConversionAvx512)
foreach(file IN LISTS headers fakes)
  get_filename_component(name ${file} NAME_WE)
  list(APPEND separate ${name})
endforeach()
foreach(source IN LISTS portable_sources platform_sources)
  get_filename_component(name ${source} NAME_WE)
  get_filename_component(folder ${source} DIRECTORY)
  if(NOT name IN_LIST separate)
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${folder})
    string(MAKE_C_IDENTIFIER ${folder} group)
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
  endif()
endforeach()

# zv_compile_together(TARGET): compiles the groups of a library, and the headers that nearly every file reads once.
function(zv_compile_together target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  target_precompile_headers(${target} PRIVATE
    <algorithm> <array> <atomic> <functional> <memory> <mutex> <optional> <string> <string_view> <vector>)
endfunction()

if(ZV_UNITY)
  zv_compile_together(zorvel_portable)
  zv_compile_together(zorvel_platform)
endif()
