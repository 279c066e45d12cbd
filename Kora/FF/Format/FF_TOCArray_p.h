// FF_TOCArray: a vector of plain values that grows where it stands.
//
// Small arrays grow by realloc, large ones by blocks that move pages in place of bytes: a table
// that is filled key by key touches no page more than once, where a vector copies all of them again
// and again into fresh ones.
// Functions in lower case behave as those of std::vector. Ownership: its own memory. Threads: none inside.
#pragma once

#include "Bastel/Sys/Sys_LargeBlock_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

template <class T>
class FF_TOCArray
{
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    static_assert(alignof(T) <= alignof(std::max_align_t));

public:
    FF_TOCArray() = default;
    ~FF_TOCArray()
    {
        if (mLargeBytes != 0)
            Sys_LargeBlock::Free(mData, mLargeBytes);
        else
            std::free(mData);
    }
    FF_TOCArray(const FF_TOCArray&) = delete;
    FF_TOCArray& operator=(const FF_TOCArray&) = delete;

    std::size_t size() const { return mSize; }
    std::size_t capacity() const { return mCapacity; }
    bool empty() const { return mSize == 0; }
    T* data() { return mData; }
    const T* data() const { return mData; }
    T* begin() { return mData; }
    const T* begin() const { return mData; }
    T* end() { return mData + mSize; }
    const T* end() const { return mData + mSize; }
    T& operator[](std::size_t iAt) { return mData[iAt]; }
    const T& operator[](std::size_t iAt) const { return mData[iAt]; }
    T& back() { return mData[mSize - 1]; }
    const T& back() const { return mData[mSize - 1]; }

    void reserve(std::size_t iCount)
    {
        if (iCount <= mCapacity) return;
        if (iCount > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T)) throw std::bad_alloc();
        if (iCount * sizeof(T) >= cLarge) return ReserveLarge(iCount * sizeof(T));
        void* const larger = std::realloc(static_cast<void*>(mData), iCount * sizeof(T));
        if (larger == nullptr) throw std::bad_alloc();
        mData = static_cast<T*>(larger);
        mCapacity = iCount;
    }
    // Room for iMore elements, with geometric growth.
    void ReserveMore(std::size_t iMore)
    {
        if (iMore > mCapacity - mSize) reserve(std::max(mSize + iMore, 2 * mCapacity));
    }
    // New elements are T().
    void resize(std::size_t iCount)
    {
        if (iCount > mSize) {
            ReserveMore(iCount - mSize);
            std::fill(end(), mData + iCount, T());
        }
        mSize = iCount;
    }
    // So many elements more; the first of them. Their values are the caller's to set.
    T* Extend(std::size_t iMore)
    {
        ReserveMore(iMore);
        mSize += iMore;
        return end() - iMore;
    }
    // Drops what stands at iCount and behind.
    void Truncate(std::size_t iCount) { mSize = iCount; }
    template <class... Args>
    void emplace_back(Args&&... iArgs)
    {
        const T value(std::forward<Args>(iArgs)...); // which may be one of these
        ReserveMore(1);
        mData[mSize++] = value;
    }
    void push_back(T iValue) { emplace_back(iValue); }
    // The bytes of [iFrom, iTo), which must not be its own.
    void Append(const T* iFrom, const T* iTo)
    {
        ReserveMore(static_cast<std::size_t>(iTo - iFrom));
        mSize = static_cast<std::size_t>(std::copy(iFrom, iTo, end()) - mData);
    }

private:
    // A large page is cheaper than sixty-four small ones, each of which costs a fault of its own.
    static constexpr std::size_t cLarge = Sys_LargeBlock::cUnit / 8;

    void ReserveLarge(std::size_t iBytes)
    {
        constexpr std::size_t cUnit = Sys_LargeBlock::cUnit;
        const std::size_t bytes = (iBytes + cUnit - 1) / cUnit * cUnit;
        const bool wasLarge = mLargeBytes != 0;
        void* const larger = Sys_LargeBlock::Grow(wasLarge ? mData : nullptr, mLargeBytes, bytes);
        if (larger == nullptr) throw std::bad_alloc();
        if (!wasLarge && mSize != 0) std::memcpy(larger, mData, mSize * sizeof(T));
        if (!wasLarge) std::free(mData);
        mData = static_cast<T*>(larger);
        mLargeBytes = bytes;
        mCapacity = bytes / sizeof(T);
    }

    T* mData = nullptr;
    std::size_t mSize = 0;
    std::size_t mCapacity = 0;
    std::size_t mLargeBytes = 0; // of the block, once it is a large one
};
