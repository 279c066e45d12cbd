#include "OstrelPlatformSupport/PSThreadSlot_p.h"

#include <atomic>
#include <pthread.h>

namespace {

// The system keeps the values of its first keys in the thread itself, and allocates for the others.
constexpr pthread_key_t cKeysInTheThread = 32;

void (*sAtEnd)(void*) = nullptr;

// The key's destructor runs where the thread ends, and must not be called any more once this library is unloaded.
struct Key
{
    std::atomic<bool> mIsOpen{false};
    pthread_key_t mKey = 0;

    ~Key()
    {
        if (mIsOpen.exchange(false)) pthread_key_delete(mKey);
    }
};
Key sKey;

void EndThread(void* iPointer)
{
    PSThreadSlot::sPointer = nullptr;
    sAtEnd(iPointer);
}

} // namespace

constinit thread_local void* PSThreadSlot::sPointer = nullptr;

bool PSThreadSlot::Open(void (*iAtEnd)(void*))
{
    sAtEnd = iAtEnd;
    if (pthread_key_create(&sKey.mKey, EndThread) != 0) return false;
    if (sKey.mKey >= cKeysInTheThread) {
        pthread_key_delete(sKey.mKey);
        return false;
    }
    sKey.mIsOpen = true;
    return true;
}

bool PSThreadSlot::Set(void* iPointer)
{
    if (!sKey.mIsOpen.load(std::memory_order_acquire) || pthread_setspecific(sKey.mKey, iPointer) != 0)
        return false;
    sPointer = iPointer;
    return true;
}
