#include "OstrelPlatformSupport/PSThreadSlot_p.h"

#include "Export/Kora_API.h"

#include <atomic>
#include <windows.h>

namespace {

// One of those that lie in the thread itself; for later ones the system allocates.
std::atomic<DWORD> sIndex{TLS_OUT_OF_INDEXES};

#ifndef KORA_STATIC
void (*sAtEnd)(void*) = nullptr;
#endif

} // namespace

#ifndef KORA_STATIC

// The loader's lock is held: what is called takes none.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD iReason, LPVOID iProcessEnds)
{
    if (iReason == DLL_THREAD_DETACH) {
        void* const pointer = PSThreadSlot::Get();
        if (pointer != nullptr && PSThreadSlot::Set(nullptr)) sAtEnd(pointer);
    } else if (iReason == DLL_PROCESS_DETACH && iProcessEnds == nullptr) {
        if (const DWORD index = sIndex.exchange(TLS_OUT_OF_INDEXES); index != TLS_OUT_OF_INDEXES)
            TlsFree(index);
    }
    return TRUE;
}

bool PSThreadSlot::Open(void (*iAtEnd)(void*))
{
    sAtEnd = iAtEnd;
    const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES) return false;
    if (index >= TLS_MINIMUM_AVAILABLE) {
        TlsFree(index);
        return false;
    }
    sIndex = index;
    return true;
}

#else

bool PSThreadSlot::Open(void (*)(void*)) { return false; }

#endif

// The caller's last error is none of ours, and a look that succeeds would clear it.
void* PSThreadSlot::Get()
{
    const DWORD index = sIndex.load(std::memory_order_acquire);
    if (index == TLS_OUT_OF_INDEXES) return nullptr;
    const DWORD error = GetLastError();
    void* const pointer = TlsGetValue(index);
    SetLastError(error);
    return pointer;
}

bool PSThreadSlot::Set(void* iPointer)
{
    const DWORD index = sIndex.load(std::memory_order_acquire);
    return index != TLS_OUT_OF_INDEXES && TlsSetValue(index, iPointer) != 0;
}
