# `cmake --build build/dev --target reference` makes the reference of the public headers in build/dev/reference/html; a
# warning is an error. With tests, the same is a test.
find_program(TAVIX_DOXYGEN doxygen)
if(TAVIX_DOXYGEN)
  set(reference ${PROJECT_BINARY_DIR}/reference)
  set(make_reference ${CMAKE_COMMAND} -E env TAVIX_REFERENCE=${reference} TAVIX_REFERENCE_WARNINGS=FAIL_ON_WARNINGS
    ${TAVIX_DOXYGEN} docs/Doxyfile)
  file(MAKE_DIRECTORY ${reference})
  add_custom_target(reference COMMAND ${make_reference} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM
    COMMENT "Reference in ${reference}/html/index.html")
  if(TAVIX_BUILD_TESTS AND NOT TAVIX_SANITIZE)
    add_test(NAME Reference.IsMadeWithoutAWarning COMMAND ${make_reference} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(Reference.IsMadeWithoutAWarning PROPERTIES TIMEOUT 120 LABELS docs)
  endif()
endif()
