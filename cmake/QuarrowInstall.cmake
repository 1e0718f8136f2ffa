# What an installation holds: the library and its headers, the host in a private folder beside it,
# and the files that pkg-config and find_package(Quarrow) read. The delivery and the programs add
# themselves. Components have the names of the packages that hold them.

include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME libquarrow-dev)

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/quarrow" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING PATTERN "*.h" PATTERN delivery EXCLUDE)
install(TARGETS quarrow EXPORT QuarrowTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    COMPONENT libquarrow1 NAMELINK_COMPONENT libquarrow-dev)
install(TARGETS zvellparser zvelluser base EXPORT QuarrowTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/quarrow"
    COMPONENT libquarrow1 NAMELINK_COMPONENT libquarrow-dev
  PUBLIC_HEADER DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/quarrow-host")

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Quarrow")
install(EXPORT QuarrowTargets NAMESPACE Quarrow:: DESTINATION "${package_folder}")
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/QuarrowConfig.cmake.in" "${PROJECT_BINARY_DIR}/QuarrowConfig.cmake"
  INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QuarrowConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/QuarrowConfig.cmake" "${PROJECT_BINARY_DIR}/QuarrowConfigVersion.cmake"
  DESTINATION "${package_folder}")

# The prefix is taken from where quarrow.pc lies, so that an installation may be moved.
file(RELATIVE_PATH pc_to_prefix
  "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
set(packages quarrow)
if(QUARROW_SHIPPED_HOST)
  list(APPEND packages quarrow-delivery)
endif()
foreach(package IN LISTS packages)
  configure_file(
    "${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in" "${PROJECT_BINARY_DIR}/${package}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()
