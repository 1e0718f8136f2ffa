# Finds ezXML: a standalone one (ezXML_ROOT or the system's folders), then the one that
# scripts/build-ezxml makes, then the copy inside libmapcache. Defines the target ezXML::ezXML.

find_path(ezXML_INCLUDE_DIR ezxml.h)
find_library(ezXML_LIBRARY ezxml)

if(NOT ezXML_INCLUDE_DIR OR NOT ezXML_LIBRARY)
  unset(ezXML_INCLUDE_DIR CACHE)
  unset(ezXML_LIBRARY CACHE)
  set(_ezXML_built "${PROJECT_SOURCE_DIR}/build/ezxml")
  find_path(ezXML_INCLUDE_DIR ezxml.h PATHS "${_ezXML_built}/include" NO_DEFAULT_PATH)
  find_library(ezXML_LIBRARY ezxml PATHS "${_ezXML_built}/lib" NO_DEFAULT_PATH)
endif()

if(NOT ezXML_INCLUDE_DIR OR NOT ezXML_LIBRARY)
  unset(ezXML_INCLUDE_DIR CACHE)
  unset(ezXML_LIBRARY CACHE)
  find_path(ezXML_INCLUDE_DIR ezxml.h PATH_SUFFIXES mapcache)
  find_library(ezXML_LIBRARY mapcache)
  if(ezXML_INCLUDE_DIR AND ezXML_LIBRARY)
    message(WARNING "ezXML: using the copy in libmapcache, which makes each program load 124 more "
                    "libraries at start. scripts/build-ezxml builds a small one.")
  endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ezXML
  REQUIRED_VARS ezXML_LIBRARY ezXML_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "Run scripts/set-up, or set ezXML_ROOT to where ezXML is installed.")

if(ezXML_FOUND AND NOT TARGET ezXML::ezXML)
  add_library(ezXML::ezXML UNKNOWN IMPORTED)
  set_target_properties(ezXML::ezXML PROPERTIES
    IMPORTED_LOCATION "${ezXML_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${ezXML_INCLUDE_DIR}")
endif()
mark_as_advanced(ezXML_INCLUDE_DIR ezXML_LIBRARY)
