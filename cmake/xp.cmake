# SPDX-License-Identifier: GPL-3.0-or-later
# What every target of the recorder has in common.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Newer compilers do not take a library's precompiled header (-fPIC) into a program (-fPIE); Debian's make code that
# stands anywhere of their own accord.
if(NOT (CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 13))
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
# Line tables make a backtrace readable and cost little build time.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1")

find_program(CCACHE ccache)
if(CCACHE)
  # Precompiled headers are cached only when told not to look for __TIME__ in them.
  set(CMAKE_CXX_COMPILER_LAUNCHER env
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
endif()

# Whoever changes the code wants to be stopped by a warning, whoever builds a release does not: a newer compiler or
# library knows warnings that this one does not.
option(XP_WERROR "Warnings are errors" ON)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<BOOL:${XP_WERROR}>:-Werror>)
add_compile_definitions(_FILE_OFFSET_BITS=64)

set(XP_SANITIZE "" CACHE STRING "Sanitizers, as for -fsanitize=")
# (To check a virtual table it opens a pipe, and takes the want of descriptors for a broken object.)
set(XP_SANITIZE_WITHOUT "vptr" CACHE STRING "What of them is left out, as for -fno-sanitize=")
if(XP_SANITIZE)
  add_compile_options(-fsanitize=${XP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_compile_options(-fno-sanitize=${XP_SANITIZE_WITHOUT})
  # GCC 12 takes the instrumented std::regex for uninitialised; the plain builds keep the warning.
  add_compile_options(-Wno-maybe-uninitialized)
  add_link_options(-fsanitize=${XP_SANITIZE})
  if(XP_SANITIZE STREQUAL "thread")
    # Fences stand only where processes share memory, which it does not follow anyway.
    add_compile_options(-Wno-tsan)
  endif()
endif()

# What Debian's own packages are compiled with (dpkg-buildflags); the packages are made so. Off for daily work: two builds
# of one source would not share what the compiler has cached.
option(XP_HARDENED "Compile with the distribution's hardening" OFF)
if(XP_HARDENED)
  find_program(BUILDFLAGS dpkg-buildflags REQUIRED)
  foreach(kind CPPFLAGS CXXFLAGS LDFLAGS)
    execute_process(COMMAND env DEB_BUILD_MAINT_OPTIONS=hardening=+all DEB_BUILD_OPTIONS=noopt ${BUILDFLAGS} --get ${kind}
      OUTPUT_VARIABLE flags_${kind} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    # Optimisation, debug information and names of folders are this project's own matter.
    separate_arguments(flags_${kind})
    list(FILTER flags_${kind} EXCLUDE REGEX "^-(O|g|ffile-prefix-map|fdebug-prefix-map)")
  endforeach()
  list(FILTER flags_CPPFLAGS EXCLUDE REGEX "_FORTIFY_SOURCE")
  add_compile_options(${flags_CPPFLAGS} ${flags_CXXFLAGS} -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  add_link_options(${flags_LDFLAGS} -pie)
endif()

option(XP_PRECOMPILED "Compile the common headers once" ON)
# xp_precompiled(NAME HEADER [LIBS ...]): a precompiled header for the targets that link these libraries.
function(xp_precompiled name header)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_library(${name} OBJECT ${CMAKE_SOURCE_DIR}/cmake/precompiled.cpp)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  set_target_properties(${name} PROPERTIES AUTOMOC OFF)
  target_precompile_headers(${name} PRIVATE ${CMAKE_SOURCE_DIR}/cmake/${header})
endfunction()
function(xp_use_precompiled target name)
  if(XP_PRECOMPILED)
    target_precompile_headers(${target} REUSE_FROM ${name})
  endif()
endfunction()

# xp_library(NAME [LIBS ...] [PRIVATE_LIBS ...]): a static library of all sources in this folder.
# A folder that has no source yet becomes an interface library, so that its users can be configured.
function(xp_library name)
  cmake_parse_arguments(ARG "" "" "LIBS;PRIVATE_LIBS;EXCLUDE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)
  file(GLOB headers CONFIGURE_DEPENDS *.h)
  foreach(file IN LISTS ARG_EXCLUDE)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  endforeach()
  if(NOT sources)
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ARG_LIBS})
    return()
  endif()
  add_library(${name} STATIC ${sources} ${headers})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
  xp_use_precompiled(${name} precompiled)
endfunction()

# What `./xp run` needs: everything that an operator's machine has.
add_custom_target(programs)

# xp_program(NAME SOURCE... [LIBS ...]): a program in build/bin; below xpd/ and companions/ one of `programs`.
function(xp_program name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  xp_use_precompiled(${name} precompiled)
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "/(xpd|companions)/")
    add_dependencies(programs ${name})
  endif()
endfunction()

# xp_tests(NAME [LIBS ...] [LABELS ...] [TIMEOUT seconds] [EXCLUDE file ...] [SERIAL]): one test program of
# all sources in this folder; each test runs in a process of its own (SERIAL: and with no other beside it).
# tests/support has its main().
function(xp_tests name)
  cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "LIBS;LABELS;EXCLUDE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS *.cpp *.h)
  foreach(file IN LISTS ARG_EXCLUDE)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  endforeach()
  if(NOT sources)
    return()
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  if(XP_SANITIZE)
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 10") # what the sanitizers cost
  endif()
  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} test_support GTest::gtest)
  xp_use_precompiled(${name} precompiled_tests)
  if(NOT "system" IN_LIST ARG_LABELS)
    add_dependencies(unit_tests ${name})
  endif()
  include(GoogleTest)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}" RUN_SERIAL ${ARG_SERIAL})
endfunction()
