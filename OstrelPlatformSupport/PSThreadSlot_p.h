// PSThreadSlot: one pointer for each thread, which costs a load, and a call when a thread that has one ends.
//
// It holds what a thread keeps for itself between calls of a real-time path, where the language's own thread-local
// objects do not serve: the first use of one that has a destructor allocates, and the cross-built Windows library finds
// them through a locked table.
//
// Threads:   Open by one, before the others come; the rest by any, each for itself.
// Real time: Get and Set neither allocate nor call the system.
#pragma once

namespace PSThreadSlot {

// iAtEnd is called with the pointer of each thread that ends with one other than null. False where the end of a thread
// goes unnoticed, as in a Windows program that the library is linked into; nothing is to be set then.
bool Open(void (*iAtEnd)(void*));

// Null until it is set.
#ifdef __ELF__
// A plain word, at a fixed distance from the thread's own register.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local void* sPointer;
inline void* Get() { return sPointer; }
#else
void* Get();
#endif

// False once the process is about to end: nothing is set then.
bool Set(void* iPointer);

} // namespace PSThreadSlot
