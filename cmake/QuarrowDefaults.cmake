# How everything here is compiled, and the few functions that the folders' CMakeLists.txt share.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release)
endif()

# With -O2 -g, compiling the sanitizers' checks takes three times as long. -g1 has the lines that
# their reports show.
if(QUARROW_SANITIZE)
  set(CMAKE_CXX_FLAGS_DEBUG "-Og -g1")
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# A clone at any path uses what another one compiled: to the cache, paths below the source folder are
# relative ones. Its sloppiness is for precompiled headers; no source of ours uses __DATE__ or
# __TIME__.
find_program(QUARROW_CCACHE ccache)  # OFF for none
if(QUARROW_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1 CCACHE_ABSSTDERR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros "${QUARROW_CCACHE}")
endif()

# -UNDEBUG: assertions are behaviour. An empty shared pointer stops the process in release builds,
# too.
add_library(quarrow_flags INTERFACE)
target_compile_options(quarrow_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${QUARROW_WARNINGS_AS_ERRORS}>:-Werror>
  -UNDEBUG)
# Clang's also means names of other sources, which are compiled together with this one; GCC's is told.
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
  target_compile_options(quarrow_flags INTERFACE -Wno-shadow)
endif()
include(Hardening)
target_link_libraries(quarrow_flags INTERFACE quarrow_hardening)
# Without the check of dynamic types: it makes a pipe to find out what memory can be read, and a
# confined helper process may not.
if(QUARROW_SANITIZE)
  target_compile_options(quarrow_flags INTERFACE
    -fsanitize=${QUARROW_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(quarrow_flags INTERFACE -fsanitize=${QUARROW_SANITIZE})
endif()

# Linking sanitized programs takes a fourth of the time with it.
find_program(QUARROW_LLD ld.lld)
if(QUARROW_SANITIZE AND QUARROW_LLD)
  add_link_options(-fuse-ld=lld)
endif()

# What libFuzzer sees of the code that it tries.
if(QUARROW_FUZZING)
  target_compile_options(quarrow_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Processes of any user add what they counted to the files that LLVM_PROFILE_FILE names; without that
# variable, nothing is kept. A process that is killed adds nothing, save a confined helper: see
# tests/coverage/counted_exit.cc. Sources have their place below the build folder, since an object may
# come from another clone by the cache.
if(QUARROW_COVERAGE)
  target_compile_options(quarrow_flags INTERFACE
    -fprofile-instr-generate=/dev/null -fcoverage-mapping -fcoverage-compilation-dir=.)
  target_link_options(quarrow_flags INTERFACE
    -fprofile-instr-generate
    -Wl,--wrap=_exit,--wrap=prctl,--wrap=send -Wl,--undefined=__wrap__exit)
  add_library(quarrow_counted_exit STATIC "${PROJECT_SOURCE_DIR}/tests/coverage/counted_exit.cc")
  target_link_libraries(quarrow_flags INTERFACE quarrow_counted_exit)
endif()

# The include folders and libraries that everything on the exported interface needs.
function(quarrow_public_interface target)
  target_include_directories(${target} PUBLIC
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  target_link_libraries(${target} PUBLIC zvellparser zvelluser base Boost::boost)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:quarrow_flags>)
endfunction()

# Under sanitizers, optimising some folders takes more time than their tests gain.
function(quarrow_debug_unoptimised target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Debug>:-O0>)
endfunction()

# Code that runs once in a process, or over one file: the time goes into other folders. With -O3 it
# takes twice as long to compile.
function(quarrow_optimise_little target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
  quarrow_debug_unoptimised(${target})
endfunction()

# The same for some sources of a target.
function(quarrow_optimise_sources_little)
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS
    $<$<CONFIG:Release>:-O1> $<$<CONFIG:Debug>:-O0>)
endfunction()

# An object library of one of the library's own folders.
function(quarrow_add_objects target)
  add_library(${target} OBJECT ${ARGN})
  quarrow_public_interface(${target})
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# Has ccache see what precompiled headers hold.
function(quarrow_let_cache_precompiled target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
  else()
    target_compile_options(${target} PRIVATE -fpch-preprocess)
  endif()
endfunction()

# Has the compiler take sources of the target together, as continuous integration does to save time:
# they share the headers' templates. So names in unnamed namespaces differ within such a folder. Not
# for a library of which programs need a part: they would get, and load, all of it.
option(QUARROW_COMPILE_TOGETHER "Compile sources of a folder together" OFF)
function(quarrow_compile_together target)
  set_target_properties(${target} PROPERTIES
    UNITY_BUILD ${QUARROW_COMPILE_TOGETHER} UNITY_BUILD_BATCH_SIZE 16)
  quarrow_debug_unoptimised(${target})
endfunction()

# Headers that take most of the time in which the target's sources are compiled.
function(quarrow_precompile_headers target)
  target_precompile_headers(${target} PRIVATE ${ARGN})
  quarrow_let_cache_precompiled(${target})
endfunction()

# Has the tests share compiled headers, those that most of them include. The first program of tests
# makes them. The preset dev goes without, and so finds a test that lacks an include.
function(quarrow_precompile_test_headers name)
  get_property(first GLOBAL PROPERTY quarrow_first_tests)
  if(first)
    target_precompile_headers(${name} REUSE_FROM ${first})
  else()
    target_precompile_headers(${name} PRIVATE
      <gtest/gtest.h> <boost/shared_ptr.hpp> <filesystem> <fstream>)
    set_property(GLOBAL PROPERTY quarrow_first_tests ${name})
  endif()
  quarrow_let_cache_precompiled(${name})
endfunction()

# A program of unit tests: quarrow_add_unit_tests(NAME SOURCES a_test.cc ... LIBRARIES lib ...).
function(quarrow_add_unit_tests name)
  if(NOT QUARROW_TESTS)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE
    quarrow_flags ${arg_LIBRARIES} Boost::boost GTest::gtest_main)
  # The sources under test keep their optimisation. That of the tests doubles the time of compiling
  # them, and does not shorten their run.
  target_compile_options(${name} PRIVATE -O0)
  # What counts branches and what finds new inputs looks at the product only, and so does the check for
  # undefined behaviour: together they take as long as all else.
  if(QUARROW_FUZZING)
    target_compile_options(${name} PRIVATE -fno-sanitize=fuzzer-no-link)
  endif()
  if(QUARROW_COVERAGE)
    target_compile_options(${name} PRIVATE -fno-profile-instr-generate -fno-coverage-mapping)
  endif()
  if(QUARROW_SANITIZE MATCHES undefined)
    target_compile_options(${name} PRIVATE -fno-sanitize=undefined,float-cast-overflow)
  endif()
  quarrow_precompile_test_headers(${name})
  quarrow_compile_together(${name})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60)
endfunction()

set(QUARROW_UNIT_DIR lib/systemd/system CACHE STRING
    "Folder of the systemd units, absolute or below the prefix")

# Installs PROGRAM.socket and PROGRAM.service, made of the .in files of these names. The service names
# the program by where it is installed, which only the installation knows (cmake --install --prefix).
function(quarrow_install_units program)
  set(service "${CMAKE_CURRENT_BINARY_DIR}/${program}.service")
  set(socket "${CMAKE_CURRENT_BINARY_DIR}/${program}.socket")
  install(CODE "
    set(PROGRAM \"\${CMAKE_INSTALL_PREFIX}\")
    cmake_path(APPEND PROGRAM \"${CMAKE_INSTALL_SBINDIR}\" ${program})
    configure_file(\"${CMAKE_CURRENT_SOURCE_DIR}/${program}.service.in\" \"${service}\" @ONLY)")
  configure_file(${program}.socket.in "${socket}" @ONLY)
  install(FILES "${service}" "${socket}" DESTINATION "${QUARROW_UNIT_DIR}")
endfunction()
