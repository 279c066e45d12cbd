# Plays session.txt to the host and compares what it did with session-expected.txt, then with what it ends otherwise.
#
# Both of the host's streams go to files: under Wine a window starts the system's desktop, which keeps the streams and may
# outlive the host, and whoever reads a pipe waits for it.
function(play arguments input expected)
  execute_process(COMMAND ${PROGRAM} ${arguments} INPUT_FILE "${input}" OUTPUT_FILE "${OUT}.out" ERROR_FILE "${OUT}.err"
                  RESULT_VARIABLE result)
  if(NOT result EQUAL expected)
    file(READ "${OUT}.err" said)
    message(FATAL_ERROR "${arguments}: the host ended with ${result}, not ${expected}, and said\n${said}")
  endif()
endfunction()

play(--play "${FOLDER}/session.txt" 0)
file(READ "${OUT}.out" done)
string(REPLACE "\r" "" done "${done}")
file(READ "${FOLDER}/session-expected.txt" expected)
if(NOT done STREQUAL expected)
  message(FATAL_ERROR "The host did\n${done}\nexpected was\n${expected}")
endif()

# This file has no line that the host understands.
play("--play;--help" "${CMAKE_CURRENT_LIST_FILE}" 0)
play(--play "${CMAKE_CURRENT_LIST_FILE}" 1)
play("--play;--nonsense" "${CMAKE_CURRENT_LIST_FILE}" 2)
