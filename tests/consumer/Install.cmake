# cmake -DBUILD=… -DPREFIX=… -DTOOL=bin/kora -DEMULATOR=… -DALONE=… -DHOSTS=… -P Install.cmake
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

# Projects that stand by themselves are built from a copy, where nothing of the tree is beside them.
file(REMOVE_RECURSE "${ALONE}")
file(COPY ${HOSTS} DESTINATION "${ALONE}")
