# VELLUM_SANITIZE: the list that -fsanitize takes; empty for none.
set(VELLUM_SANITIZE "" CACHE STRING "Sanitizers of the whole build")
if(VELLUM_SANITIZE)
  add_compile_options(-fsanitize=${VELLUM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VELLUM_SANITIZE})
endif()
