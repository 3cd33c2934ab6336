# Runs TOOL with ARGUMENTS, INPUT as its standard input, and checks its exit status, its standard
# output against the file EXPECTED, and how many lines it writes to standard error.
execute_process(
  COMMAND ${TOOL} ${ARGUMENTS}
  INPUT_FILE ${INPUT}
  OUTPUT_FILE ${OUTPUT}
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(NOT status EQUAL STATUS)
  message(SEND_ERROR "exit status ${status} instead of ${STATUS}: ${errors}")
endif()
string(REGEX MATCHALL "\n" lines "${errors}")
list(LENGTH lines count)
if(NOT count EQUAL ERROR_LINES)
  message(SEND_ERROR "${count} lines of errors instead of ${ERROR_LINES}: ${errors}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUTPUT} ${EXPECTED}
                RESULT_VARIABLE differs)
if(differs)
  execute_process(COMMAND diff -u ${EXPECTED} ${OUTPUT})
  message(SEND_ERROR "the output is not the expected one")
endif()
