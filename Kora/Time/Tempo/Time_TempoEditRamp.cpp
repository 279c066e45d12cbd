// Time_TempoEdit: ramps.
#include "Kora/Time/Tempo/Time_NewTempoEvents.h"
#include "Kora/Time/Tempo/Time_TempoCurve_p.h"
#include "Kora/Time/Tempo/Time_TempoEdit_p.h"

using namespace Time_TempoEditDetail;

namespace {

constexpr Result cTooManySteps{.mReason = Result::eReason_TooManySteps,
                               .mNearest = static_cast<double>(Time_TempoEdit::cMaxRampSteps)};

Result CheckRamp(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo,
                 const Time_TempoEdit::Tempo& iStart, double iEnd)
{
    for (const double tempo : {iStart.mBeatsPerMinute, iEnd})
        if (const Result result = CheckTempo(tempo, iStart.mTicksPerBeat); !result) return result;
    return CheckRange(iMap, iFrom, iTo);
}

// The range's start and each step's end but the last.
void CommitRamp(Time_TempoMap& ioMap, const std::vector<Time_Tick>& iEdges, Time_Tick iTo,
                const Time_TempoEdit::Tempo& iStart, double iEnd, Time_TempoEdit::ECurve iCurve)
{
    const Time_Tick from = iEdges.front();
    const Time_TempoCurve curve(iCurve, iStart.mBeatsPerMinute, iEnd);
    const auto partAt = [&](Time_Tick iTick) { return TicksBetween(from, iTick) / TicksBetween(from, iTo); };
    std::vector<Piece> pieces;
    pieces.reserve(iEdges.size());
    double start = 0;
    for (std::size_t i = 0; i < iEdges.size(); ++i) {
        const double end = i + 1 < iEdges.size() ? partAt(iEdges[i + 1]) : 1;
        const double tempo = iStart.mBeatsPerMinute == iEnd ? iEnd : curve.MeanTempo(start, end);
        if (pieces.empty() || pieces.back().mBeatsPerMinute != tempo)
            pieces.push_back({iEdges[i], tempo, iStart.mTicksPerBeat});
        start = end;
    }
    Commit(ioMap, from, iTo, pieces, Piece{iTo, iEnd, iStart.mTicksPerBeat});
}

} // namespace

Time_TempoEditResult Time_TempoEdit::Ramp(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                          const Tempo& iStart, double iEndBeatsPerMinute, ECurve iCurve,
                                          std::size_t iSteps)
{
    if (const Result result = CheckRamp(ioMap, iFrom, iTo, iStart, iEndBeatsPerMinute); !result)
        return result;
    if (iSteps == 0) return {.mReason = Result::eReason_EmptyRange};
    if (iSteps > cMaxRampSteps) return cTooManySteps;
    const Cmn_Int64 length = Cmn_WrapSub(iTo.AsInt64(), iFrom.AsInt64());
    const auto steps = static_cast<Cmn_Int64>(iSteps);
    const Cmn_Int64 whole = length / steps, rest = length % steps;
    std::vector<Time_Tick> edges;
    edges.reserve(iSteps);
    // Of i steps: floor(i * length / steps), and what is left, in parts of a step.
    Cmn_Int64 offset = 0, parts = 0;
    for (Cmn_Int64 i = 0; i < steps; ++i) {
        const Time_Tick edge = iFrom + Time_TickLength(offset);
        if (edges.empty() || edge > edges.back()) edges.push_back(edge);
        parts += rest;
        offset += whole + (parts >= steps);
        parts -= parts >= steps ? steps : 0;
    }
    CommitRamp(ioMap, edges, iTo, iStart, iEndBeatsPerMinute, iCurve);
    return {};
}

Time_TempoEditResult Time_TempoEdit::Ramp(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                          const Tempo& iStart, double iEndBeatsPerMinute, ECurve iCurve,
                                          const Time_TypedLength& iStep)
{
    if (const Result result = CheckRamp(ioMap, iFrom, iTo, iStart, iEndBeatsPerMinute); !result)
        return result;
    const bool isLength = iStep.GetType() == Time_eType_Samples || iStep.GetType() == Time_eType_Ticks;
    if (!isLength || iStep.AsInt64() <= 0) return {.mReason = Result::eReason_EmptyRange};
    const Time_TempoCurve curve(iCurve, iStart.mBeatsPerMinute, iEndBeatsPerMinute);
    Time_NewTempoEvents events(ioMap.GetSampleRate());
    std::vector<Time_Tick> edges;
    for (Time_Tick edge = iFrom; edge < iTo;) {
        if (edges.size() == cMaxRampSteps) return cTooManySteps;
        edges.push_back(edge);
        const double tempo = curve.TempoAt(TicksBetween(iFrom, edge) / TicksBetween(iFrom, iTo));
        events.AddTempoEvent(Time_NewTempoEvent(edge, static_cast<float>(tempo), iStart.mTicksPerBeat));
        const Time_Tick next =
            events.NextQuantizedTick(iStep, Time_TypedLength(edge.AsInt64(), Time_eType_Ticks));
        if (next <= edge) return {.mReason = Result::eReason_EmptyRange};
        edge = next;
    }
    CommitRamp(ioMap, edges, iTo, iStart, iEndBeatsPerMinute, iCurve);
    return {};
}
