# cmake -DPROGRAM=... -DEXPECTED=FILE -P Compare.cmake: runs the program and compares what it prints with the file.
# Line ends may be of either kind.
list(REMOVE_ITEM PROGRAM "")
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the exit code is ${result}, after\n${printed}")
endif()
file(READ "${EXPECTED}" expected)
string(REPLACE "\r\n" "\n" printed "${printed}")
string(REPLACE "\r\n" "\n" expected "${expected}")
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "${EXPECTED} has\n${expected}\nand the program prints\n${printed}")
endif()
