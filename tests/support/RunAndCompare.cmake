# Runs PROGRAM with ARGUMENTS and compares what it prints with the file EXPECTED, byte for byte.
# OUTPUT is where its output goes. It must end with STATUS (0 if that is not given), and write
# ERROR_LINES lines to standard error (none). INPUT, if given, is its standard input.
if(NOT DEFINED STATUS)
  set(STATUS 0)
endif()
if(NOT DEFINED ERROR_LINES)
  set(ERROR_LINES 0)
endif()
if(DEFINED INPUT)
  set(input INPUT_FILE ${INPUT})
endif()
execute_process(
  COMMAND ${PROGRAM} ${ARGUMENTS} ${input}
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
