# Installs this build into a folder of its own and builds the consumer against it, as a host would.
# Each is a test, so that a failure says which half broke.
set(prefix "${PROJECT_BINARY_DIR}/consumer/prefix")
set(alone "${PROJECT_BINARY_DIR}/consumer/alone")
set(hosts "${PROJECT_SOURCE_DIR}/examples/host-template" "${PROJECT_SOURCE_DIR}/examples/menus")
if(TARGET kora)
  set(tool "${CMAKE_INSTALL_BINDIR}/$<TARGET_FILE_NAME:kora>")
endif()
add_test(NAME Package.Install COMMAND "${CMAKE_COMMAND}" "-DBUILD=${PROJECT_BINARY_DIR}" "-DPREFIX=${prefix}"
         "-DTOOL=${tool}" "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" "-DALONE=${alone}" "-DHOSTS=${hosts}"
         -P "${CMAKE_CURRENT_LIST_DIR}/Install.cmake")
set_tests_properties(Package.Install PROPERTIES FIXTURES_SETUP KoraPackage)

# host_project(NAME FOLDER OPTION...): builds a host's own project and runs its tests.
function(host_project name folder)
  add_test(NAME Package.${name} COMMAND "${CMAKE_CTEST_COMMAND}"
           --build-and-test "${folder}" "${PROJECT_BINARY_DIR}/consumer/${name}"
           --build-generator "${CMAKE_GENERATOR}" --build-noclean
           --build-options "-DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}" "-DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}"
                           "-DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}" ${ARGN}
           --test-command "${CMAKE_CTEST_COMMAND}" --output-on-failure --no-tests=error)
  set_tests_properties(Package.${name} PROPERTIES TIMEOUT 900)
endfunction()

# Once a platform is enough for the headers, by themselves and behind macros, for the tree as a part of a host's, and for
# the examples.
set(once OFF)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  set(once ON)
endif()
host_project(Consumer "${CMAKE_CURRENT_LIST_DIR}" "-DCMAKE_PREFIX_PATH=${prefix}" "-DEVERY_HEADER=${once}"
             "-DWITH_COMMAND=${KORA_BUILD_TOOL}")
set_tests_properties(Package.Consumer PROPERTIES FIXTURES_REQUIRED KoraPackage)
# The template that hosts start from finds the library in each of its ways.
set(template "${alone}/host-template")
host_project(TemplatePackage "${template}" -DKORA_FROM=package "-DCMAKE_PREFIX_PATH=${prefix}")
set_tests_properties(Package.TemplatePackage PROPERTIES FIXTURES_REQUIRED KoraPackage)
find_program(KORA_PKG_CONFIG pkg-config)
if(KORA_PKG_CONFIG AND NOT CMAKE_CROSSCOMPILING)
  host_project(TemplatePkgConfig "${template}" -DKORA_FROM=pkg-config)
  set_tests_properties(Package.TemplatePkgConfig PROPERTIES FIXTURES_REQUIRED KoraPackage
    ENVIRONMENT "PKG_CONFIG_PATH=${prefix}/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endif()
if(once)
  host_project(Subproject "${PROJECT_SOURCE_DIR}/tests/subproject")
  if(NOT CMAKE_CROSSCOMPILING)
    # After the other one and of the same kind, so that the compiler's cache has its objects.
    host_project(TemplatePath "${template}" -DKORA_FROM=path "-DKORA_PATH=${PROJECT_SOURCE_DIR}" -DBUILD_SHARED_LIBS=OFF)
    set_tests_properties(Package.TemplatePath PROPERTIES DEPENDS Package.Subproject FIXTURES_REQUIRED KoraPackage)
  endif()
  host_project(Menus "${alone}/menus" "-DCMAKE_PREFIX_PATH=${prefix}")
  set_tests_properties(Package.Menus PROPERTIES FIXTURES_REQUIRED KoraPackage)
  host_project(Examples "${PROJECT_SOURCE_DIR}/examples" "-DCMAKE_PREFIX_PATH=${prefix}")
  set_tests_properties(Package.Examples PROPERTIES FIXTURES_REQUIRED KoraPackage)
endif()
