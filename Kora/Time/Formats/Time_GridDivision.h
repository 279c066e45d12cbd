// Time_GridDivision: how an editor's grid divides the bars: by bars, by the meter's own beats, or by a note value,
// straight or with swing.
//
//     straight   |   .   .   .   |      1/8 in 2/4
//     swing      |     . .     . |      the same with a third of a division: a triplet feel
//
// Units:   lengths in internal ticks; swing in 960ths of a division. cTripletSwing, a third of one, puts the
//          second line of each pair where the last of three triplets is.
// Text:    "bars", "beats", or the note value's own: "1/4", "1/8t", "1/8.". Swing is no part of it.
// Threads: a plain value.
#pragma once

#include "Kora/Time/Formats/Time_NotationDurationValue.h"

class [[nodiscard]] Time_GridDivision
{
public:
    // What divides the bars.
    enum EBy { eBars, eBeats, eNoteValue };

    static constexpr Cmn_Int32 cWholeSwing = 960;               // as long as a division
    static constexpr Cmn_Int32 cTripletSwing = cWholeSwing / 3; // a triplet feel

    // The meter's beats.
    constexpr Time_GridDivision() = default;
    // A note value of less than one tick asserts "iValue.GetTicks() >= 1", and the division is the meter's beats.
    KORA_API explicit Time_GridDivision(const Time_NotationDurationValue& iValue);
    // A line at each barline.
    static constexpr Time_GridDivision Bars() { return Time_GridDivision(eBars); }
    // A line at each of the meter's beats.
    static constexpr Time_GridDivision Beats() { return Time_GridDivision(eBeats); }

    constexpr EBy GetBy() const { return mBy; }
    // The length of a note value's division; 0 for bars and beats.
    constexpr Time_TickLength GetTicks() const { return Time_TickLength(mTicks); }
    constexpr const Time_NotationDurationValue& GetNoteValue() const { return mValue; }

    // How late every second line after a barline is, of a division by note values; bars and beats stay
    // straight. Outside of 0 to 959 it asserts "iSwing >= 0 && iSwing < cWholeSwing" and is 0.
    KORA_API Time_GridDivision WithSwing(Cmn_Int32 iSwing) const;
    constexpr Cmn_Int32 GetSwing() const { return mSwing; }
    // By how many ticks those lines are late.
    constexpr Time_TickLength GetSwingTicks() const
    {
        return Time_TickLength(mTicks / cWholeSwing * mSwing + mTicks % cWholeSwing * mSwing / cWholeSwing);
    }

    // "bars", "beats" or a note value.
    [[nodiscard]] KORA_API std::string ToString() const;
    static constexpr std::size_t cTextBytes =
        Time_NotationDurationValue::cTextBytes; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the characters
    // before the zero.
    KORA_API std::size_t ToText(char* oText) const;
    // Reads what ToString writes; swing becomes 0. Anything else is false and changes nothing; oWhyNot is then
    // a text for users, such as "bars, beats or a note value such as 1/8t is expected". Allocates nothing.
    [[nodiscard]] KORA_API bool FromText(std::string_view iText, const char** oWhyNot = nullptr);
    // "1/8 swing 320"
    [[nodiscard]] KORA_API std::string Dump() const;
    // What ToString gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_GridDivision& iDivision);

    friend constexpr bool operator==(const Time_GridDivision&, const Time_GridDivision&) = default;

private:
    constexpr explicit Time_GridDivision(EBy iBy)
        : mBy(iBy)
    {
    }

    EBy mBy = eBeats;
    Cmn_Int32 mSwing = 0;
    Cmn_Int64 mTicks = 0;
    Time_NotationDurationValue mValue;
};

template <>
struct std::hash<Time_GridDivision>
{
    std::size_t operator()(const Time_GridDivision& iDivision) const noexcept
    {
        return std::hash<Time_NotationDurationValue>()(iDivision.GetNoteValue()) * 31 +
               static_cast<std::size_t>(iDivision.GetBy()) +
               static_cast<std::size_t>(iDivision.GetSwing()) * 3;
    }
};
