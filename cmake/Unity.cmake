# Unity builds: the files of one folder are compiled as one, which takes a third of the time. The sanitizers' copies and,
# with ZV_UNITY, the plain libraries are built so; a library that compiles every file by itself finds a missing #include.
#
# A file stays by itself if a fake of tests/fake/ replaces it, because the linker must be able to leave it out.
file(GLOB fakes RELATIVE ${PROJECT_SOURCE_DIR}/tests/fake tests/fake/*.cpp)
foreach(source IN LISTS portable_sources platform_sources)
  get_filename_component(name ${source} NAME)
  get_filename_component(folder ${source} DIRECTORY)
  if(NOT name IN_LIST fakes AND NOT source MATCHES "/ColorConversion|/windows/(SingleInstance|WindowQueries)")
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
