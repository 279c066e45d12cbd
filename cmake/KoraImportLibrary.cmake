# Kora.lib: the C interface for linkers of Microsoft's kind, beside the import library of mingw-w64. The classes are not
# in it: their names are those of one compiler family.
set(symbols "${PROJECT_SOURCE_DIR}/Kora/C/symbols.txt")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${symbols}")
file(STRINGS "${symbols}" lines)
list(TRANSFORM lines REPLACE " .*" "")
list(JOIN lines "\n" names)
set(definition "${PROJECT_BINARY_DIR}/Kora.def")
file(CONFIGURE OUTPUT "${definition}" CONTENT "LIBRARY Kora.dll\nEXPORTS\n@names@\n" @ONLY)

# LLVM's makes what Microsoft's tools make; binutils' is read by most linkers too.
find_program(KORA_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 llvm-dlltool-15 llvm-dlltool-16)
if(NOT KORA_DLLTOOL)
  set(KORA_DLLTOOL "${CMAKE_DLLTOOL}")
endif()
set(KORA_IMPORT_LIBRARY "${PROJECT_BINARY_DIR}/Kora.lib")
add_custom_command(OUTPUT "${KORA_IMPORT_LIBRARY}" DEPENDS "${definition}"
                   COMMAND "${KORA_DLLTOOL}" -m i386:x86-64 -d "${definition}" -l "${KORA_IMPORT_LIBRARY}"
                   COMMENT "Making Kora.lib" VERBATIM)
add_custom_target(kora_import_library ALL DEPENDS "${KORA_IMPORT_LIBRARY}")
if(KORA_INSTALL)
  install(FILES "${KORA_IMPORT_LIBRARY}" DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
endif()
