// Sys_ASSERT_INITIALIZED: reports a host that uses the library without Kora_Init::Init.
//
// It stands where something that Init makes is found missing, in the branch that only a missing one takes, so
// that it costs nothing where all is well. True when the condition, "it is there", holds; otherwise asserts
// "Kora_Init::sInitializedCount > 0" under the caller's source, and is false.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"

// Whether it is there; reports the missing Init otherwise.
#define Sys_ASSERT_INITIALIZED(iIsThere) Cmn_ASSERT_TEXT(iIsThere, "Kora_Init::sInitializedCount > 0")
