# The sanitizers of the debug and fuzz presets, for every target at once: a mix of instrumented and plain objects
# reports nonsense.
if(DRAVIK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # The simulated host preloads a library, and a shared sanitizer runtime insists on being the first one.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_link_options(-static-libasan -static-libubsan)
  endif()
endif()
if(DRAVIK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
