// Interleaving: runs two or three threads in every order that their atomic operations can have.
//
//     Scene scene;
//     const long schedules = Interleaving::ExploreAll(2, [&] { scene = Scene(); },            // before each
//                                                     [&](int i) { scene.Run(i); },           // on thread i
//                                                     [&] { EXPECT_TRUE(scene.IsWhole()); }); // after it
//
// The code under test is instantiated with ModelAtomic. Each operation of one stops before it is made, and
// whoever goes next is chosen depth first, from one schedule to the next, until none is left. Of schedules
// that differ only in the order of neighbouring operations on different atomics, or of two loads, one is run
// (sleep sets): what is checked afterwards must not depend on such an order. Operations take effect at once
// and in order: what a weaker memory order permits is not explored, the thread sanitizer looks for that.
//
// The search ends with the first schedule that fails, and prints it: the digits are the
// threads, an operation each.
#pragma once

#include <atomic>
#include <cstdlib>
#include <functional>
#include <utility>

class Interleaving
{
public:
    // Returns how many schedules there were.
    static long ExploreAll(int iThreads, const std::function<void()>& iBefore,
                           const std::function<void(int)>& iThread, const std::function<void()>& iAfter);
    // Gives the turn away, on a thread of a schedule; does nothing elsewhere.
    static void BeforeOperation(const void* iAtomic, bool iIsLoad);
};

template <class T>
class ModelAtomic
{
public:
    using Order = std::memory_order;
    ModelAtomic(T iValue = {})
        : mValue(iValue)
    {
    }
    T load(Order = {}) const { return Now(true), mValue; }
    void store(T iValue, Order = {}) { Now(), mValue = iValue; }
    T exchange(T iValue, Order = {}) { return Now(), std::exchange(mValue, iValue); }
    T fetch_add(T iDelta, Order = {})
    {
        return Now(), std::exchange(mValue, static_cast<T>(mValue + iDelta));
    }
    T fetch_sub(T iDelta, Order = {})
    {
        return Now(), std::exchange(mValue, static_cast<T>(mValue - iDelta));
    }
    bool compare_exchange_strong(T& ioExpected, T iValue, Order = {}, Order = {})
    {
        Now();
        const bool isAsExpected = mValue == ioExpected;
        (isAsExpected ? mValue : ioExpected) = isAsExpected ? iValue : mValue;
        return isAsExpected;
    }
    bool compare_exchange_weak(T& ioExpected, T iValue, Order = {}, Order = {})
    {
        return compare_exchange_strong(ioExpected, iValue);
    }

private:
    void Now(bool iIsLoad = false) const
    {
        Interleaving::BeforeOperation(this, iIsLoad);
        if (mMark != cMark) std::abort();
    }

    // What is no atomic, or is one no more, does not look like this.
    static constexpr unsigned cMark = 0xA70317C5;
    unsigned mMark = cMark;
    T mValue; // plain: one thread runs at a time
};
