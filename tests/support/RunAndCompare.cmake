# Runs PROGRAM, with ARGUMENT if there is one, and compares what it prints with EXPECTED, byte for
# byte. It must end well and print no errors. OUTPUT is where its output goes.
execute_process(
  COMMAND ${PROGRAM} ${ARGUMENT}
  OUTPUT_FILE ${OUTPUT}
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT errors STREQUAL "")
  message(SEND_ERROR "exit status ${status}: ${errors}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUTPUT} ${EXPECTED}
                RESULT_VARIABLE differs)
if(differs)
  execute_process(COMMAND diff -u ${EXPECTED} ${OUTPUT})
  message(SEND_ERROR "the output is not the expected one")
endif()
