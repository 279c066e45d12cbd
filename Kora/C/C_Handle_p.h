// C_Handle: what all handles of the C interface begin with: the mark of their kind, and their count of references.
//
// Every kind derives from it alone, and it has no virtual functions, so that the pointer that C holds is the pointer to
// this part too, and a mark may be read at whatever a caller takes for a handle.
// Threads: the count is atomic; whoever takes it to 0 destroys the object, but songs and histories, which end on the
//          model (C_StModel).
#pragma once

#include "Kora/C/C_Guard_p.h"

#include <atomic>
#include <cstdint>

class C_Handle
{
public:
    // No small number, so that other memory is hardly taken for a handle.
    enum EKind : std::uint32_t {
        eKind_Song = 0x4B6F7201,
        eKind_TempoMap,
        eKind_MeterMap,
        eKind_KeyMap,
        eKind_History,
        eKind_Format,
        eKind_Grid,
        eKind_Ruler,
        eKind_Name,
        eKind_Receiver,
        eKind_Listener,
        eKind_Document,
        eKind_End
    };

    C_Handle(const C_Handle&) = delete;
    C_Handle& operator=(const C_Handle&) = delete;

    EKind GetKind() const { return mKind; }
    void Retain() { mCount.fetch_add(1, std::memory_order_relaxed); }
    void Release();
    // On the model: ends the songs and the histories whose last reference is gone.
    static void EndReleased();

protected:
    // iDelete: of the kind.
    C_Handle(EKind iKind, void (*iDelete)(C_Handle*))
        : mKind(iKind)
        , mDelete(iDelete)
    {
    }
    ~C_Handle() = default;

private:
    const EKind mKind;
    std::atomic<std::int32_t> mCount{1};
    void (*const mDelete)(C_Handle*);
    C_Handle* mNextToEnd = nullptr; // of those that were released
};

template <class T>
void C_Delete(C_Handle* iHandle)
{
    delete static_cast<T*>(iHandle);
}

// The handle, if it is one of its kind.
template <class T>
T& C_Get(T* iHandle, const char* iName)
{
    C_Out(iHandle, iName);
    if (static_cast<const C_Handle*>(iHandle)->GetKind() != T::cKind) [[unlikely]]
        C_ThrowFor(KORA_WRONG_HANDLE, iName, " is a handle of another kind");
    return *iHandle;
}

// A reference that a handle holds on another.
template <class T>
class C_Ref
{
public:
    explicit C_Ref(T& ioHandle)
        : mHandle(ioHandle)
    {
        mHandle.Retain();
    }
    ~C_Ref() { mHandle.Release(); }
    C_Ref(const C_Ref&) = delete;
    C_Ref& operator=(const C_Ref&) = delete;

    T& operator*() const { return mHandle; }
    T* operator->() const { return &mHandle; }

private:
    T& mHandle;
};
