# Runs the real command: cmake -DKORA=… -DEMULATOR=… -DSONGS=… -DDATA=… -DPICTURES=… -DWORK=… -P EndToEnd.cmake
# The bytes that come out are compared, so that both platforms print the same.
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")

function(run_kora exit in out err)
  execute_process(COMMAND ${EMULATOR} "${KORA}" ${ARGN} WORKING_DIRECTORY "${WORK}" INPUT_FILE "${in}"
                  OUTPUT_FILE "${WORK}/${out}" ERROR_FILE "${WORK}/${err}" RESULT_VARIABLE result)
  if(NOT result EQUAL exit)
    file(READ "${WORK}/${err}" text)
    message(FATAL_ERROR "kora ${ARGN}: exit ${result}, expected ${exit}: ${text}")
  endif()
endfunction()

function(expect_same actual expected)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${actual}" "${expected}" RESULT_VARIABLE differs)
  if(differs)
    message(FATAL_ERROR "${actual} is not ${expected}")
  endif()
endfunction()

function(expect_text file expected)
  file(WRITE "${WORK}/expected" "${expected}")
  expect_same("${WORK}/${file}" "${WORK}/expected")
endfunction()

set(settings --rate 48000 --timecode 29.97drop)
file(COPY "${SONGS}/first-light.mid" DESTINATION "${WORK}")
file(WRITE "${WORK}/nothing" "")
run_kora(0 nothing song.json err song first-light.mid --json ${settings})
expect_same("${WORK}/song.json" "${DATA}/first-light.json")
run_kora(0 nothing song.txt err song first-light.mid ${settings})
expect_same("${WORK}/song.txt" "${DATA}/first-light.txt")

# A name beyond every 8-bit code page.
file(COPY_FILE "${SONGS}/first-light.mid" "${WORK}/Früh 光.mid")
file(WRITE "${WORK}/bars" "1|1|0\r\n10|1|0\n")
run_kora(0 bars converted err convert "Früh 光.mid" --from bars --to ticks,bars ${settings})
expect_text(converted "1000000000000\t1|1|0\n1000028800000\t10|1|0\n")
expect_text(err "")

run_kora(0 nothing plot.svg err plot first-light.mid)
expect_same("${WORK}/plot.svg" "${PICTURES}/first-light.svg")
run_kora(0 nothing plot.svg err plot first-light.mid --width 400 --height 360)
expect_same("${WORK}/plot.svg" "${PICTURES}/first-light-narrow.svg")
run_kora(0 nothing out err plot first-light.mid -o "图.svg")
expect_same("${WORK}/图.svg" "${PICTURES}/first-light.svg")

# The lines of a grid, and their sound, which is the same file on both platforms.
run_kora(0 nothing grid err grid first-light.mid --by 1/8t --from "2|1" --to "2|2" ${settings})
expect_text(grid "2|1|0\t137143\tbar\n2|1|320000\t148571\tsub\n2|1|640000\t160000\tsub\n")
run_kora(0 nothing out err click first-light.mid -o "拍.wav" --from "4|1" --to "6|1" ${settings})
file(SHA256 "${WORK}/拍.wav" sum)
if(NOT sum STREQUAL "04c9670a05d5f5cdd86d1038d19be057602eeaf9232d486867bd8475e32e913e")
  message(FATAL_ERROR "the clicks have the sum ${sum}")
endif()

# Documents: an unmasked one has the same bytes on both platforms, and a masked one shows the same song.
run_kora(0 nothing saved err save first-light.mid first-light.kora ${settings})
expect_text(saved "first-light.kora: 4 streams, 1583 bytes, not scrambled\n")
expect_same("${WORK}/first-light.kora" "${DATA}/first-light.kora")
run_kora(0 nothing song.txt err song first-light.kora)
file(READ "${WORK}/song.txt" text)
string(REPLACE "first-light.kora" "first-light.mid" text "${text}")
file(WRITE "${WORK}/song.txt" "${text}")
expect_same("${WORK}/song.txt" "${DATA}/first-light.txt")
run_kora(0 nothing info err info first-light.kora)
expect_same("${WORK}/info" "${DATA}/first-light.info.txt")
run_kora(0 nothing plain.xml err xml first-light.kora)
run_kora(0 nothing saved err save first-light.kora "Früh 光.kora" --scramble 5)
run_kora(0 nothing masked.xml err xml "Früh 光.kora")
expect_same("${WORK}/masked.xml" "${WORK}/plain.xml")
run_kora(0 nothing check err check "Früh 光.kora")
expect_text(check "Früh 光.kora: good, 4 streams\n")
run_kora(0 nothing saved err save "Früh 光.kora" "Früh 光.kora") # over itself
expect_same("${WORK}/Früh 光.kora" "${DATA}/first-light.kora")

# A pipe gives what a file gives, both ways, whatever the bytes are.
function(pipe_kora out)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E cat "${WORK}/first-light.mid"
                  COMMAND ${EMULATOR} "${KORA}" save - - ${settings} --scramble 3
                  COMMAND ${EMULATOR} "${KORA}" ${ARGN} WORKING_DIRECTORY "${WORK}"
                  OUTPUT_FILE "${WORK}/${out}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()
pipe_kora(piped.xml xml -)
expect_same("${WORK}/piped.xml" "${WORK}/plain.xml")
pipe_kora(piped.kora save - - --scramble 0)
expect_same("${WORK}/piped.kora" "${DATA}/first-light.kora")
run_kora(1 nothing out err song -)
expect_text(err "kora: standard input: no data, expected a MIDI file or a document\n")
run_kora(2 first-light.mid out err save - first-light.mid) # over what it comes from
expect_same("${WORK}/first-light.mid" "${SONGS}/first-light.mid")
if(CMAKE_HOST_UNIX AND NOT EMULATOR)
  function(run_shell exit expected text)
    execute_process(COMMAND timeout 60 bash -c "${text}" WORKING_DIRECTORY "${WORK}" INPUT_FILE /dev/null
                    OUTPUT_VARIABLE out ERROR_VARIABLE out RESULT_VARIABLE result)
    if(NOT result EQUAL exit OR NOT out STREQUAL expected)
      message(FATAL_ERROR "${text}: exit ${result}, expected ${exit}: ${out}")
    endif()
  endfunction()
  set(bad "expected a MIDI file or a document\n")
  run_shell(0 "" "mkfifo f && { cat first-light.kora >f & '${KORA}' xml f | cmp - plain.xml; }")
  run_shell(0 "" "'${KORA}' xml <(cat first-light.kora) | cmp - plain.xml")
  run_shell(0 "" "cat first-light.kora | '${KORA}' xml /dev/stdin | cmp - plain.xml")
  run_shell(0 "/dev/stdin: good, 4 streams\n" "cat first-light.kora | '${KORA}' check /dev/stdin")
  run_shell(0 "1000000000000\n" "echo '1|1|0' | '${KORA}' convert <(cat first-light.mid) --from bars --to ticks")
  run_shell(2 "kora: standard input holds the positions, expected the song in another file (try \"kora convert --help\")\n"
            "cat first-light.mid | '${KORA}' convert /dev/stdin --from bars --to ticks")
  run_shell(1 "kora: /dev/null: no data, ${bad}" "'${KORA}' song /dev/null")
  run_shell(1 "kora: standard input: cannot be read, ${bad}" "'${KORA}' song - <&-")
  run_shell(1 "kora: /dev/zero: more than 268435456 bytes, ${bad}" "'${KORA}' info /dev/zero")
  run_shell(1 "kora: standard output: cannot be written\n" "'${KORA}' song first-light.mid >&-")
  run_shell(1 "kora: standard output: cannot be written\n" "trap '' PIPE; exec 3> >(:); wait $!; '${KORA}' song first-light.mid >&3")
endif()

# Its first 1300 bytes: the meter map and the tempo map are whole, the key map is not.
file(COPY "${DATA}/cut.kora" DESTINATION "${WORK}")
run_kora(1 nothing out err check cut.kora)
expect_text(err "kora: cut.kora: byte 45: expected a TOC offset from 49 to 1299, found 1355; and 1 more fault (--all)\n")
run_kora(0 nothing repaired err repair cut.kora fixed.kora)
expect_text(err "")
run_kora(0 nothing check err check fixed.kora)
expect_text(check "fixed.kora: good, 2 streams\n")
run_kora(2 nothing out err repair cut.kora cut.kora)
run_kora(1 nothing out err info "光.kora")
expect_text(err "kora: 光.kora: no such file\n")

file(WRITE "${WORK}/bad" "10\n20\nten\n")
run_kora(1 bad out err convert - --from ticks --to bars)
file(READ "${WORK}/out" text)
string(REGEX MATCHALL "\n" answers "${text}")
if(NOT answers STREQUAL "\n;\n") # those before the bad line
  message(FATAL_ERROR "convert of a bad third line: ${text}")
endif()
expect_text(err "kora: standard input: line 3: \"ten\" is not a position in ticks, expected a whole number\n")
run_kora(1 nothing out err song "光.mid")
expect_text(err "kora: 光.mid: no such file\n")
run_kora(2 nothing out err song)
run_kora(0 nothing out err song "${WORK}/first-light.mid") # "/…" is a file, not an option
