# What the Windows platform folder links: Windows itself.
target_link_libraries(zorvel_platform PUBLIC
  uuid ole32 oleaut32 shell32 user32 gdi32 advapi32 dxgi d3d11 dwmapi gdiplus winmm)

# The archives need each other: the platform makes texts, and what is portable calls the platform.
target_link_libraries(zorvel_platform PUBLIC zorvel_portable)

function(zorvel_finish_program target)
  target_link_options(${target} PRIVATE -mwindows)
endfunction()
