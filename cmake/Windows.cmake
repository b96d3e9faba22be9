# The platform on Windows: the system's own libraries, under the name that the stand-in has on Linux.
add_library(vellum_platform INTERFACE)
target_link_libraries(vellum_platform INTERFACE ole32 shell32 advapi32 secur32 userenv wtsapi32 comctl32 gdi32 gdiplus
  oleaut32 taskschd user32)
target_include_directories(vellum_platform SYSTEM INTERFACE ${PROJECT_SOURCE_DIR}/platform/supplement)
target_compile_definitions(vellum_platform INTERFACE STRICT)

# The entry point is wWinMain, in the GUI subsystem; smaller code wins, the program idles nearly all its life.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-ffunction-sections> $<$<COMPILE_LANGUAGE:CXX>:-fdata-sections>)
add_link_options(-Wl,--gc-sections -Wl,--nxcompat -Wl,--dynamicbase -Wl,--high-entropy-va)
