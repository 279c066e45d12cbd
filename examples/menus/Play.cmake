# Plays session.txt to the host and compares what it did with session-expected.txt.
execute_process(COMMAND ${PROGRAM} INPUT_FILE "${FOLDER}/session.txt" OUTPUT_VARIABLE done RESULT_VARIABLE result)
string(REPLACE "\r" "" done "${done}")
file(READ "${FOLDER}/session-expected.txt" expected)
if(NOT result EQUAL 0 OR NOT done STREQUAL expected)
  message(FATAL_ERROR "The host ended with ${result} and did\n${done}\nexpected was\n${expected}")
endif()
