# What scripts/package makes of an installation: a Debian package for each component and a Windows archive of all.
# No licence has been granted yet, so the packages carry none: their file "copyright" says that.
set(CPACK_PACKAGE_NAME kora)
set(CPACK_PACKAGE_VENDOR "Kora")
set(CPACK_PACKAGE_CONTACT "The engineers of Kora <kora@kora.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "core foundation library of a digital audio workstation")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL runtime development tool documentation)
if(NOT WIN32)
  list(APPEND CPACK_COMPONENTS_ALL python) # on Windows it is a wheel with the library inside
endif()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "kora-${PROJECT_VERSION}-windows-x64")
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON) # and all of them into one archive:
  set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
  install(FILES "${PROJECT_SOURCE_DIR}/cmake/windows-readme.txt" DESTINATION . RENAME README.txt COMPONENT runtime)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_STRIP_FILES OFF) # the debug package does
  set(library "libkora${compatible}")

  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  file(WRITE "${PROJECT_BINARY_DIR}/package-notes/triggers" "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/package-notes/triggers")
  set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "shared library
One model of musical and audio time, undo, documents, messages, tokens between
threads, commands, keys and menus: what editors, rulers and files of a digital
audio workstation stand on. This is the library that programs run with.")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkora-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libkora-doc, cmake, pkgconf")
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "headers, CMake package and pkg-config file
What programs that use Kora are built with, and printers for gdb.")

  set(CPACK_DEBIAN_TOOL_PACKAGE_NAME kora)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION sound)
  set(CPACK_DEBIAN_TOOL_DEBUGINFO_PACKAGE ON)
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS "librsvg2-bin")
  set(CPACK_COMPONENT_TOOL_DESCRIPTION "songs and their time from the command line
Shows, converts, draws and edits the tempi, meters and keys of MIDI files
and documents, renders clicks, and checks and repairs documents.")

  set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libkora-doc)
  set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
  set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION "guides and reference
Guides by task, the time model, the file format, threads, and a page for each
class, to be read in a browser.")

  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-kora)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3:any (>= 3.9), ${library} (>= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-numpy, libkora-doc")
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "songs and their time from Python
Tempi, meters and keys as sequences, conversions of numbers and of arrays,
edits with undo, and pictures, over the shared library.")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/python/kora" DESTINATION lib/python3/dist-packages COMPONENT python
          FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
  # Compiled where it is installed, and what was compiled goes with it.
  file(WRITE "${PROJECT_BINARY_DIR}/package-notes/postinst" "#!/bin/sh
set -e
if [ \"$1\" = configure ] && command -v py3compile >/dev/null; then
    py3compile -p python3-kora
fi
")
  file(WRITE "${PROJECT_BINARY_DIR}/package-notes/prerm" "#!/bin/sh
set -e
if command -v py3clean >/dev/null; then
    py3clean -p python3-kora
fi
")
  file(CHMOD "${PROJECT_BINARY_DIR}/package-notes/postinst" "${PROJECT_BINARY_DIR}/package-notes/prerm"
       PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/package-notes/postinst"
                                                "${PROJECT_BINARY_DIR}/package-notes/prerm")

  # What each of them has under /usr/share/doc. A date of its own would make each build another.
  set(notes "${PROJECT_BINARY_DIR}/package-notes")
  file(CONFIGURE OUTPUT "${notes}/changelog" CONTENT
"kora (@PROJECT_VERSION@) unstable; urgency=medium

  * What changed is told in CHANGELOG.md of the sources.

 -- The engineers of Kora <kora@kora.invalid>  Thu, 26 Nov 2026 12:00:00 +0000
" @ONLY)
  execute_process(COMMAND gzip -9nf changelog WORKING_DIRECTORY "${notes}")
  file(WRITE "${notes}/copyright" "Kora\n\nNo licence has been granted yet: all rights are with its authors.\nCopyright 2026 the engineers of Kora\n")
  foreach(pair "runtime ${library}" "development libkora-dev" "tool kora" "documentation libkora-doc" "python python3-kora")
    separate_arguments(pair)
    list(GET pair 0 component)
    list(GET pair 1 name)
    install(FILES "${notes}/changelog.gz" "${notes}/copyright" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}"
            COMPONENT ${component})
  endforeach()
endif()
include(CPack)
