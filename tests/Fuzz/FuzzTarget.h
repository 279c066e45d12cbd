// FuzzTarget: what every fuzzing program begins with. A report of the library's assertions is a failure: no
// bytes may break a precondition.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Kora_Init.h"

#include <cstdio>
#include <cstdlib>
#include <string>

inline void Require(bool iHolds, const std::string& iText)
{
    if (iHolds) return;
    std::fprintf(stderr, "%s\n", iText.c_str());
    std::abort();
}

// A third of the time goes into these otherwise. For the whole story of a finding, run it again with
// ASAN_OPTIONS=malloc_context_size=30.
extern "C" const char* __asan_default_options()
{
    return "quarantine_size_mb=8:malloc_context_size=1:max_malloc_fill_size=0";
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Cmn_Assert::SetHandler([](const char* iText, int) { Require(false, iText); });
    Kora_Init::Init();
    return 0;
}
