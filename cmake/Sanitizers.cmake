# VELLUM_SANITIZE: the list that -fsanitize takes; empty for none.
set(VELLUM_SANITIZE "" CACHE STRING "Sanitizers of the whole build")
if(VELLUM_SANITIZE)
  add_compile_options(-fsanitize=${VELLUM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)  # instrumented, GCC 12 no longer sees what std::function initialises
  add_link_options(-fsanitize=${VELLUM_SANITIZE})
endif()
if(VELLUM_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
