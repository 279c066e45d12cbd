# cmake -DKORA=... -DEMULATOR=... -DSONG=FILE -DEXPECTED=FOLDER -DWORK=FOLDER -P Output.cmake: what docs/command-output.md
# shows of the command's JSON is what the command prints. Line ends may be of either kind.
file(MAKE_DIRECTORY "${WORK}")
get_filename_component(song "${SONG}" NAME)
configure_file("${SONG}" "${WORK}/${song}" COPYONLY)

function(run variable)
  execute_process(COMMAND ${EMULATOR} "${KORA}" ${ARGN} WORKING_DIRECTORY "${WORK}" OUTPUT_VARIABLE printed
                  RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "kora ${ARGN}: exit code ${result}")
  endif()
  string(REPLACE "\r\n" "\n" printed "${printed}")
  set(${variable} "${printed}" PARENT_SCOPE)
endfunction()

function(compare name)
  run(printed ${ARGN})
  file(READ "${EXPECTED}/${name}" expected)
  string(REPLACE "\r\n" "\n" expected "${expected}")
  if(NOT printed STREQUAL expected)
    message(FATAL_ERROR "${EXPECTED}/${name} is not what kora ${ARGN} prints:\n${printed}")
  endif()
endfunction()

run(saved save "${song}" first-light.kora)
compare(song.json song --json "${song}")
compare(info.json info --json first-light.kora)
compare(edit.json edit "${song}" -o shorter.mid --dry-run --json --delete 5|1|0 10|1|0 --tempo 5|1|0 96)
