# Fuzz targets: one entry point, two uses.

# tavix_fuzz(<name> SOURCES ... [LIBS ...])
# The sources define `extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)`; small inputs, each named
# after the reason why it exists, lie in the file fuzz/corpus/<name>, which scripts/corpus.sh packs; those named found-* reach
# code that no other input does.
# With TAVIX_BUILD_FUZZ (preset fuzz) this makes the libFuzzer program fuzz_<name>. With TAVIX_BUILD_TESTS it makes the
# program replay_<name>, and the ctest test fuzz.<name> that runs over the corpus in an ordinary build.
function(tavix_fuzz name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  set(corpus ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
  if(NOT EXISTS ${corpus})
    message(FATAL_ERROR "fuzz target ${name} has no corpus: ${corpus}")
  endif()
  if(TAVIX_BUILD_FUZZ)
    tavix_program(fuzz_${name} SOURCES ${ARG_SOURCES} LIBS ${ARG_LIBS})
    target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    if(NOT TARGET fuzzers)
      add_custom_target(fuzzers)
    endif()
    add_dependencies(fuzzers fuzz_${name})
  endif()
  if(TAVIX_BUILD_TESTS)
    tavix_program(replay_${name} SOURCES ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/fuzz/Replay.cpp LIBS ${ARG_LIBS})
    target_include_directories(replay_${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
    add_test(NAME fuzz.${name} COMMAND replay_${name} ${corpus})
    set_tests_properties(fuzz.${name} PROPERTIES TIMEOUT 120 LABELS fuzz)
  endif()
endfunction()
