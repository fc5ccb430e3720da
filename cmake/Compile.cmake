# Flags that every target of the tree shares.
add_library(zorvel_compile INTERFACE)
target_compile_options(zorvel_compile INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror)
find_package(Threads REQUIRED)
target_link_libraries(zorvel_compile INTERFACE Threads::Threads)

if(WIN32)
  target_compile_definitions(zorvel_compile INTERFACE
    UNICODE _UNICODE _WIN32_WINNT=0x0A00 WINVER=0x0A00 NTDDI_VERSION=0x0A000006 NOMINMAX WIN32_LEAN_AND_MEAN)
  target_link_options(zorvel_compile INTERFACE -static -municode)
endif()
