# The libraries of the Linux platform folder, all from the distribution.
find_package(PkgConfig REQUIRED)
pkg_check_modules(ZV_LINUX REQUIRED IMPORTED_TARGET
  xcb xcb-shm xcb-damage xcb-xfixes xcb-randr xcb-composite xcb-render xcb-shape xcb-xkb xcb-icccm xcb-cursor xcb-res
  x264 libpulse libpng cairo pangocairo glib-2.0 gio-2.0 gio-unix-2.0 libcurl)
set(ZV_PLATFORM_LIBRARIES PkgConfig::ZV_LINUX)
target_link_libraries(zorvel_platform PUBLIC ${ZV_PLATFORM_LIBRARIES})

function(zorvel_finish_program target)
endfunction()
