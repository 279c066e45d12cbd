// Time_SharedStretch: some values in a row that never change, held by all who need them and freed by the
// last.
//
// A handle takes the place of one pointer, since a snapshot of many values has many of them.
//
// Threads:   handles of one stretch may be copied and let go on any threads; one handle belongs to one
//            thread.
// Ownership: shared.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

template <class Value>
class Time_SharedStretch
{
    static_assert(std::is_trivially_copyable_v<Value> && std::is_trivially_destructible_v<Value>);

public:
    Time_SharedStretch() = default;
    // The values iValueAt(iFirst) and so on, at least one.
    template <class ValueAt>
    Time_SharedStretch(std::size_t iFirst, std::size_t iCount, ValueAt iValueAt)
        : mBlockP(new (::operator new(BytesFor(iCount))) Block{1, static_cast<Cmn_UInt32>(iCount)})
    {
        Time_SharedStretch owner(mBlockP); // should a value throw
        Value* const values = Values(mBlockP);
        for (std::size_t i = 0; i < iCount; ++i)
            std::construct_at(values + i, iValueAt(iFirst + i));
        owner.mBlockP = nullptr;
    }
    Time_SharedStretch(const Time_SharedStretch& iOther) noexcept
        : mBlockP(iOther.mBlockP)
    {
        if (mBlockP != nullptr) mBlockP->mHolders.fetch_add(1, std::memory_order_relaxed);
    }
    Time_SharedStretch(Time_SharedStretch&& ioOther) noexcept
        : mBlockP(std::exchange(ioOther.mBlockP, nullptr))
    {
    }
    Time_SharedStretch& operator=(Time_SharedStretch iOther) noexcept
    {
        std::swap(mBlockP, iOther.mBlockP);
        return *this;
    }
    ~Time_SharedStretch()
    {
        // Acquire and release: what others did with the values comes before the memory goes.
        if (mBlockP != nullptr && mBlockP->mHolders.fetch_sub(1, std::memory_order_acq_rel) == 1)
            ::operator delete(mBlockP);
    }

    explicit operator bool() const { return mBlockP != nullptr; }
    // Whether they are one and the same.
    bool operator==(const Time_SharedStretch&) const = default;

    std::size_t size() const { return mBlockP->mCount; }
    const Value& operator[](std::size_t iIndex) const { return Values(mBlockP)[iIndex]; }
    // What a stretch of so many values takes.
    static std::size_t BytesFor(std::size_t iCount) { return sizeof(Block) + iCount * sizeof(Value); }

private:
    // The values follow.
    struct alignas(alignof(Value) > alignof(Cmn_Int64) ? alignof(Value) : alignof(Cmn_Int64)) Block
    {
        std::atomic<Cmn_UInt32> mHolders;
        Cmn_UInt32 mCount;
    };
    explicit Time_SharedStretch(Block* iBlockP)
        : mBlockP(iBlockP)
    {
    }
    static Value* Values(Block* iBlockP) { return reinterpret_cast<Value*>(iBlockP + 1); }

    Block* mBlockP = nullptr;
};
