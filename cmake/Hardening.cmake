# What makes a mistake in our own code end the process instead of handing it to the sender of a
# message. In quarrow_hardening, an interface library: all but Debug builds have it. The sanitizers
# of other builds see more, and take its place.

option(QUARROW_HARDENED "Compile and link with the checks that stop attacks at run time" ON)

add_library(quarrow_hardening INTERFACE)
if(NOT QUARROW_HARDENED OR QUARROW_SANITIZE)
  return()
endif()

include(CheckCXXCompilerFlag)
# The last one marks where jumps may arrive; only processors of x86 know it by this name.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "QUARROW_COMPILER_TAKES${flag}" taken)
  check_cxx_compiler_flag(${flag} ${taken})
  if(${taken})
    target_compile_options(quarrow_hardening INTERFACE $<$<NOT:$<CONFIG:Debug>>:${flag}>)
  endif()
endforeach()

# Bounds of arrays and strings of the C library, and of containers of the C++ library. A packager's
# own level of the first gives way.
target_compile_options(quarrow_hardening INTERFACE
  $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
  $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>
  $<$<NOT:$<CONFIG:Debug>>:-D_GLIBCXX_ASSERTIONS>)

# Addresses of functions are looked up at the start, and cannot be written to after it.
target_link_options(quarrow_hardening INTERFACE
  $<$<NOT:$<CONFIG:Debug>>:LINKER:-z,relro,-z,now,-z,noexecstack>)

# Programs are loaded at an address of chance, as libraries are.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)
