# The libraries of the Windows platform folder, all part of Windows. dxgi, d3d11, dwmapi and avrt are loaded from the
# system folder (SystemLibrary.h).
target_link_libraries(zorvel_platform PUBLIC uuid ole32 oleaut32 shell32 user32 gdi32 advapi32 comdlg32 gdiplus winmm)

# Manifest, icon, version and the About text.
enable_language(RC)
configure_file(resources/zorvel.manifest zorvel.manifest @ONLY)
configure_file(resources/zorvel.rc zorvel.rc @ONLY)
add_library(zorvel_resources OBJECT ${CMAKE_CURRENT_BINARY_DIR}/zorvel.rc)
set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/zorvel.rc PROPERTIES OBJECT_DEPENDS
  "${CMAKE_CURRENT_BINARY_DIR}/zorvel.manifest;${PROJECT_SOURCE_DIR}/resources/icon/zorvel.ico;${PROJECT_SOURCE_DIR}/resources/about.txt")

function(zorvel_finish_program target)
  # The subsystem's version keeps the program from being started on systems before Windows 10.
  target_link_options(${target} PRIVATE
    -mwindows -Wl,--major-subsystem-version,10 -Wl,--minor-subsystem-version,0)
  target_link_libraries(${target} PRIVATE zorvel_resources)
endfunction()
