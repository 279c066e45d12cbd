# Where debuggers find how times are shown: gdb by the library's file name, Visual Studio in the project that names
# the file.
install(FILES "${PROJECT_SOURCE_DIR}/scripts/natvis/kora.natvis" DESTINATION "${CMAKE_INSTALL_DATADIR}/kora/natvis"
        COMPONENT development)

# gdb looks in its auto-load folders for the whole path of the library it loads, with -gdb.py behind. That path is known
# when the prefix is: at installation. A static library is in no file of its own.
get_target_property(kora_type Kora TYPE)
if(NOT WIN32 AND kora_type STREQUAL "SHARED_LIBRARY")
  set(folder "${CMAKE_INSTALL_LIBDIR}")
  set(share "${CMAKE_INSTALL_DATADIR}")
  install(CODE "
    get_filename_component(prefix \"\${CMAKE_INSTALL_PREFIX}\" ABSOLUTE)
    get_filename_component(library_folder \"${folder}\" ABSOLUTE BASE_DIR \"\${prefix}\")
    get_filename_component(share \"${share}\" ABSOLUTE BASE_DIR \"\${prefix}\")
    file(INSTALL DESTINATION \"\${share}/gdb/auto-load\${library_folder}\" TYPE FILE
         RENAME \"libKora.so.${PROJECT_VERSION}-gdb.py\"
         FILES \"${PROJECT_SOURCE_DIR}/scripts/gdb/kora_printers.py\")" COMPONENT development)
endif()
