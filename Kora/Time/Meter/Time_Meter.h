// Time_Meter: one time signature with the click of its metronome.
//
// Units:      internal ticks, a whole note 3840000.
// Invariants: numerator and denominator are at least 1; the constructor from those two reports others and
//             takes them. A divisor of 0 is reported and gives 0.
#pragma once

#include "Kora/Time/Formats/Time_BarBeatTick.h"
#include "Kora/Time/Formats/Time_NotationDurationValue.h"

class KORA_API_NODISCARD Time_Meter
{
public:
    // 4/4 with a quarter-note click.
    Time_Meter() = default;
    // The click is a quarter note whatever the meter is. Asserts "iNumerator >= 1" and "iDenominator >= 1".
    Time_Meter(Cmn_Int32 iNumerator, Cmn_Int32 iDenominator);
    Time_Meter(Cmn_Int32 iNumerator, Cmn_Int32 iDenominator,
               const Time_NotationDurationValue& iClickInterval);
    // So many half notes to a bar: Halves(2) is 2/2. This and its kin have a quarter-note click; fewer than one
    // assert "iNumerator >= 1".
    static Time_Meter Halves(Cmn_Int32 iBeats) { return Time_Meter(iBeats, 2); }
    // 3/4 with 3.
    static Time_Meter Quarters(Cmn_Int32 iBeats) { return Time_Meter(iBeats, 4); }
    // 6/8 with 6.
    static Time_Meter Eighths(Cmn_Int32 iBeats) { return Time_Meter(iBeats, 8); }
    // 7/16 with 7.
    static Time_Meter Sixteenths(Cmn_Int32 iBeats) { return Time_Meter(iBeats, 16); }
    // The same meter with another click.
    [[nodiscard]] Time_Meter WithClick(const Time_NotationDurationValue& iClickInterval) const
    {
        return Time_Meter(mNumerator, mDenominator, iClickInterval);
    }
    Time_Meter(const Time_Meter&) = default;
    Time_Meter& operator=(const Time_Meter&) = default;
    virtual ~Time_Meter();

    Cmn_Int32 GetNumerator() const { return mNumerator; }
    Cmn_Int32 GetDenominator() const { return mDenominator; }
    const Time_NotationDurationValue& GetClickInterval() const { return mClickInterval; }

    // 4/4: 3840000, 6/8: 2880000, 7/8: 3360000.
    Time_TickLength GetBarLength() const
    {
        return Time_TickLength(
            Cmn_TruncDiv<Cmn_Int64>(mNumerator * Time_TickLength::cInternalPerWhole, mDenominator));
    }
    // The bar length over the numerator, and the whole note over the denominator: two ways to the length of
    // one beat. Each truncates; for a sound meter they agree.
    Time_TickLength GetTicksPerBeat() const
    {
        return Time_TickLength(Cmn_TruncDiv<Cmn_Int64>(GetBarLength().AsInt64(), mNumerator));
    }
    Time_TickLength GetBeatDuration() const
    {
        return Time_TickLength(Cmn_TruncDiv<Cmn_Int64>(Time_TickLength::cInternalPerWhole, mDenominator));
    }
    // Ticks from the start of iBBT's bar to it, under this meter. A beat that the bar does not have is
    // counted on through the bars behind it; beats below 1 truncate toward the bar's start.
    Time_TickLength ComputeOffsetIntoBar(const Time_BarBeatTick& iBBT) const;

    // Numerator, denominator and click.
    friend bool operator==(const Time_Meter& iA, const Time_Meter& iB)
    {
        return iA.mNumerator == iB.mNumerator && iA.mDenominator == iB.mDenominator &&
               iA.mClickInterval == iB.mClickInterval;
    }

    // Stream form: numerator (32 bits), denominator (32), the click's stream form.
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Throws Sys_StreamReadException for a numerator or denominator below 1 and a denominator above
    // 3840000; the meter then stays.
    void StreamIn(Sys_TypedInStream& ioStream);
    // A node "Meter" with "mNumerator", "mDenominator" and the click's node.
    virtual Cmn_XMLNode GetAsXML() const;
    // As musicians write it: "6/8", "6/8 click 1/4." where the click is no quarter note.
    [[nodiscard]] std::string ToString() const;
    static constexpr std::size_t cTextBytes = 80; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the characters
    // before the zero. A click of no note value asserts and is written as a quarter.
    std::size_t ToText(char* oText) const;
    // Reads what ToString writes: numbers from 1, the lower one up to 3840000. Anything else is false and
    // changes nothing; oWhyNot is then a text for users, such as "a meter such as 6/8 is expected". Allocates
    // nothing.
    [[nodiscard]] bool FromText(std::string_view iText, const char** oWhyNot = nullptr);
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_Meter& iMeter);
    // "6/8", "6/8 click EighthNoteDur dotted" where the click is no quarter note.
    [[nodiscard]] std::string Dump() const;

private:
    Cmn_Int32 mNumerator = 4;
    Cmn_Int32 mDenominator = 4;
    Time_NotationDurationValue mClickInterval;
};

template <>
struct std::hash<Time_Meter>
{
    std::size_t operator()(const Time_Meter& iMeter) const noexcept
    {
        const auto numerator = static_cast<std::size_t>(iMeter.GetNumerator());
        const auto denominator = static_cast<std::size_t>(iMeter.GetDenominator());
        return (numerator * 31 + denominator) * 31 +
               std::hash<Time_NotationDurationValue>()(iMeter.GetClickInterval());
    }
};
