# kora_options: what every target of this project is compiled with. Linked privately, never exported.
find_package(Threads REQUIRED)

add_library(kora_options INTERFACE)
target_compile_features(kora_options INTERFACE cxx_std_20)
target_link_libraries(kora_options INTERFACE Threads::Threads)
target_compile_options(kora_options INTERFACE
  # C++ only: the resource compiler of the Windows build takes none of these.
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic>
  # GCC 12 sees overlapping copies in `"text" + std::string` when it optimises; there are none.
  $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:-Wno-restrict>
  # Both platforms must agree bit for bit: no multiply-add is formed behind our back.
  $<$<COMPILE_LANGUAGE:CXX>:-ffp-contract=off>)
if(KORA_WERROR)
  target_compile_options(kora_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Werror>)
endif()
# Debug and sanitizer builds let tests change threads between the steps of the lock-free protocols.
if(KORA_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
  target_compile_definitions(kora_options INTERFACE KORA_INTERLEAVING_POINTS)
endif()
if(KORA_SANITIZE)
  target_compile_options(kora_options INTERFACE -fsanitize=${KORA_SANITIZE} -fno-omit-frame-pointer
                                                -fno-sanitize-recover=all)
  target_link_options(kora_options INTERFACE -fsanitize=${KORA_SANITIZE})
  # Full optimisation of checked code takes GCC four times as long and hides faults; reports need lines, no variables.
  # The library is what runs long; the fuzzer (clang) lives on speed.
  target_compile_options(kora_options INTERFACE
    -g1 $<$<CXX_COMPILER_ID:GNU>:$<IF:$<STREQUAL:$<TARGET_PROPERTY:NAME>,Kora>,-O1,-Og>>)
endif()
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(KORA_CCACHE ccache)
if(KORA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # It takes precompiled headers (of the tests) only when told that their defines and dates do not matter.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND};-E;env;CCACHE_SLOPPINESS=pch_defines,time_macros;${KORA_CCACHE}")
endif()

# For the files that are compiled for processors with AVX2. Windows aligns the stack to 16 bytes and GCC does not align
# it further there, so that registers of 32 bytes are saved with moves that need no alignment.
set(KORA_AVX2_OPTIONS -mavx2)
if(MINGW)
  list(APPEND KORA_AVX2_OPTIONS -Wa,-muse-unaligned-vector-move)
endif()

# For the files that are compiled for processors with SSE4.2 and PCLMULQDQ.
set(KORA_SSE42_OPTIONS -msse4.2 -mpclmul)
