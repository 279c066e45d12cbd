# What the examples find in the tree's build, for a build against an installed Kora.
find_package(Kora 0.1 REQUIRED)
list(APPEND CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}/../cmake") # KoraPackages, for CLI11
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

option(KORA_BUILD_TESTS "Run the examples as tests" ON)
if(KORA_BUILD_TESTS)
  enable_testing()
endif()

# Windows looks for the DLL beside the program.
get_target_property(library_type Kora::Kora TYPE)
if(WIN32 AND library_type STREQUAL "SHARED_LIBRARY")
  add_custom_target(kora_dll ALL COMMAND "${CMAKE_COMMAND}" -E copy_if_different $<TARGET_FILE:Kora::Kora>
                                         "${CMAKE_BINARY_DIR}/bin/$<TARGET_FILE_NAME:Kora::Kora>")
endif()
