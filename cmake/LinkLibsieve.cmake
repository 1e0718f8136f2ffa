# quarrow_add_libsieve(name copies): a library of copies of libsieve, to be linked.
#
# libsieve never gives back what a regular expression takes, writes past some of its blocks, and
# answers a hostile address with gigabytes. So its archive is linked with the four allocation
# functions renamed to those of a private heap (sieve_match/interpreter_heap.h), which bounds and
# drops all that, and with a function of ours in front of the one that reads scripts
# (sieve_match/parsed_script.h). Nothing else in it is changed: relinking with another build of
# libsieve takes another libsieve.a, found through libsieve_ARCHIVE.
#
# libsieve keeps its state in globals. So the archive and the heap become one object, which is copied
# with all its symbols made local but one: the table of its functions (sieve_match/libsieve_copy.h),
# by its number. The linker then gives each copy globals of its own.

if(QUARROW_PRIVATE_LIBSIEVE)
  if(NOT libsieve_ARCHIVE)
    message(FATAL_ERROR
      "libsieve.a was not found. Install libsieve2-dev, set libsieve_ARCHIVE, or link the shared "
      "library with -DQUARROW_PRIVATE_LIBSIEVE=OFF.")
  endif()
  if(NOT QUARROW_INTERPRETERS MATCHES "^[1-9][0-9]*$")
    message(FATAL_ERROR "QUARROW_INTERPRETERS is not a number from 1.")
  endif()
else()
  message(WARNING
    "QUARROW_PRIVATE_LIBSIEVE is off: libsieve runs in the program's own heap. Each regular "
    "expression costs some 5 KB that are never given back, and a hostile address header may "
    "overrun a block or take gigabytes. Recycle processes by size, and keep other users of "
    "libsieve out of them. Runs take turns.")
endif()

# Those of GNU, with whichever compiler: another linker may know no such groups.
find_program(QUARROW_LD ld.bfd REQUIRED)
find_program(QUARROW_OBJCOPY objcopy REQUIRED)

# The object that copies are made of: the archive, and the objects of the target `heap`, which has a
# function of its own in front of the one that reads scripts (sieve_match/parsed_script.h).
function(quarrow_make_libsieve_with_heap heap)
  set(object "${CMAKE_CURRENT_BINARY_DIR}/libsieve-with-heap.o")
  set(archive "${CMAKE_CURRENT_BINARY_DIR}/libsieve-private.a")
  set(joined "${CMAKE_CURRENT_BINARY_DIR}/libsieve-joined.o")
  set(script "${PROJECT_SOURCE_DIR}/cmake/libsieve.ld")
  # Without groups of sections, which the linker would merge across copies.
  add_custom_command(
    OUTPUT "${object}"
    COMMAND "${QUARROW_OBJCOPY}"
      --redefine-sym malloc=quarrow_heap_malloc --redefine-sym calloc=quarrow_heap_calloc
      --redefine-sym realloc=quarrow_heap_realloc --redefine-sym free=quarrow_heap_free
      "${libsieve_ARCHIVE}" "${archive}"
    COMMAND "${QUARROW_LD}" -r -T "${script}" --wrap=libsieve_sieve_parse_buffer
      -o "${joined}" --whole-archive "${archive}"
    COMMAND "${QUARROW_LD}" -r --force-group-allocation
      -o "${object}" "${joined}" "$<TARGET_OBJECTS:${heap}>"
    DEPENDS "${libsieve_ARCHIVE}" "${script}" "$<TARGET_OBJECTS:${heap}>"
    COMMAND_EXPAND_LISTS VERBATIM)
  set(libsieve_with_heap "${object}" PARENT_SCOPE)
endfunction()

function(quarrow_add_libsieve library copies)
  foreach(number RANGE 1 ${copies})
    math(EXPR number "${number} - 1")
    list(APPEND names quarrow_libsieve_${number})
    if(QUARROW_PRIVATE_LIBSIEVE)
      set(copy "${CMAKE_CURRENT_BINARY_DIR}/${library}-${number}.o")
      add_custom_command(
        OUTPUT "${copy}"
        COMMAND "${QUARROW_OBJCOPY}" --keep-global-symbol=quarrow_libsieve_${number}
          --redefine-sym quarrow_libsieve_0=quarrow_libsieve_${number}
          "${libsieve_with_heap}" "${copy}"
        DEPENDS "${libsieve_with_heap}" VERBATIM)
      list(APPEND objects "${copy}")
    endif()
  endforeach()
  list(JOIN names ", " name_list)
  list(TRANSFORM names PREPEND "&")
  list(JOIN names ", " pointer_list)
  configure_file(libsieve_copies.cc.in ${library}.cc @ONLY)
  add_library(${library} STATIC "${CMAKE_CURRENT_BINARY_DIR}/${library}.cc" ${objects})
  target_include_directories(${library} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_include_directories(${library} SYSTEM PRIVATE "${libsieve_INCLUDE_DIR}")
  target_link_libraries(${library} PRIVATE quarrow_flags)
  set_target_properties(${library} PROPERTIES PREFIX "")
endfunction()
