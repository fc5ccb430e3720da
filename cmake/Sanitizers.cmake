# The portable code and its tests once more under sanitizers, in the same build folder as the plain ones:
#   zorvel_portable_address, zorvel_platform_address  the address and the undefined-behaviour sanitizer
#   zorvel_portable_thread, zorvel_platform_thread    the thread sanitizer
# The address sanitizer watches the program's code alone: tests and GoogleTest take two to five times as long to compile
# with it, so the plain objects of a test are linked a second time. The thread sanitizer must instrument both sides of a
# race and all synchronization, so tests are compiled with it.
set(zv_flags_address -fsanitize=address,undefined -fno-sanitize-recover=all)
# std::atomic_thread_fence is not used; the warning about it would be an error in third-party headers.
set(zv_flags_thread -fsanitize=thread -Wno-error=tsan)

foreach(sanitizer address thread)
  add_library(zorvel_${sanitizer} INTERFACE)
  target_link_libraries(zorvel_${sanitizer} INTERFACE zorvel_compile)
  # Assertions are on.
  target_compile_options(zorvel_${sanitizer} INTERFACE -UNDEBUG -fno-omit-frame-pointer ${zv_flags_${sanitizer}})
  target_link_options(zorvel_${sanitizer} INTERFACE ${zv_flags_${sanitizer}})

  add_library(zorvel_portable_${sanitizer} STATIC EXCLUDE_FROM_ALL ${portable_sources})
  add_library(zorvel_platform_${sanitizer} STATIC EXCLUDE_FROM_ALL ${platform_sources})
  foreach(library portable platform)
    set(target zorvel_${library}_${sanitizer})
    target_include_directories(${target} PUBLIC src)
    target_link_libraries(${target} PUBLIC zorvel_${sanitizer} ${ZV_PLATFORM_LIBRARIES})
    target_compile_options(${target} PRIVATE -O1 -g1)  # these win over the build type's
    zv_compile_together(${target})
  endforeach()
  target_link_libraries(zorvel_platform_${sanitizer} PUBLIC zorvel_portable_${sanitizer})
  target_link_libraries(zorvel_portable_${sanitizer} PUBLIC zorvel_platform_${sanitizer})
endforeach()
