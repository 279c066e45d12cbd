# Installs this build into a folder of its own and builds the consumer against it, as a host would.
# Each is a test, so that a failure says which half broke.
set(prefix "${PROJECT_BINARY_DIR}/consumer/prefix")
if(TARGET kora)
  set(tool "${CMAKE_INSTALL_BINDIR}/$<TARGET_FILE_NAME:kora>")
endif()
add_test(NAME Package.Install COMMAND "${CMAKE_COMMAND}" "-DBUILD=${PROJECT_BINARY_DIR}" "-DPREFIX=${prefix}"
         "-DTOOL=${tool}" "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" -P "${CMAKE_CURRENT_LIST_DIR}/Install.cmake")
set_tests_properties(Package.Install PROPERTIES FIXTURES_SETUP KoraPackage)

# Once a platform is enough for the headers, by themselves and behind macros.
set(every_header ON)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT CMAKE_CROSSCOMPILING)
  set(every_header OFF)
endif()
add_test(NAME Package.Consumer COMMAND "${CMAKE_CTEST_COMMAND}"
         --build-and-test "${CMAKE_CURRENT_LIST_DIR}" "${PROJECT_BINARY_DIR}/consumer/build"
         --build-generator "${CMAKE_GENERATOR}" --build-noclean
         --build-options "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}"
                         "-DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}" "-DEVERY_HEADER=${every_header}"
         --test-command "${CMAKE_CTEST_COMMAND}" --output-on-failure --no-tests=error)
set_tests_properties(Package.Consumer PROPERTIES FIXTURES_REQUIRED KoraPackage TIMEOUT 600)
