# Replays SCENARIO with TOOL and compares what it prints, byte for byte, with EXPECTED; every step
# must be performed. OUTPUT is where the transcript goes.
execute_process(
  COMMAND ${TOOL} ${SCENARIO}
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
  message(SEND_ERROR "the transcript is not the expected one")
endif()
