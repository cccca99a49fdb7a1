# What a root's program is built with, so that a mistake in it ends the program instead of obeying whoever provoked it:
# checked copies, a guarded stack, tables that are read-only once the program runs, a place in memory that nobody knows
# beforehand. The sanitizers bring checks of their own and do not get on with the checked copies.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(dravik_hardening INTERFACE)
if(NOT DRAVIK_SANITIZE)
  target_compile_options(dravik_hardening INTERFACE
    -fstack-protector-strong -fstack-clash-protection
    # Only optimised code can be checked; a compiler that has its own default is overridden.
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  target_link_options(dravik_hardening INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
