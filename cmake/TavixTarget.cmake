# Every target of the project is made here, so that all have the same habits and nothing is global.

find_program(TAVIX_CCACHE ccache)
include(TavixHardening)

# Headers are installed below a folder of their own, since Base/ and Log/ are names that others may use too.
set(TAVIX_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/tavix-${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

# Where programs and libraries look for our libraries, in the build tree as where they are installed. One path for both:
# CMake would make room for the later one with an empty entry, and that is the folder somebody happens to stand in.
set(TAVIX_RPATH "$ORIGIN;$ORIGIN/../lib;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
list(REMOVE_DUPLICATES TAVIX_RPATH)

# Applies language level, warnings, sanitizers and output folders to a target.
function(tavix_habits target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    POSITION_INDEPENDENT_CODE ON
    INSTALL_RPATH "${TAVIX_RPATH}"
    BUILD_WITH_INSTALL_RPATH ON
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
  if(TAVIX_CCACHE)
    set_target_properties(${target} PROPERTIES CXX_COMPILER_LAUNCHER ${TAVIX_CCACHE})
  endif()
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    $<$<BOOL:${TAVIX_WERROR}>:-Werror>)
  if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -Wno-subobject-linkage) # to it a source is a header then
  endif()
  if(TAVIX_BUILD_FUZZ)
    # Coverage of the libraries is what guides the fuzzer; the fuzz targets themselves link its main.
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  tavix_harden(${target})
  if(TAVIX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TAVIX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${TAVIX_SANITIZE})
    # Sanitizers guess what stands in front of a thread's variables in a library that was loaded later, and when they are
    # wrong, once in some two hundred and fifty threads, they clear hundreds of terabytes or read where nothing is. So
    # these variables are never asked for by address.
    target_compile_options(${target} PRIVATE -ftls-model=initial-exec)
  endif()
endfunction()

# tavix_target(<name> <SHARED|STATIC|OBJECT|MODULE> [OUTPUT_NAME <name>] SOURCES ... [PUBLIC libs...] [PRIVATE libs...])
# Makes the library <name> with the alias tavix::<name>. Public headers live in include/, private ones in src/.
function(tavix_target name kind)
  cmake_parse_arguments(ARG "" "OUTPUT_NAME" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} ${kind} ${ARG_SOURCES})
  add_library(tavix::${name} ALIAS ${name})
  tavix_habits(${name})
  target_include_directories(${name}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${TAVIX_INSTALL_INCLUDEDIR}>
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  if(ARG_OUTPUT_NAME)
    set_target_properties(${name} PROPERTIES OUTPUT_NAME ${ARG_OUTPUT_NAME})
  endif()
endfunction()

# tavix_shared(<name> OUTPUT_NAME <name> NAMESPACE <name> SOURCES ... [PUBLIC libs...] [PRIVATE libs...])
# A library that shows of its namespace what its public headers promise. Beside it the object library <name>_objects that
# it is made of: tests of its inside link that instead, so that no process has the code twice.
function(tavix_shared name)
  cmake_parse_arguments(ARG "" "OUTPUT_NAME;NAMESPACE" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  tavix_target(${name}_objects OBJECT SOURCES ${ARG_SOURCES} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  tavix_target(${name} SHARED OUTPUT_NAME ${ARG_OUTPUT_NAME} SOURCES $<TARGET_OBJECTS:${name}_objects>
    PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  set(map ${CMAKE_CURRENT_BINARY_DIR}/exports.map)
  string(LENGTH ${ARG_NAMESPACE} length)
  set(prefix ${length}${ARG_NAMESPACE}) # as compilers spell it
  configure_file(${PROJECT_SOURCE_DIR}/cmake/exports.map.in ${map} @ONLY)
  tavix_exports(${name} ${map})
  set_property(GLOBAL APPEND PROPERTY TAVIX_LINKED ${name})
endfunction()

# tavix_exports(<name> <map>): a library shows what the linker's map lets through and exports.txt beside its CMakeLists.txt
# lists, which a test compares; scripts/exports.sh renews the list. Libraries of the global property TAVIX_LINKED are
# linked by applications, so that packages tell of their symbols; all others are loaded at run time.
function(tavix_exports name map)
  set_target_properties(${name} PROPERTIES
    LINK_DEPENDS ${map}
    TAVIX_EXPORTS ${CMAKE_CURRENT_SOURCE_DIR}/exports.txt)
  target_link_options(${name} PRIVATE -Wl,--version-script=${map})
endfunction()

# tavix_strict(<targets>...): warns of numbers that may change where they are converted, and of casts as C writes them. For
# the rooms that are clean of both; signs may differ, as in every use of the standard library's sizes.
function(tavix_strict)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE
      -Wconversion -Wold-style-cast $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
  endforeach()
endfunction()

# tavix_program(<name> SOURCES ... LIBS ...): an executable with the project's habits.
function(tavix_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  tavix_habits(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
endfunction()

# tavix_test_habits(<name> [LIBS ...]): what programs of tests and the objects that several of them share have in common.
# Their own code is not optimised, which the compiler thanks with a fifth of its time; what they check is.
function(tavix_test_habits name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  tavix_habits(${name})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  target_compile_options(${name} PRIVATE -O0)
  if(TAVIX_SANITIZE)
    target_compile_options(${name} PRIVATE -fno-sanitize=undefined)
  endif()
  if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    tavix_test_headers(${name})
  endif()
endfunction()

# tavix_test_headers(<name>): the headers of the test library and the standard ones that most tests include are read once,
# by the target test_headers, for all tests. Only where everything is built at a time: the everyday build finds the file
# that forgot to include them.
function(tavix_test_headers name)
  target_compile_options(${name} PRIVATE -fPIE -pthread) # what the compiler wants to be alike where such headers are used
  if(name STREQUAL test_headers)
    target_precompile_headers(${name} PRIVATE
      <gmock/gmock.h> <gtest/gtest.h> <atomic> <chrono> <filesystem> <fstream> <functional> <future> <map> <set> <thread>)
  else()
    target_precompile_headers(${name} REUSE_FROM test_headers)
  endif()
  if(TAVIX_CCACHE) # which leaves alone what uses such headers, unless it is told that their text decides
    target_compile_options(${name} PRIVATE -fpch-preprocess)
    set_target_properties(${name} PROPERTIES
      CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND};-E;env;CCACHE_SLOPPINESS=pch_defines,time_macros;${TAVIX_CCACHE}")
  endif()
endfunction()

# tavix_large_batches(<name>...): for tests whose files share no names: as the headers of the test library cost the compiler
# more than the tests do, fewer and larger units are faster.
function(tavix_large_batches)
  set_target_properties(${ARGN} PROPERTIES UNITY_BUILD_BATCH_SIZE 16)
endfunction()

# tavix_test_objects(<name> SOURCES ... [LIBS ...]): tests that several programs run, compiled once. Programs list
# $<TARGET_OBJECTS:name> among their sources.
function(tavix_test_objects name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} OBJECT ${ARG_SOURCES})
  tavix_test_habits(${name} LIBS ${ARG_LIBS})
endfunction()

# tavix_test(<name> [PREFIX text] SOURCES ... [LIBS ...] [ENVIRONMENT VAR=value ...] [LABELS ...])
# A GoogleTest program; every TEST becomes a ctest test of its own. Each bears its folder's name as a label, so that
# `ctest -L genapi` runs the tests of one library.
function(tavix_test name)
  cmake_parse_arguments(ARG "" "PREFIX" "SOURCES;LIBS;ENVIRONMENT;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  tavix_test_habits(${name} LIBS ${ARG_LIBS})
  set(limit 120)
  if(CMAKE_CROSSCOMPILING) # under emulation
    set(limit 900)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT ${limit} TEST_PREFIX "${ARG_PREFIX}"
    TEST_LIST ${name}_TESTS PROPERTIES TIMEOUT ${limit})
  tavix_test_lists(${name} ENVIRONMENT ${ARG_ENVIRONMENT})
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  list(PREPEND ARG_LABELS ${folder})
  list(REMOVE_DUPLICATES ARG_LABELS)
  tavix_test_lists(${name} LABELS ${ARG_LABELS})
endfunction()

# tavix_test_lists(<name> <property> values...): sets a property that is a list on all tests of a program, once ctest
# knows them. gtest_discover_tests itself would keep the first value only.
function(tavix_test_lists name property)
  if(NOT ARGN)
    return()
  endif()
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}_${property}.cmake)
  file(GENERATE OUTPUT ${script} CONTENT
    "if(${name}_TESTS)\n  set_tests_properties(\${${name}_TESTS} PROPERTIES ${property} [==[${ARGN}]==])\nendif()\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
endfunction()
