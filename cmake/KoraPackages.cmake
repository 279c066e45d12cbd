# kora_header_package(TARGET FOLDER HEADER): a header-only package of the tool or of an example, as an interface target.
#
# They live in the host's /usr/include, which a cross compiler must never search: it would find the wrong system
# headers there. A folder in the build tree holds links to just these packages.
function(kora_header_package target folder header)
  if(TARGET ${target}) # the tool and an example share one
    return()
  endif()
  find_path(${target}_root "${folder}/${header}" NO_CMAKE_FIND_ROOT_PATH REQUIRED
            DOC "Where ${folder}/${header} is found")
  set(include "${CMAKE_BINARY_DIR}/packages/${target}")
  file(MAKE_DIRECTORY "${include}")
  if(NOT EXISTS "${include}/${folder}")
    file(CREATE_LINK "${${target}_root}/${folder}" "${include}/${folder}" RESULT result SYMBOLIC)
    if(NOT result EQUAL 0) # a file system without links
      file(COPY "${${target}_root}/${folder}" DESTINATION "${include}")
    endif()
  endif()
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE "${include}")
endfunction()
