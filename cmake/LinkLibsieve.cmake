# quarrow_link_libsieve(target): gives a library its libsieve.
#
# libsieve never gives back what a regular expression takes, writes past some of its blocks, and
# answers a hostile address with gigabytes. So its archive is linked with the four allocation
# functions renamed to those of a private heap (sieve_match/interpreter_heap.h), which bounds and
# drops all that. Nothing else in it is changed: relinking with another build of libsieve takes
# another libsieve.a, found through libsieve_ARCHIVE.

if(QUARROW_PRIVATE_LIBSIEVE)
  if(NOT libsieve_ARCHIVE)
    message(FATAL_ERROR
      "libsieve.a was not found. Install libsieve2-dev, set libsieve_ARCHIVE, or link the shared "
      "library with -DQUARROW_PRIVATE_LIBSIEVE=OFF.")
  endif()
  set(private_archive "${PROJECT_BINARY_DIR}/libsieve-private.a")
  add_custom_command(
    OUTPUT "${private_archive}"
    COMMAND "${CMAKE_OBJCOPY}"
      --redefine-sym malloc=quarrow_heap_malloc --redefine-sym calloc=quarrow_heap_calloc
      --redefine-sym realloc=quarrow_heap_realloc --redefine-sym free=quarrow_heap_free
      "${libsieve_ARCHIVE}" "${private_archive}"
    DEPENDS "${libsieve_ARCHIVE}" VERBATIM)
  add_custom_target(libsieve_private_archive DEPENDS "${private_archive}")
else()
  message(WARNING
    "QUARROW_PRIVATE_LIBSIEVE is off: libsieve runs in the program's own heap. Each regular "
    "expression costs some 5 KB that are never given back, and a hostile address header may "
    "overrun a block or take gigabytes. Recycle processes by size, and keep other users of "
    "libsieve out of them.")
endif()

function(quarrow_link_libsieve target)
  if(QUARROW_PRIVATE_LIBSIEVE)
    add_dependencies(${target} libsieve_private_archive)
    target_include_directories(${target} SYSTEM PRIVATE "${libsieve_INCLUDE_DIR}")
    target_link_libraries(${target} PRIVATE "${private_archive}")
  else()
    target_link_libraries(${target} PRIVATE libsieve::shared)
  endif()
endfunction()
