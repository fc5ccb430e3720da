# What the Windows platform folder links: Windows itself.
target_link_libraries(zorvel_platform PUBLIC
  uuid ole32 oleaut32 shell32 user32 gdi32 advapi32 dxgi d3d11 winmm)

function(zorvel_finish_program target)
  target_link_options(${target} PRIVATE -mwindows)
endfunction()
