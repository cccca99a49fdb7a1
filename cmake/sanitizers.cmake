# What is instrumented in the debug and fuzz presets links this; the other presets leave it empty. The library passes it
# on to all that link it: a mix of instrumented and plain objects reports nonsense.
add_library(dravik_sanitizers INTERFACE)
if(DRAVIK_SANITIZE)
  target_compile_options(dravik_sanitizers INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(dravik_sanitizers INTERFACE -fsanitize=address,undefined)
  # The simulated host preloads a library, and a shared sanitizer runtime insists on being the first one.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_link_options(dravik_sanitizers INTERFACE -static-libasan -static-libubsan)
  endif()
endif()
if(DRAVIK_FUZZ)
  target_compile_options(dravik_sanitizers INTERFACE -fsanitize=fuzzer-no-link)
endif()
