# kora_add_test(NAME sources...): one GoogleTest program, one ctest entry a test, run under Wine when crossing.
function(kora_add_test name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE Kora::Kora kora_options kora_test_support)
  target_precompile_headers(${name} REUSE_FROM kora_test_pch)
  target_compile_options(${name} PRIVATE ${KORA_PRECOMPILED_OPTIONS})
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       PROPERTIES TIMEOUT 300)
endfunction()
