include(GoogleTest)

# tessel_add_test(name SOURCES... [LIBS libs...]): builds a GoogleTest binary against the
# library and registers its cases with CTest.
function(tessel_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES} ${ARG_UNPARSED_ARGUMENTS}
    ${PROJECT_SOURCE_DIR}/tests/support/FreshRegistry.cpp)
  target_link_libraries(${name} PRIVATE Tessel::KavorTesselUtils Tessel::Internal GTest::gtest_main GTest::gmock
    ${ARG_LIBS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  tessel_set_warnings(${name})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()

# tessel_add_benchmark(name SOURCES... [LIBS libs...]): a Google Benchmark binary.
function(tessel_add_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE Tessel::KavorTesselUtils Tessel::Internal benchmark::benchmark ${ARG_LIBS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/bench)
  tessel_set_warnings(${name})
endfunction()
