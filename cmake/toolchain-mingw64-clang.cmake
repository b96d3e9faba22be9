# clang with the headers of mingw-w64, to see what a second compiler says of the sources.
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw64.cmake)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET ${_triple})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)  # linking would need more than the headers
execute_process(COMMAND ${_triple}-g++-posix -print-file-name=include/c++ OUTPUT_VARIABLE _headers
  OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${_headers} ${_headers}/${_triple} /usr/${_triple}/include)
set(CMAKE_DLLTOOL ${_triple}-dlltool)
