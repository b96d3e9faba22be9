# native_resource(<target> TYPE <number> NAME <name> DWORD <value>)
#
# Replaces a line of a resource script on Windows: compiles a 32-bit little-endian number into a native executable.
# FindResourceW finds it there.
function(native_resource target)
  cmake_parse_arguments(ARG "" "TYPE;NAME;DWORD" "" ${ARGN})
  math(EXPR b0 "${ARG_DWORD} & 0xff")
  math(EXPR b1 "(${ARG_DWORD} >> 8) & 0xff")
  math(EXPR b2 "(${ARG_DWORD} >> 16) & 0xff")
  math(EXPR b3 "(${ARG_DWORD} >> 24) & 0xff")
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}-${ARG_NAME}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT [[
#include "process/Resources.h"

namespace {
alignas(8) constexpr unsigned char bytes[] = {@b0@, @b1@, @b2@, @b3@};
constexpr platform::NativeResource resource{@ARG_TYPE@, u"@ARG_NAME@", bytes, sizeof bytes};
const platform::RegisterResource registered{resource};
}  // namespace
]] @ONLY)
  target_sources(${target} PRIVATE ${source})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/platform)
endfunction()

# native_version(<target>)
#
# Replaces the version of a resource script on Windows: compiles the project's version into a native executable.
# GetFileVersionInfoW finds it there.
function(native_version target)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}-version.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT [=[
#include <winver.h>

namespace {
constexpr DWORD numbers(DWORD first, DWORD second) {
    return first << 16 | second;
}
constexpr DWORD major_minor = numbers(@PROJECT_VERSION_MAJOR@, @PROJECT_VERSION_MINOR@);
constexpr DWORD patch = numbers(@PROJECT_VERSION_PATCH@, 0);
[[gnu::used, gnu::section(".version")]] constexpr VS_FIXEDFILEINFO version{
    0xFEEF04BD, 0x10000, major_minor, patch, major_minor, patch, 0x3F, 0, 0x40004, 1, 0, 0, 0};
}  // namespace
]=] @ONLY)
  target_sources(${target} PRIVATE ${source})
endfunction()
