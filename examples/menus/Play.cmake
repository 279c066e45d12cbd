# Plays session.txt to the host and compares what it did with session-expected.txt.
execute_process(COMMAND ${PROGRAM} --play INPUT_FILE "${FOLDER}/session.txt" OUTPUT_VARIABLE done RESULT_VARIABLE result)
string(REPLACE "\r" "" done "${done}")
file(READ "${FOLDER}/session-expected.txt" expected)
if(NOT result EQUAL 0 OR NOT done STREQUAL expected)
  message(FATAL_ERROR "The host ended with ${result} and did\n${done}\nexpected was\n${expected}")
endif()

# What it ends with otherwise. This file has no line that it understands.
foreach(arguments "0 --play --help" "1 --play" "2 --play --nonsense")
  separate_arguments(arguments)
  list(POP_FRONT arguments expected)
  execute_process(COMMAND ${PROGRAM} ${arguments} INPUT_FILE "${CMAKE_CURRENT_LIST_FILE}" OUTPUT_QUIET ERROR_VARIABLE said
                  RESULT_VARIABLE result)
  if(NOT result EQUAL expected)
    message(FATAL_ERROR "${arguments}: the host ended with ${result}, not ${expected}, and said\n${said}")
  endif()
endforeach()
