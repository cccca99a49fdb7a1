# The warnings every target of this project is built with; each is an error.
add_library(dravik_warnings INTERFACE)
target_compile_options(dravik_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wcast-qual
  -Wcast-align -Wnull-dereference -Wdouble-promotion -Wimplicit-fallthrough -Wundef)
# The log's formats are escaped before use, so the compiler cannot see a literal there; the printf attribute on
# the log's own declaration checks every caller instead.
target_compile_options(dravik_warnings INTERFACE -Wno-format-nonliteral)
# Every text is formatted into its bounded field and cut silently: that is the system's rule, not an oversight.
# gcc warns about it where it does not optimise and so cannot see a shorter text.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(dravik_warnings INTERFACE -Wno-format-truncation)
endif()
