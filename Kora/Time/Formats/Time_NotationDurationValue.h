// Time_NotationDurationValue: a note value, whole note to 1/64, dotted or of a tuplet,
// such as a metronome click.
//
// Units: internal ticks, a whole note 3840000.
#pragma once

#include "Kora/Time/Values/Time_TickLength.h"

#include <string>
#include <string_view>

class Sys_TypedInStream;
class Sys_TypedOutStream;

// Saved in documents.
enum Time_ENoteDuration : Cmn_Int32 {
    Time_eNoteDuration_Whole = 1,
    Time_eNoteDuration_Half = 2,
    Time_eNoteDuration_Quarter = 3,
    Time_eNoteDuration_Eighth = 4,
    Time_eNoteDuration_Sixteenth = 5,
    Time_eNoteDuration_ThirtySecond = 6,
    Time_eNoteDuration_SixtyFourth = 7,
};

class [[nodiscard]] Time_NotationDurationValue
{
public:
    // A quarter note.
    constexpr Time_NotationDurationValue() = default;
    constexpr Time_NotationDurationValue(Time_ENoteDuration iDuration, bool iDotted)
        : mDuration(iDuration)
        , mDotted(iDotted)
    {
    }
    // iTupletCount notes in the time of iTupletTime: a triplet eighth is (Eighth, false,
    // true, 2, 3), 320000 ticks.
    constexpr Time_NotationDurationValue(Time_ENoteDuration iDuration, bool iDotted, bool iTuplet,
                                         Cmn_Int32 iTupletCount, Cmn_Int32 iTupletTime)
        : mDuration(iDuration)
        , mDotted(iDotted)
        , mTuplet(iTuplet)
        , mTupletCount(iTupletCount)
        , mTupletTime(iTupletTime)
    {
    }

    constexpr Time_ENoteDuration GetDuration() const { return mDuration; }
    constexpr bool IsDotted() const { return mDotted; }
    constexpr bool IsTuplet() const { return mTuplet; }
    constexpr Cmn_Int32 GetTupletCount() const { return mTupletCount; }
    constexpr Cmn_Int32 GetTupletTime() const { return mTupletTime; }

    // Dotted adds half, a tuplet multiplies by count / time (a time of 0 does not). A code outside 1 to 7
    // asserts and counts as a quarter.
    KORA_API Time_TickLength GetTicks() const;
    // The longest plain note value not above a length in internal ticks (a 1/64 for anything shorter), dotted
    // where that fits too: 959999 is a dotted eighth.
    KORA_API static void MakeDurationValue(const Time_TickLength& iLength,
                                           Time_NotationDurationValue& oValue);

    // All five fields.
    friend constexpr bool operator==(const Time_NotationDurationValue&,
                                     const Time_NotationDurationValue&) = default;
    // By ticks, ties by the fields in their order.
    KORA_API friend std::strong_ordering operator<=>(const Time_NotationDurationValue& iA,
                                                     const Time_NotationDurationValue& iB);

    // Stream form, version 1: version (16 bits), code (32), dotted, tuplet (bool), tuplet
    // count, tuplet time (32).
    KORA_API void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Throws Sys_StreamReadException for a code outside 1 to 7, Cmn_DocumentTooOldException and
    // Cmn_DocumentTooNewException for other versions; the value then stays.
    KORA_API void StreamIn(Sys_TypedInStream& ioStream);
    // A node "NotationDuration" with the five fields; the duration stands as its name.
    KORA_API Cmn_XMLNode GetAsXML() const;

    // "QuarterNoteDur"; empty for a code outside 1 to 7.
    [[nodiscard]] KORA_API static const char* GetDurationName(Time_ENoteDuration iDuration);
    // As musicians write it: "1/4", dotted "1/4.", a triplet "1/8t", another tuplet "1/16(4:5)" or
    // "1/8.(4:5)". The counts of what is no tuplet are not written.
    [[nodiscard]] KORA_API std::string ToString() const;
    static constexpr std::size_t cTextBytes = 40; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the characters
    // before the zero. A code outside 1 to 7 asserts and is written as a quarter.
    KORA_API std::size_t ToText(char* oText) const;
    // Reads what ToString writes, with tuplet counts from 1 on. Anything else is false and changes nothing;
    // oWhyNot is then a text for users, such as "a note value is 1/1, 1/2, 1/4 ... 1/64". Allocates nothing.
    [[nodiscard]] KORA_API bool FromText(std::string_view iText, const char** oWhyNot = nullptr);
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream,
                                             const Time_NotationDurationValue& iValue);
    // "QuarterNoteDur dotted 2:3"
    [[nodiscard]] KORA_API std::string Dump() const;

private:
    Time_ENoteDuration mDuration = Time_eNoteDuration_Quarter;
    bool mDotted = false;
    bool mTuplet = false;
    Cmn_Int32 mTupletCount = 2;
    Cmn_Int32 mTupletTime = 3;
};

template <>
struct std::hash<Time_NotationDurationValue>
{
    std::size_t operator()(const Time_NotationDurationValue& iValue) const noexcept
    {
        std::size_t sum = static_cast<std::size_t>(iValue.GetDuration());
        for (const Cmn_Int32 field : {Cmn_Int32{iValue.IsDotted()}, Cmn_Int32{iValue.IsTuplet()},
                                      iValue.GetTupletCount(), iValue.GetTupletTime()})
            sum = sum * 31 + static_cast<std::size_t>(field);
        return sum;
    }
};
