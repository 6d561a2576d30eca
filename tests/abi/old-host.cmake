# Runs a host that was built with the first release against the library of this build and compares what it prints.
#   cmake -DHOST=... -DLIBRARY_DIR=... -DEXPECTED=... -P old-host.cmake

execute_process(COMMAND ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${LIBRARY_DIR} LD_BIND_NOW=1 ${HOST} RESULT_VARIABLE result
                OUTPUT_VARIABLE output ERROR_VARIABLE error)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "The old host ended with ${result}: ${error}")
endif()
file(READ ${EXPECTED} expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "The old host printed\n${output}\ninstead of\n${expected}")
endif()
