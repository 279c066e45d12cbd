// Kora_InitScope: the library is started while this object lives.
//
//     int main()
//     {
//         const Kora_InitScope kora;    // Kora_Init::Init; Kora_Init::Free at the end of main
//         …
//     }
//
// Scopes nest, with one another and with plain pairs of Init and Free, since Init counts. A scope calls Free in
// every way out of its block, an exception included.
//
// Threads:   as Init and Free: made before other threads use the library, destroyed after they end. The two ends may
//            be on two threads, so that a scope may be a member of the host's application object.
// Ownership: stands for one Init and is neither copied nor moved.
#pragma once

#include "Kora/Kora_Init.h"

class [[nodiscard]] Kora_InitScope
{
public:
    Kora_InitScope() { Kora_Init::Init(); }
    ~Kora_InitScope() { Kora_Init::Free(); }

    Kora_InitScope(const Kora_InitScope&) = delete;
    Kora_InitScope& operator=(const Kora_InitScope&) = delete;
};
