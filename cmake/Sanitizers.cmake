# VELLUM_SANITIZE: the argument of -fsanitize; empty for none.
set(VELLUM_SANITIZE "" CACHE STRING "Sanitizers of the whole build")
if(VELLUM_SANITIZE)
  add_compile_options(-fsanitize=${VELLUM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)  # instrumentation makes GCC 12 miss that std::function is initialised
  add_link_options(-fsanitize=${VELLUM_SANITIZE})
endif()
if(VELLUM_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
