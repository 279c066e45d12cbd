// Sys_AtomicInt32: a signed number of 32 bits that any thread changes, such as a counter of events.
//
// Units:     any; sums wrap.
// Threads:   any. Every operation is sequentially consistent.
// Real time: one instruction each.
#pragma once

#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <atomic>

class Sys_AtomicInt32
{
public:
    // iValue is what it has before the first change.
    explicit Sys_AtomicInt32(Cmn_Int32 iValue = 0)
        : mValue(iValue)
    {
    }
    Sys_AtomicInt32(const Sys_AtomicInt32&) = delete;
    Sys_AtomicInt32& operator=(const Sys_AtomicInt32&) = delete;

    // What it was at one moment.
    Cmn_Int32 Get() const KORA_NONBLOCKING { return mValue.load(); }
    // Whatever others add meanwhile is lost or added to it.
    void Set(Cmn_Int32 iValue) KORA_NONBLOCKING { mValue.store(iValue); }

    // The value that this call made.
    Cmn_Int32 Add(Cmn_Int32 iDelta = 1) KORA_NONBLOCKING
    {
        return Cmn_WrapAdd(mValue.fetch_add(iDelta), iDelta);
    }
    // The value that was there before.
    Cmn_Int32 Exchange(Cmn_Int32 iValue) KORA_NONBLOCKING { return mValue.exchange(iValue); }

private:
    std::atomic<Cmn_Int32> mValue;
};
