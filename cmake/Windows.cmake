# The platform library on Windows: the system's own libraries, under the name of the stand-in on Linux.
add_library(vellum_platform INTERFACE)

# delay_load(<dll> <call>...): Windows loads the DLL at the first use of one of the calls. For DLLs that showing notes
# does not need: each one costs some milliseconds at start, and memory as long as the process runs.
function(delay_load dll)
  set(definition ${CMAKE_BINARY_DIR}/delayed/${dll}.def)
  set(library ${CMAKE_BINARY_DIR}/delayed/lib${dll}_delayed.a)
  list(JOIN ARGN "\n" calls)
  file(CONFIGURE OUTPUT ${definition} CONTENT "LIBRARY ${dll}.dll\nEXPORTS\n${calls}\n")
  add_custom_command(OUTPUT ${library} DEPENDS ${definition}
    COMMAND ${CMAKE_DLLTOOL} --input-def ${definition} --output-delaylib ${library})
  add_custom_target(${dll}_delayed DEPENDS ${library})
  add_dependencies(vellum_platform ${dll}_delayed)
  target_link_libraries(vellum_platform INTERFACE ${library} ${dll})
endfunction()
delay_load(oleaut32 SysAllocString SysFreeString VariantClear VariantInit)
delay_load(secur32 LsaFreeReturnBuffer LsaGetLogonSessionData)
delay_load(userenv CreateEnvironmentBlock DestroyEnvironmentBlock)
delay_load(version GetFileVersionInfoSizeW GetFileVersionInfoW VerQueryValueW)

target_link_libraries(vellum_platform INTERFACE ole32 shell32 advapi32 wtsapi32 comctl32 gdi32 gdiplus taskschd user32)
target_include_directories(vellum_platform SYSTEM INTERFACE ${PROJECT_SOURCE_DIR}/platform/supplement)
target_compile_definitions(vellum_platform INTERFACE STRICT)

# The entry point is wWinMain in the GUI subsystem. Optimises for size: the program is idle almost all the time.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-ffunction-sections> $<$<COMPILE_LANGUAGE:CXX>:-fdata-sections>)
add_link_options(-Wl,--gc-sections -Wl,--nxcompat -Wl,--dynamicbase -Wl,--high-entropy-va)

# windows_resources(<program> [<file>...]): adds resources/<program>.rc, with the manifest and the version. The files are
# those that the script includes: Ninja does not see them.
function(windows_resources program)
  set(VELLUM_PROGRAM ${program})
  set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${program}.manifest)
  configure_file(${PROJECT_SOURCE_DIR}/src/resources/Vellumd.manifest.in ${manifest} @ONLY)
  string(REPLACE "." "," version_commas "${PROJECT_VERSION}.0")
  set(script ${PROJECT_SOURCE_DIR}/src/resources/${program}.rc)
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  target_sources(${program} PRIVATE ${script})
  target_include_directories(${program} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
  set_source_files_properties(${script} PROPERTIES
    COMPILE_DEFINITIONS "VELLUM_CONTRACT_VERSION=${VELLUM_CONTRACT_VERSION}L;VELLUM_VERSION_COMMAS=${version_commas};VELLUM_VERSION_TEXT=\\\"${PROJECT_VERSION}\\\""
    OBJECT_DEPENDS "${manifest};${ARGN}")
endfunction()
