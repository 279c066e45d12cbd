// Time_MeterChange: one time signature of a meter map, with the tick and the bar where it starts.
//
// Units:      internal ticks; bars count as the map counts them.
// Invariants: kept by the map: the bar number follows from the change before, the BBT's bar equals it.
#pragma once

#include "Kora/Time/Meter/Time_Meter.h"
#include "Kora/Time/Values/Time_Tick.h"

class KORA_API_NODISCARD Time_MeterChange
{
public:
    // 4/4 at tick 0, bar 1.
    Time_MeterChange() = default;
    // Its BBT is iBarNumber|1|0.
    Time_MeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBarNumber);
    Time_MeterChange(const Time_MeterChange&) = default;
    Time_MeterChange& operator=(const Time_MeterChange&) = default;
    virtual ~Time_MeterChange();

    Time_Tick GetTick() const { return mTick; }
    const Time_Meter& GetMeter() const { return mMeter; }
    // The number of the bar that starts here.
    Cmn_Int32 GetBarNumber() const { return mBarNumber; }
    // Whether the change falls inside a bar of the meter before, which it cuts short.
    bool IsOffBarline() const { return mIsOffBarline; }
    // Whether Time_MeterMap::Copy put the change first to carry in the meter in force; never saved.
    bool IsCarriedIn() const { return mIsCarriedIn; }
    const Time_BarBeatTick& GetBBT() const { return mBBT; }

    friend bool operator==(const Time_MeterChange& iA, const Time_MeterChange& iB)
    {
        return iA.mTick == iB.mTick && iA.mMeter == iB.mMeter && iA.mBarNumber == iB.mBarNumber &&
               iA.mIsOffBarline == iB.mIsOffBarline && iA.mIsCarriedIn == iB.mIsCarriedIn &&
               iA.mBBT == iB.mBBT;
    }

    // Stream form, first block: tick (64 bits), bar number (32), the meter's stream
    // form. Reading sets the BBT to
    // bar|1|0 and throws what the meter's reading throws.
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Reads the first block.
    void StreamIn(Sys_TypedInStream& ioStream);
    // Stream form, second block: bar (32 bits), beat (32), tick part (64).
    void StreamOutBBT(Sys_TypedOutStream& ioStream) const;
    // Reads the second block.
    void StreamInBBT(Sys_TypedInStream& ioStream);
    // What the two blocks take in a stream, in bytes.
    static constexpr Cmn_Int64 cStreamSize = 36;
    static constexpr Cmn_Int64 cStreamSizeBBT = 16; // of the second

    // A node "MeterChange" with "nSessionTick", "mBarNumber", "nBar", "nBeat", "nTick" and the meter's node.
    virtual Cmn_XMLNode GetAsXML() const;
    // "5| 6/8 at tick 1000015360000, off the barline"
    [[nodiscard]] std::string Dump() const;
    // What Dump gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_MeterChange& iChange);

private:
    friend class Time_MeterMap; // which numbers, moves and marks its changes

    Time_Tick mTick;
    Time_Meter mMeter;
    Cmn_Int32 mBarNumber = 1;
    bool mIsOffBarline = false;
    bool mIsCarriedIn = false;
    Time_BarBeatTick mBBT;
};

template <>
struct std::hash<Time_MeterChange>
{
    std::size_t operator()(const Time_MeterChange& iChange) const noexcept
    {
        return (std::hash<Time_Tick>()(iChange.GetTick()) * 31 +
                std::hash<Time_Meter>()(iChange.GetMeter())) *
                   31 +
               std::hash<Time_BarBeatTick>()(iChange.GetBBT());
    }
};
