# What a host gets: the library, the public headers in their folders under include/kora, the CMake package, the
# kora command, and gdb's printers beside the library's documentation.
#
# The CMake package's components are the two export sets: Library (Kora::Kora) and Command (Kora::Command). Those of the
# installation are what is packed by itself: runtime, development, tool, documentation.
include(CMakePackageConfigHelpers)

install(TARGETS Kora EXPORT KoraLibraryTargets
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
if(TARGET kora)
  install(TARGETS kora EXPORT KoraCommandTargets RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
  set_target_properties(kora PROPERTIES EXPORT_NAME Command)
  # The command finds the library from where it stands, so that an installed folder may be moved. Where a folder of
  # the two is fixed, it is not known how to get from one to the other before the prefix is.
  if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}")
    set(run_path "${CMAKE_INSTALL_FULL_LIBDIR}")
  else()
    file(RELATIVE_PATH run_path "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
    string(PREPEND run_path "\$ORIGIN/")
  endif()
  set_target_properties(kora PROPERTIES INSTALL_RPATH "${run_path}")
endif()

# Private headers (…_p.h, the platform folders) stay in the house, except for the native menus that a host on Windows
# is given.
foreach(folder Export OstrelPlatformSupport Bastel Kora)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/${folder}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kora"
          COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE PATTERN "Posix" EXCLUDE PATTERN "Win32" EXCLUDE)
endforeach()
if(WIN32)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Kora/DAW/Win32" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kora/Kora/DAW"
          COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE)
endif()

set(package "${CMAKE_INSTALL_LIBDIR}/cmake/Kora")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/KoraConfig.cmake.in" "${PROJECT_BINARY_DIR}/KoraConfig.cmake"
                              INSTALL_DESTINATION "${package}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KoraConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KoraConfig.cmake" "${PROJECT_BINARY_DIR}/KoraConfigVersion.cmake"
        DESTINATION "${package}" COMPONENT development)
install(EXPORT KoraLibraryTargets NAMESPACE Kora:: DESTINATION "${package}" COMPONENT development)
if(TARGET kora)
  # With the command: without it the package has no component Command.
  install(EXPORT KoraCommandTargets NAMESPACE Kora:: DESTINATION "${package}" COMPONENT tool)
endif()

# The same for builds that ask pkg-config. Its file finds the prefix from where it stands, so that a folder may be moved.
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  file(RELATIVE_PATH pc_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
  if(KORA_LIBRARY_TYPE STREQUAL "STATIC")
    set(pc_libs " -lstdc++ -lm -pthread")
    if(WIN32)
      string(APPEND pc_libs " -lsynchronization")
    endif()
    set(pc_cflags " -DKORA_STATIC")
  endif()
  configure_file("${CMAKE_CURRENT_LIST_DIR}/kora.pc.in" "${PROJECT_BINARY_DIR}/kora.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/kora.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endif()

if(EXISTS "${PROJECT_SOURCE_DIR}/scripts/gdb")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/scripts/gdb/" DESTINATION "${CMAKE_INSTALL_DATADIR}/kora/gdb"
          COMPONENT development FILES_MATCHING PATTERN "*.py")
endif()

install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation
        FILES_MATCHING PATTERN "*.md" PATTERN "pictures/*" PATTERN "output/*" PATTERN "site" EXCLUDE PATTERN "performance" EXCLUDE)
# The site of guides and reference, where it was built (target docs).
install(DIRECTORY "${PROJECT_BINARY_DIR}/site/" DESTINATION "${CMAKE_INSTALL_DOCDIR}/html" COMPONENT documentation OPTIONAL)
include(KoraDebuggers)
