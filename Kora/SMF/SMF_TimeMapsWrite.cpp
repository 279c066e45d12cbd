#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/SMF/SMF_EventRules_p.h"
#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/SMF/SMF_TrackBuilder.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <optional>
#include <utility>

namespace {

using std::to_string;

constexpr Cmn_UInt8 cMetaTypes[] = {SMF_Event::cTempo, SMF_Event::cTimeSignature, SMF_Event::cKeySignature};
constexpr std::size_t cKinds = std::size(cMetaTypes);
// What a file says without saying it: 120 quarters a minute, 4/4, nothing of the key.
constexpr std::string_view cDefaults[cKinds] = {{"\x07\xA1\x20", 3}, {"\x04\x02", 2}, {}};
// The bytes of the content that say the kind's value: a time signature's click is none of the map's.
constexpr std::size_t cValueBytes[cKinds] = {3, 2, 2};

// The kind of a meta event, cKinds for all other events.
std::size_t KindOf(const SMF_Event& iEvent)
{
    if (iEvent.mStatus != SMF_Event::cMeta) return cKinds;
    return static_cast<std::size_t>(std::find(cMetaTypes, std::end(cMetaTypes), iEvent.mMetaType) -
                                    cMetaTypes);
}

// Contents of events of one kind by tick.
using Contents = std::map<Cmn_Int64, std::string>;

// --- Entries of the maps, by library ticks from the start

std::string AtTick(Time_Tick iTick) { return " at tick " + to_string(iTick.AsInt64()); }

// A quarter note's microseconds at so many beats a minute; and back.
double Exchange(double iValue, Time_TickLength iBeat)
{
    return 60000000.0 * static_cast<double>(SMF_TimeMaps::cTicksPerQuarter) /
           (iValue * static_cast<double>(iBeat.AsInt64()));
}

std::string TempoContent(Time_Tick iTick, double iBeatsPerMinute, Time_TickLength iBeat,
                         SMF_TimeMaps::Report& ioReport)
{
    const Cmn_Int64 micros = Cmn_RoundHalfUp(Exchange(iBeatsPerMinute, iBeat));
    if (micros < 1 || micros > SMF_EventRules::cMaxMicroseconds)
        throw SMF_Exception("a tempo of " + to_string(micros) + " microseconds to a quarter note" +
                            AtTick(iTick) + ", expected 1 to 16777215");
    if (Exchange(static_cast<double>(micros), iBeat) != iBeatsPerMinute)
        ioReport.mInexactTempi.push_back({iTick,
                                          iBeatsPerMinute * static_cast<double>(iBeat.AsInt64()) /
                                              static_cast<double>(SMF_TimeMaps::cTicksPerQuarter),
                                          60000000.0 / static_cast<double>(micros)});
    std::string content;
    SMF_EventRules::AppendBigEndian(content, micros, 3);
    return content;
}

std::string MeterContent(Time_Tick iTick, const Time_Meter& iMeter)
{
    Cmn_Int32 power = 0;
    while (power < SMF_EventRules::cMaxDenominatorPower && 1 << power < iMeter.GetDenominator())
        ++power;
    if (1 << power != iMeter.GetDenominator() || iMeter.GetNumerator() < 1 || iMeter.GetNumerator() > 255)
        throw SMF_Exception("a meter of " + to_string(iMeter.GetNumerator()) + '/' +
                            to_string(iMeter.GetDenominator()) + AtTick(iTick) +
                            ", expected 1 to 255 beats and a denominator that is a power of two up to 2048");
    // A file counts the click in 24ths of a quarter; a beat's is at least one.
    const Cmn_Int32 click = std::max(1, 96 >> power);
    return {static_cast<char>(iMeter.GetNumerator()), static_cast<char>(power), static_cast<char>(click), 8};
}

std::string KeyContent(Time_Tick iTick, const Time_KeySignature& iKey)
{
    const int count = iKey.GetAccidentalCount();
    if (count > SMF_EventRules::cMaxSharps)
        throw SMF_Exception("a key of " + to_string(count) + " accidentals" + AtTick(iTick) +
                            ", expected at most 7");
    return {static_cast<char>(iKey.IsSharps() ? count : -count), static_cast<char>(iKey.IsMajor() ? 0 : 1)};
}

// What lies before the start counts as at it; the last there holds.
std::array<Contents, cKinds> ContentsOf(const SMF_TimeMaps::Maps& iMaps, SMF_TimeMaps::Report& ioReport)
{
    std::array<Contents, cKinds> all;
    const auto place = [&](Time_Tick iTick) {
        return std::max<Cmn_Int64>((iTick - iMaps.mStart).AsInt64(), 0);
    };
    // Whether the entry is in force at the start or later: the one before the next that
    // is not behind the start.
    const auto counts = [&](std::optional<Time_Tick> iNext) { return !iNext || *iNext > iMaps.mStart; };
    const Time_TempoMap& tempi = iMaps.mTempi;
    for (auto segment = tempi.SegmentBegin(); segment != tempi.SegmentEnd();) {
        const Time_Tick tick = (*segment)->GetStartTick();
        double beatsPerMinute = 0;
        Time_TickLength beat;
        tempi.GetTempoAtTick(beatsPerMinute, beat, tick);
        const bool isLast = ++segment == tempi.SegmentEnd();
        if (counts(isLast ? std::nullopt : std::optional((*segment)->GetStartTick())))
            all[SMF_TimeMaps::eKind_Tempo][place(tick)] = TempoContent(tick, beatsPerMinute, beat, ioReport);
    }
    const Time_MeterMap& meters = iMaps.mMeters;
    for (auto change = meters.IterBegin(); change != meters.IterEnd();) {
        const Time_MeterChange& current = *change;
        const bool isLast = ++change == meters.IterEnd();
        if (counts(isLast ? std::nullopt : std::optional(change->GetTick())))
            all[SMF_TimeMaps::eKind_Meter][place(current.GetTick())] =
                MeterContent(current.GetTick(), current.GetMeter());
    }
    for (long i = 0; i < iMaps.mKeys.size(); ++i) {
        Time_Tick tick, next;
        Time_KeySignature key, unused;
        const bool hasNext = i + 1 < iMaps.mKeys.size() && iMaps.mKeys.GetKeysSignature(i + 1, next, unused);
        if (iMaps.mKeys.GetKeysSignature(i, tick, key) &&
            counts(hasNext ? std::optional(next) : std::nullopt))
            all[SMF_TimeMaps::eKind_Key][place(tick)] = KeyContent(tick, key);
    }
    return all;
}

// --- Ticks

Cmn_Int64 ErrorOf(Cmn_Int64 iTicks, Cmn_Int32 iDivision)
{
    const Cmn_Int64 fileTick = SMF_TimeMaps::ToFileTick(iTicks, iDivision);
    return SMF_TimeMaps::FromFileTick(fileTick, iDivision) - SMF_TimeMaps::cStartTick.AsInt64() - iTicks;
}

// The smallest factor that makes the division express all ticks; 1 where none in the file's range does.
Cmn_Int32 FactorFor(const std::array<Contents, cKinds>& iContents, Cmn_Int32 iDivision)
{
    const Cmn_Int64 most = SMF_EventRules::cMaxDivision / iDivision;
    Cmn_Int64 factor = 1;
    for (const Contents& contents : iContents)
        for (const auto& [ticks, content] : contents)
            if (ErrorOf(ticks, iDivision) != 0) {
                const Cmn_Int64 rest = ticks % SMF_TimeMaps::cTicksPerQuarter * iDivision;
                factor = std::lcm(factor, SMF_TimeMaps::cTicksPerQuarter /
                                              std::gcd(SMF_TimeMaps::cTicksPerQuarter, rest));
                if (factor > most) return 1;
            }
    return static_cast<Cmn_Int32>(factor);
}

Contents InFileTicks(SMF_TimeMaps::EKind iKind, const Contents& iContents, Time_Tick iStart,
                     Cmn_Int32 iDivision, SMF_TimeMaps::Report& ioReport)
{
    Contents inFile;
    for (auto entry = iContents.begin(); entry != iContents.end(); ++entry) {
        const auto& [ticks, content] = *entry;
        const Cmn_Int64 fileTick = SMF_TimeMaps::ToFileTick(ticks, iDivision);
        const auto next = std::next(entry);
        const bool isReplaced =
            next != iContents.end() && SMF_TimeMaps::ToFileTick(next->first, iDivision) == fileTick;
        if (const Cmn_Int64 error = ErrorOf(ticks, iDivision); error != 0 || isReplaced)
            ioReport.mRoundedTicks.push_back(
                {iKind, iStart + Time_TickLength(ticks), fileTick, error, isReplaced});
        inFile[fileTick] = content;
    }
    return inFile;
}

// --- Tracks

// What governs in the file: of several events of a kind at one tick the last in file order.
std::array<Contents, cKinds> ContentsOf(const SMF_File& iFile)
{
    std::array<Contents, cKinds> all;
    for (const SMF_Track& track : iFile.GetTracks())
        for (const SMF_Event& event : track)
            if (const std::size_t kind = KindOf(event); kind < cKinds) all[kind][event.mTick] = event.mData;
    return all;
}

std::string_view ValueOf(std::size_t iKind, std::string_view iContent)
{
    return iContent.substr(0, cValueBytes[iKind]);
}

// Leaves in ioWanted what the file does not say yet, and in ioThere what it says rightly.
void LeaveDifferences(std::size_t iKind, Contents& ioWanted, Contents& ioThere, bool iMaySayNothing)
{
    if (const auto first = ioWanted.find(0); iMaySayNothing && first != ioWanted.end() &&
                                             ioThere.count(0) == 0 &&
                                             ValueOf(iKind, first->second) == cDefaults[iKind])
        ioWanted.erase(first);
    for (auto there = ioThere.begin(); there != ioThere.end();) {
        const auto wanted = ioWanted.find(there->first);
        const bool isRight =
            wanted != ioWanted.end() && ValueOf(iKind, wanted->second) == ValueOf(iKind, there->second);
        if (isRight) ioWanted.erase(wanted);
        there = isRight ? std::next(there) : ioThere.erase(there);
    }
}

// The track without the events whose tick and kind iRight does not have, and with iNew before
// the others of their tick.
SMF_Track Merged(const SMF_Track& iTrack, const std::array<Contents, cKinds>& iRight,
                 const std::vector<std::pair<Cmn_Int64, std::size_t>>& iOrder,
                 const std::array<Contents, cKinds>& iNew, Cmn_Int64 iEndTick)
{
    SMF_TrackBuilder builder(iTrack.GetBytes().size() + 11 * iOrder.size());
    auto next = iOrder.begin();
    const auto addUntil = [&](Cmn_Int64 iTick) {
        for (; next != iOrder.end() && next->first <= iTick; ++next)
            builder.AppendMeta(next->first, cMetaTypes[next->second], iNew[next->second].at(next->first));
    };
    for (const SMF_Event& event : iTrack) {
        const std::size_t kind = KindOf(event);
        if (kind < cKinds && iRight[kind].count(event.mTick) == 0) continue;
        if (event.IsEndOfTrack()) {
            if (!iOrder.empty()) iEndTick = std::max(iEndTick, iOrder.back().first);
            iEndTick = std::max(iEndTick, event.mTick);
            addUntil(iEndTick);
            builder.Append(event, iEndTick);
        } else {
            addUntil(event.mTick);
            builder.Append(event);
        }
    }
    return builder.Finish();
}

} // namespace

SMF_TimeMaps::Report SMF_TimeMaps::Write(SMF_File& ioFile, const Maps& iMaps, EDivision iDivision)
{
    Report report;
    const std::array<Contents, cKinds> inTicks = ContentsOf(iMaps, report);
    SMF_File file = ioFile;
    if (iDivision == eDivision_Raise) file.MultiplyDivision(FactorFor(inTicks, file.GetDivision()));
    const Cmn_Int32 division = file.GetDivision();
    const bool hasTracks = !file.GetTracks().empty();
    if (!hasTracks) file.AddTrack(SMF_Track());

    std::array<Contents, cKinds> wanted, there = ContentsOf(file);
    std::vector<std::pair<Cmn_Int64, std::size_t>> order;
    for (std::size_t kind = 0; kind < cKinds; ++kind) {
        wanted[kind] = InFileTicks(static_cast<EKind>(kind), inTicks[kind], iMaps.mStart, division, report);
        LeaveDifferences(kind, wanted[kind], there[kind], hasTracks);
        for (const auto& [tick, content] : wanted[kind])
            order.emplace_back(tick, kind);
    }
    std::sort(order.begin(), order.end());

    const Cmn_Int64 end = ToFileTick(std::max<Cmn_Int64>((iMaps.mEnd - iMaps.mStart).AsInt64(), 0), division);
    const bool endsEarly = std::all_of(file.GetTracks().begin(), file.GetTracks().end(),
                                       [&](const SMF_Track& iTrack) { return iTrack.GetEndTick() < end; });
    for (std::size_t i = 0; i < file.GetTracks().size(); ++i) {
        const bool isFirst = i == 0;
        file.SetTrack(i, Merged(file.GetTracks()[i], there, isFirst ? order : decltype(order)(), wanted,
                                isFirst && endsEarly ? end : 0));
    }
    ioFile = std::move(file);
    return report;
}
