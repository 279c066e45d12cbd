# cmake -DBUILD=… -DPREFIX=… -DTOOL=bin/kora -DEMULATOR=… -P Install.cmake
# A fresh prefix, so that a header no longer installed is missed. The installed command runs where it was put, and again
# after the whole folder was moved.
file(REMOVE_RECURSE "${PREFIX}" "${PREFIX}.first")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}.first" COMMAND_ERROR_IS_FATAL ANY)
unset(ENV{LD_LIBRARY_PATH})
function(run_installed prefix)
  if(TOOL)
    execute_process(COMMAND ${EMULATOR} "${prefix}/${TOOL}" --version COMMAND_ERROR_IS_FATAL ANY)
  endif()
endfunction()
run_installed("${PREFIX}.first")
file(RENAME "${PREFIX}.first" "${PREFIX}")
run_installed("${PREFIX}")
