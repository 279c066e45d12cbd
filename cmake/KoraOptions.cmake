# kora_options: what every target of this project is compiled with. Linked privately, never exported.
find_package(Threads REQUIRED)

add_library(kora_options INTERFACE)
target_compile_features(kora_options INTERFACE cxx_std_20)
target_link_libraries(kora_options INTERFACE Threads::Threads)

# Options are for C++ only: the resource compiler of the Windows build takes none of them. Both platforms must agree bit
# for bit: no multiply-add is formed behind our back.
if(MSVC)
  # Microsoft's compiler and clang-cl: nobody has built Kora with them yet (docs/building.md).
  target_compile_options(kora_options INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:/W4 /utf-8 /permissive- /Zc:__cplusplus /fp:precise>
    # Exported classes hold types of the standard library: a DLL and its host are built with one compiler.
    $<$<COMPILE_LANGUAGE:CXX>:/wd4251 /wd4275>
    # To clang-cl, precise includes multiply-adds.
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:Clang>>:/clang:-ffp-contract=off>)
  target_compile_definitions(kora_options INTERFACE NOMINMAX _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(kora_options INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic>
    # GCC 12 sees overlapping copies in `"text" + std::string` when it optimises; there are none.
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:-Wno-restrict>
    $<$<COMPILE_LANGUAGE:CXX>:-ffp-contract=off>)
endif()
if(KORA_WERROR)
  target_compile_options(kora_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:$<IF:$<BOOL:${MSVC}>,/WX,-Werror>>)
endif()
# Debug and sanitizer builds let tests change threads between the steps of the lock-free protocols.
if(KORA_BUILD_TESTS AND KORA_SANITIZE)
  target_compile_definitions(kora_options INTERFACE KORA_INTERLEAVING_POINTS)
elseif(KORA_BUILD_TESTS)
  target_compile_definitions(kora_options INTERFACE $<$<CONFIG:Debug>:KORA_INTERLEAVING_POINTS>)
endif()
if(KORA_SANITIZE)
  target_compile_options(kora_options INTERFACE -fsanitize=${KORA_SANITIZE} -fno-omit-frame-pointer
                                                -fno-sanitize-recover=all)
  target_link_options(kora_options INTERFACE -fsanitize=${KORA_SANITIZE})
  # Full optimisation of checked code takes GCC four times as long and hides faults; reports need lines, no variables.
  # The library is what runs long; the fuzzer (clang) lives on speed. Under the thread sanitizer it has its types too,
  # which scripts/abi reads; they cost a twentieth of the compiler's time.
  set(is_library $<STREQUAL:$<TARGET_PROPERTY:NAME>,Kora>)
  set(with_types 0)
  if(KORA_SANITIZE STREQUAL "thread")
    set(with_types $<AND:${is_library},$<CXX_COMPILER_ID:GNU>>)
  endif()
  target_compile_options(kora_options INTERFACE
    "$<IF:${with_types},-g;-fno-var-tracking,-g1>" $<$<CXX_COMPILER_ID:GNU>:$<IF:${is_library},-O1,-Og>>)
endif()
set(CMAKE_CXX_EXTENSIONS OFF)

# GCC 12 takes what comes out of a precompiled header for our own code, and warns of the standard library's strings. The
# address sanitizer sees what there is to see.
set(KORA_PRECOMPILED_OPTIONS
  $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:-Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread>)

# kora_version_info(TARGET FILE TYPE DESCRIPTION): the version that Windows shows of a program or a library. Each has an
# object of its own of the one resource file.
function(kora_version_info target file type description)
  set(resource "${CMAKE_CURRENT_BINARY_DIR}/${target}-version.rc")
  file(CONFIGURE OUTPUT "${resource}" CONTENT
    "#define FILE_NAME \"${file}\"\n#define FILE_TYPE ${type}\n#define FILE_DESCRIPTION \"${description}\"\n#include \"Kora/Win32/Kora_VersionInfo.rc\"\n")
  target_sources(${target} PRIVATE "${resource}")
  set_source_files_properties("${resource}" TARGET_DIRECTORY ${target} PROPERTIES
    INCLUDE_DIRECTORIES "${PROJECT_SOURCE_DIR}"
    OBJECT_DEPENDS "${PROJECT_SOURCE_DIR}/Kora/Kora_Version.h;${PROJECT_SOURCE_DIR}/Kora/Win32/Kora_VersionInfo.rc")
endfunction()

# For the files that are compiled for processors with AVX2, for those with SSE4.2 and PCLMULQDQ, and for the one that
# asks which registers the system saves.
set(KORA_AVX2_OPTIONS -mavx2)
set(KORA_SSE42_OPTIONS -msse4.2 -mpclmul)
set(KORA_XSAVE_OPTIONS -mxsave)
if(MINGW)
  # Windows aligns the stack to 16 bytes and GCC does not align it further there, so that registers of 32 bytes are saved
  # with moves that need no alignment.
  list(APPEND KORA_AVX2_OPTIONS -Wa,-muse-unaligned-vector-move)
elseif(MSVC AND CMAKE_CXX_COMPILER_ID STREQUAL "MSVC")
  # Instructions beyond the common ones need no option here but for the code that the compiler forms by itself.
  set(KORA_AVX2_OPTIONS /arch:AVX2)
  set(KORA_SSE42_OPTIONS "")
  set(KORA_XSAVE_OPTIONS "")
endif()
