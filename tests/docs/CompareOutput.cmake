# Runs PROGRAM and compares what it prints with the file EXPECTED. Exit status 77 means the
# program could not do its work on this machine (no OpenGL): reported as a skip.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE actual ERROR_VARIABLE errors RESULT_VARIABLE status)
if(status EQUAL 77)
  message("SKIPPED: the guide's program found no OpenGL here")
  return()
endif()
file(READ ${EXPECTED} expected)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the guide's program failed (${status}):\n${actual}${errors}")
endif()
if(NOT actual STREQUAL expected)
  message(FATAL_ERROR "the guide's program printed:\n${actual}\nthe guide says:\n${expected}")
endif()
