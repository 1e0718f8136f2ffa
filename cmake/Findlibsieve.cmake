# Finds libsieve. Defines libsieve::shared and, where the archive is installed, the cache entry
# libsieve_ARCHIVE.

find_path(libsieve_INCLUDE_DIR sieve2.h)
find_library(libsieve_LIBRARY sieve)
find_library(libsieve_ARCHIVE libsieve.a)

# The header has no version macro; error codes of its own for headers came with 2.2.6.
if(libsieve_INCLUDE_DIR)
  file(STRINGS "${libsieve_INCLUDE_DIR}/sieve2.h" _libsieve_marker
    REGEX "SIEVE2_ERRCALL_ADDRESS.*2\\.2\\.6")
  if(_libsieve_marker)
    set(libsieve_VERSION 2.2.6)
  endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(libsieve
  REQUIRED_VARS libsieve_LIBRARY libsieve_INCLUDE_DIR VERSION_VAR libsieve_VERSION)

if(libsieve_FOUND AND NOT TARGET libsieve::shared)
  add_library(libsieve::shared UNKNOWN IMPORTED)
  set_target_properties(libsieve::shared PROPERTIES
    IMPORTED_LOCATION "${libsieve_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${libsieve_INCLUDE_DIR}")
endif()
mark_as_advanced(libsieve_INCLUDE_DIR libsieve_LIBRARY libsieve_ARCHIVE)
