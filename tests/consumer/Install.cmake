# cmake -DBUILD=… -DPREFIX=… -P Install.cmake: a fresh prefix, so that a header no longer installed is missed.
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}" COMMAND_ERROR_IS_FATAL ANY)
