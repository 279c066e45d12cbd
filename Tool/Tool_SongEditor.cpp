#include "Tool/Tool_SongEditor.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

#include <algorithm>
#include <limits>

namespace {

constexpr double cMinTempo = 5, cMaxTempo = 500;
constexpr std::size_t cStepsOfABar = 16;
// More would be a mistake, and take all memory before the time line ends.
constexpr Cmn_Int64 cMostNewEvents = 100000000;

// "Eb major", "Eb", "C# minor", "C#m".
bool ParseKey(std::string_view iText, Time_KeySignature& oKey)
{
    constexpr Cmn_UInt8 cMostAccidentals = 7;
    for (const bool isMajor : {true, false})
        for (const bool isSharps : {true, false})
            for (Cmn_UInt8 count = 0; count <= cMostAccidentals; ++count) {
                const Time_KeySignature key(isMajor, isSharps, count);
                const std::string name = key.ToString(), tonic = name.substr(0, name.find(' '));
                if (iText != name && iText != tonic + (isMajor ? "" : "m")) continue;
                oKey = key;
                return true;
            }
    return false;
}

// "7/8", with a denominator that notes have.
bool ParseMeter(std::string_view iText, int& oNumerator, int& oDenominator)
{
    const std::size_t slash = iText.find('/');
    if (slash == std::string_view::npos) return false;
    if (!Tool_ParseInteger(iText.substr(0, slash), oNumerator) || oNumerator < 1 || oNumerator > 255)
        return false;
    return Tool_ParseInteger(iText.substr(slash + 1), oDenominator) && oDenominator >= 1 &&
           oDenominator <= 2048 && (oDenominator & (oDenominator - 1)) == 0;
}

} // namespace

std::string Tool_EditOperation::Text() const
{
    std::string text = mName;
    for (const std::string& argument : mArguments)
        text += ' ' + Tool_Printable(argument);
    for (const auto& [name, value] : mModifiers)
        text += ' ' + name + ' ' + Tool_Printable(value);
    return text;
}

std::span<const Tool_SongEditor::Form> Tool_SongEditor::Forms()
{
    static constexpr Form cForms[] = {
        {"--tempo", "POS BPM", 2, 2, &Tool_SongEditor::SetTempo,
         "the tempo from POS on, in quarter notes a minute, 5 to 500"},
        {"--ramp", "FROM TO BPM BPM", 4, 4, &Tool_SongEditor::Ramp,
         "from one tempo to another, in steps of equal length in ticks, each with the tempo that makes it "
         "last as long as the curve does over it"},
        {"--scale", "PERCENT [FROM TO]", 1, 3, &Tool_SongEditor::Scale, "all tempi, or those in a range"},
        {"--fit", "FROM TO LENGTH", 3, 3, &Tool_SongEditor::Fit,
         "scales the tempi of a range so that it lasts LENGTH"},
        {"--lock", "POS TIME", 2, 2, &Tool_SongEditor::Lock,
         "POS is at this time: the stretch since the lock before, or the start, gets the one tempo that "
         "fits, and so does the one to the next lock"},
        {"--beats", "FILE", 1, 1, &Tool_SongEditor::LockBeats,
         "the n-th beat is at the time in the n-th line, less that of the first"},
        {"--insert", "AT LENGTH", 2, 2, &Tool_SongEditor::Insert, "empty time; what is at AT or later moves"},
        {"--delete", "FROM TO", 2, 2, &Tool_SongEditor::Delete,
         "takes time out; what is at TO or later moves"},
        {"--move", "FROM TO POS", 3, 3, &Tool_SongEditor::Move,
         "takes time out and puts it before POS, which is read before the cut"},
        {"--repeat", "FROM TO N", 3, 3, &Tool_SongEditor::Repeat, "N copies behind TO"},
        {"--meter", "POS N/D", 2, 2, &Tool_SongEditor::SetMeter,
         "from POS on; later changes stay where they are"},
        {"--key", "POS KEY", 2, 2, &Tool_SongEditor::SetKey,
         "from POS on: \"Eb major\" or Eb, \"C# minor\" or C#m"},
    };
    return cForms;
}

std::span<const Tool_SongEditor::Modifier> Tool_SongEditor::Modifiers()
{
    static constexpr Modifier cModifiers[] = {
        {"--curve", "--ramp", "bars|linear|s",
         "behind --ramp: the tempo is linear in ticks (bars, the default), linear in time, or half a cosine "
         "in ticks (s)"},
        {"--steps", "--ramp", "N", "behind --ramp: how many steps (default: 16 a bar)"},
        {"--tolerance", "--beats", "MS",
         "behind --beats: one tempo for neighbours while no beat moves by more (default: 0)"},
    };
    return cModifiers;
}

Tool_SongEditor::Tool_SongEditor(Tool_Song& ioSong, SMF_TimeEdit* ioEvents, Cmn_Int64 iFileTick,
                                 std::istream& ioIn)
    : mSong(ioSong)
    , mEvents(ioEvents)
    , mFileTick(iFileTick)
    , mIn(ioIn)
    , mText(ioSong)
    , mEnd(ioSong.GetEndTick())
{
}

Tool_EditEffect Tool_SongEditor::Apply(const Tool_EditOperation& iOperation)
{
    mOperation = &iOperation;
    const std::string text = iOperation.Text();
    try {
        const auto form = std::find_if(Forms().begin(), Forms().end(),
                                       [&](const Form& iForm) { return iForm.mName == iOperation.mName; });
        const Effect effect = (this->*form->mApply)();
        if (mEvents != nullptr) mEnd = mEvents->GetEndTick();
        mSong.Edited(mEnd, text);
        return effect;
    } catch (const Tool_UsageError& error) {
        throw Tool_UsageError(text + ": " + error.what());
    } catch (const Tool_EditRefusal& refusal) {
        throw Tool_InputError::InFile(text, refusal.what());
    }
}

// --- Arguments

const std::string* Tool_SongEditor::ModifierNamed(const char* iName) const
{
    for (const auto& [name, value] : mOperation->mModifiers)
        if (name == iName) return &value;
    return nullptr;
}

double Tool_SongEditor::TempoAt(std::size_t iIndex) const
{
    double tempo = 0;
    const bool isNumber = Tool_ParseNumber(Argument(iIndex), tempo);
    if (isNumber && tempo >= cMinTempo && tempo <= cMaxTempo) return tempo;
    throw Tool_UsageError(
        Tool_Quoted(Argument(iIndex)) + ", expected 5 to 500 quarter notes a minute" +
        (isNumber ? std::string("; the nearest is ") + (tempo < cMinTempo ? "5" : "500") : ""));
}

Tool_EditEffect Tool_SongEditor::Range(std::size_t iIndex) const
{
    const Time_Tick from = PositionAt(iIndex), to = PositionAt(iIndex + 1);
    if (from >= to)
        throw Tool_EditRefusal(mText.BarText(from) + " is not before " + mText.BarText(to) +
                               ", expected the range's beginning and then its end");
    Effect effect;
    effect.mFrom = from;
    effect.mTo = to;
    effect.mPlace = mText.BarText(from) + " to " + mText.BarText(to);
    return effect;
}

Tool_EditEffect Tool_SongEditor::At(Time_Tick iTick, std::string iText) const
{
    Effect effect;
    effect.mFrom = iTick;
    effect.mPlace = mText.BarText(iTick);
    effect.mText = std::move(iText);
    return effect;
}

// --- Refusals

std::string Tool_SongEditor::Why(const Time_TempoEditResult& iResult, const std::string& iNearest) const
{
    using Result = Time_TempoEditResult;
    const auto place = [&] { return mText.BarText(Time_Tick(Cmn_Float64ToInt64(iResult.mNearest))); };
    switch (iResult.mReason) {
    case Result::eReason_EmptyRange:
        return "nothing is there to be edited, expected a length above 0";
    case Result::eReason_OutOfLimits:
        return "a tempo would leave 5 to 500 quarter notes a minute" + iNearest;
    case Result::eReason_Locked:
        return "the position locked at " + place() + " would move, expected an edit behind it";
    case Result::eReason_BeforeSongStart:
        return "lies before the song's start, expected " + place() + " or later";
    case Result::eReason_LockOrder:
        return "not in the order of the locks beside it" + iNearest;
    case Result::eReason_TooManySteps:
        return "expected at most " + Tool_Decimals(iResult.mNearest);
    default:
        return "POS lies inside the range, expected one outside it";
    }
}

void Tool_SongEditor::Refuse(const Time_TempoEditResult& iResult, const std::string& iNearest) const
{
    throw Tool_EditRefusal(Why(iResult, iNearest));
}

std::string Tool_SongEditor::NearestSample(const Time_TempoEditResult& iResult) const
{
    const Cmn_Int64 sample = Cmn_Float64ToInt64(iResult.mNearest);
    return "; the nearest is " + std::to_string(sample) + "samples (" + mText.TimeText(sample) + ")";
}

void Tool_SongEditor::Check(const Time_TempoEditResult& iResult, const std::string& iNearest) const
{
    if (!iResult) Refuse(iResult, iNearest);
}

// --- Tempi

Tool_EditEffect Tool_SongEditor::SetTempo()
{
    const Time_Tick at = PositionAt(0);
    const double tempo = TempoAt(1);
    Check(Time_TempoEdit::SetTempo(mSong.GetTempoMap(), at, {tempo}));
    return At(at, Tool_Decimals(tempo) + " bpm");
}

std::size_t Tool_SongEditor::Steps(const Effect& iRange) const
{
    const Cmn_Int64 length = (*iRange.mTo - iRange.mFrom).AsInt64();
    const auto bar =
        static_cast<double>(mSong.GetMeterMap().GetMeterAtTick(iRange.mFrom).GetBarLength().AsInt64());
    Cmn_Int64 steps = Cmn_RoundHalfUp(cStepsOfABar * static_cast<double>(length) / bar);
    if (const std::string* const asked = ModifierNamed("--steps")) {
        constexpr auto cMost = static_cast<Cmn_Int64>(Time_TempoEdit::cMaxRampSteps);
        if (!Tool_ParseInteger(*asked, steps) || steps < 1 || steps > cMost)
            throw Tool_UsageError(Tool_Quoted(*asked) + ", expected 1 to " + std::to_string(cMost) +
                                  " steps");
    }
    // Those shorter than a file tick are joined.
    return static_cast<std::size_t>(std::max<Cmn_Int64>(std::min(steps, length / mFileTick), 1));
}

Tool_EditEffect Tool_SongEditor::Ramp()
{
    constexpr std::pair<const char*, Time_TempoEdit::ECurve> cCurves[] = {
        {"bars", Time_TempoEdit::eCurve_Bars},
        {"linear", Time_TempoEdit::eCurve_Linear},
        {"s", Time_TempoEdit::eCurve_S}};
    const double start = TempoAt(2), end = TempoAt(3);
    const std::string* const asked = ModifierNamed("--curve");
    const auto curve = std::find_if(std::begin(cCurves), std::end(cCurves), [&](const auto& iCurve) {
        return (asked == nullptr ? "bars" : *asked) == iCurve.first;
    });
    if (curve == std::end(cCurves))
        throw Tool_UsageError(Tool_Quoted(*asked) + ", expected bars, linear or s");
    Effect effect = Range(0);
    const std::size_t steps = Steps(effect);
    Time_TempoMap& tempi = mSong.GetTempoMap();
    Check(Time_TempoEdit::Ramp(tempi, effect.mFrom, *effect.mTo, {start}, end, curve->second, steps));
    // Equal ends are one tempo, and what stood at TO is no other.
    if (const auto last = tempi.FindSegment(*effect.mTo);
        start == end && last != tempi.SegmentEnd() && !(*last)->IsLockedToSample())
        tempi.DeleteSegment(last);
    effect.mText = start == end ? Tool_Decimals(start) + " bpm"
                                : Tool_Decimals(start) + " to " + Tool_Decimals(end) + " bpm in " +
                                      Tool_CountText(static_cast<Cmn_Int64>(steps), "step", "steps");
    return effect;
}

Tool_EditEffect Tool_SongEditor::Scale()
{
    if (mOperation->mArguments.size() == 2)
        throw Tool_UsageError("expected PERCENT alone, or PERCENT FROM TO");
    std::string number = Argument(0);
    if (number.ends_with('%')) number.pop_back();
    double percent = 0;
    if (!Tool_ParseNumber(number, percent) || percent <= 0)
        throw Tool_UsageError(Tool_Quoted(Argument(0)) + ", expected a percentage above 0");
    Time_TempoMap& tempi = mSong.GetTempoMap();
    const bool isWhole = mOperation->mArguments.size() == 1;
    const Time_Tick last = (*std::prev(tempi.SegmentEnd()))->GetStartTick();
    Effect effect = isWhole ? At(mSong.GetStartTick(), {}) : Range(1);
    // Behind the last tempo nothing has to become what it was.
    const Time_Tick to = isWhole ? std::max(last, mSong.GetStartTick()) + Time_TickLength(1) : *effect.mTo;
    const Time_TempoEditResult result = Time_TempoEdit::Scale(tempi, effect.mFrom, to, percent / 100);
    const double nearest = result.mNearest * 1e6;
    const bool isBelow = nearest < percent * 1e4;
    const Cmn_Int64 inside = isBelow ? Cmn_FloorToInt64(nearest) : -Cmn_FloorToInt64(-nearest);
    Check(result, "; the nearest is " + Tool_Decimals(static_cast<double>(inside) / 1e4) + " percent");
    if (isWhole) tempi.EraseSegments(to, to + Time_TickLength(1));
    effect.mText = Tool_Decimals(percent) + " percent of the tempo";
    effect.mIsChange = percent != 100;
    return effect;
}

Tool_EditEffect Tool_SongEditor::Fit()
{
    Effect effect = Range(0);
    const Cmn_Int64 length = mText.Time(Argument(2));
    if (length == 0) throw Tool_UsageError(Tool_Quoted(Argument(2)) + ", expected a length above 0");
    const Time_TempoEditResult result = Time_TempoEdit::FitToLength(mSong.GetTempoMap(), effect.mFrom,
                                                                    *effect.mTo, Time_SampleLength(length));
    Check(result, NearestSample(result));
    effect.mText = "lasts " + mText.TimeText(length);
    return effect;
}

// --- Time

// The end of a document's song goes where its tick goes.
Time_SongEdit::Song Tool_SongEditor::Song()
{
    return {&mSong.GetMeterMap(), &mSong.GetTempoMap(), &mSong.GetKeyMap(),
            [this](const Time_TickPieces& iPieces) {
                mEnd = iPieces.OldToNew(mEnd).value_or(iPieces.OldEndToNew(mEnd));
            }};
}

Tool_EditEffect Tool_SongEditor::TimeMoved(Effect iEffect, const SMF_TimeEdit::Report& iEvents) const
{
    iEffect.mMovesTime = true;
    iEffect.mEvents = iEvents;
    return iEffect;
}

Tool_EditEffect Tool_SongEditor::Insert()
{
    const Time_Tick at = PositionAt(0);
    const Tool_EditText::Length asked = mText.LengthAt(Argument(1), at);
    const Time_TickLength length =
        asked.mIsTicks ? Time_TickLength(asked.mCount)
                       : Time_SongEdit::LengthOfSamples(Song(), at, static_cast<double>(asked.mCount));
    Effect effect = At(at, Tool_Printable(Argument(1)));
    effect.mIsChange = length.AsInt64() != 0;
    if (!effect.mIsChange) return effect;
    mText.CheckPlace(at + length);
    effect.mTo = at + length;
    ReleaseLocksFrom(at);
    Check(Time_SongEdit::InsertTime(Song(), at, length));
    return TimeMoved(effect, mEvents != nullptr ? mEvents->InsertTime(at, length) : SMF_TimeEdit::Report());
}

Tool_EditEffect Tool_SongEditor::Delete()
{
    const Effect effect = Range(0);
    ReleaseLocksFrom(effect.mFrom);
    Check(Time_SongEdit::DeleteTime(Song(), effect.mFrom, *effect.mTo));
    return TimeMoved(effect, mEvents != nullptr ? mEvents->DeleteTime(effect.mFrom, *effect.mTo)
                                                : SMF_TimeEdit::Report());
}

Tool_EditEffect Tool_SongEditor::Move()
{
    Effect effect = Range(0);
    const Time_Tick from = effect.mFrom, to = *effect.mTo, position = PositionAt(2);
    effect.mText = "before " + mText.BarText(position);
    effect.mIsChange = position != from && position != to;
    if (position > from && position < to)
        throw Tool_EditRefusal(mText.BarText(position) + " lies inside " + effect.mPlace +
                               ", expected a position outside it");
    if (!effect.mIsChange) return effect;
    ReleaseLocksFrom(std::min(from, position));
    Check(Time_SongEdit::MoveTime(Song(), from, to, position));
    return TimeMoved(effect,
                     mEvents != nullptr ? mEvents->MoveTime(from, to, position) : SMF_TimeEdit::Report());
}

Tool_EditEffect Tool_SongEditor::Repeat()
{
    Effect effect = Range(0);
    const Time_Tick from = effect.mFrom, to = *effect.mTo;
    constexpr auto cMost = static_cast<Cmn_Int64>(Time_SongEdit::cMaxCopies);
    Cmn_Int64 times = 0;
    if (!Tool_ParseInteger(Argument(2), times) || times < 0 || times > cMost)
        throw Tool_UsageError(Tool_Quoted(Argument(2)) + ", expected 0 to " + std::to_string(cMost) +
                              " copies");
    effect.mText = Tool_CountText(times, "copy", "copies");
    effect.mIsChange = times != 0;
    if (!effect.mIsChange) return effect;
    const Cmn_Int64 length = (to - from).AsInt64();
    const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    if (length > (maxTick - to.AsInt64()) / times)
        mText.CheckPlace(Time_Tick(std::numeric_limits<Cmn_Int64>::max()));
    mText.CheckPlace(to + Time_TickLength(length * times));
    if (const Cmn_Int64 events = mEvents != nullptr ? mEvents->CountEvents(from, to) : 0;
        events > cMostNewEvents / times)
        throw Tool_EditRefusal(std::to_string(times) + " copies of " +
                               Tool_CountText(events, "event", "events") + ", expected at most " +
                               std::to_string(cMostNewEvents) + " new events");
    ReleaseLocksFrom(to);
    const Time_Tick end = mEnd;
    Check(Time_SongEdit::RepeatTime(Song(), from, to, static_cast<std::size_t>(times)));
    // What ends inside the range ends inside its last copy.
    if (end > from && end < to) mEnd = end + Time_TickLength(length * times);
    return TimeMoved(effect,
                     mEvents != nullptr ? mEvents->RepeatTime(from, to, times) : SMF_TimeEdit::Report());
}

// --- Meters and keys

Tool_EditEffect Tool_SongEditor::SetMeter()
{
    int numerator = 0, denominator = 0;
    if (!ParseMeter(Argument(1), numerator, denominator))
        throw Tool_UsageError(Tool_Quoted(Argument(1)) +
                              ", expected 1 to 255 beats over a power of two up to 2048, such as 7/8");
    const Effect effect = At(PositionAt(0), std::to_string(numerator) + '/' + std::to_string(denominator));
    mSong.GetMeterMap().AddMeterChange(effect.mFrom, Time_Meter(numerator, denominator));
    return effect;
}

Tool_EditEffect Tool_SongEditor::SetKey()
{
    Time_KeySignature key;
    if (!ParseKey(Argument(1), key))
        throw Tool_UsageError(Tool_Quoted(Argument(1)) +
                              ", expected a key such as \"Eb major\", Eb, \"C# minor\" or C#m");
    const Effect effect = At(PositionAt(0), key.ToString());
    mSong.GetKeyMap().SetKeySignature(effect.mFrom, key);
    return effect;
}
