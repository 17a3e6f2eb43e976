# Runs one example on a fresh store: cmake -DPROGRAM=... -DSTORE=<dir> -DEXPECTED=<regex> -P ...
# It passes when the program exits with 0 and its output matches EXPECTED.
file(REMOVE_RECURSE "${STORE}")
set(ENV{TESSEL_REGISTRY_DIR} "${STORE}")
execute_process(COMMAND "${PROGRAM}" RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
message("${output}${errors}")
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${status}")
endif()
if(NOT output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "${PROGRAM} did not print what was expected: ${EXPECTED}")
endif()
