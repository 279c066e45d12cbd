#include "Tool/Tool_EditReport.h"

#include "Tool/Tool_JsonWriter.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>

using JsonValue = nlohmann::ordered_json; // keeps the order in which keys are written

namespace {

using Line = Tool_SongReport::Line;

bool IsBefore(const Line& iA, const Line& iB)
{
    return std::tie(iA.mTick, iA.mChange) < std::tie(iB.mTick, iB.mChange);
}

JsonValue RowsJson(const std::vector<Line>& iLines)
{
    JsonValue rows = JsonValue::array();
    for (const Line& line : iLines)
        rows.push_back({{"tick", line.mTick.AsInt64()}, {"change", line.mChange}});
    return rows;
}

} // namespace

Tool_EditReport::Tool_EditReport(const Tool_Song& iBefore, std::string iFile)
    : mFile(std::move(iFile))
{
    const Tool_SongReport report(iBefore, mFile);
    mBefore = report.Lines();
    mBeforeJson = report.Json();
}

void Tool_EditReport::Add(const Tool_EditOperation& iOperation, const Tool_EditEffect& iEffect)
{
    mDone.push_back({iOperation, iEffect});
}

bool Tool_EditReport::IsChanged() const
{
    return std::any_of(mDone.begin(), mDone.end(), [](const Done& iDone) { return iDone.mEffect.mIsChange; });
}

std::string Tool_EditReport::EffectText(const Tool_EditEffect& iEffect)
{
    std::string text;
    const auto add = [&](const std::string& iText) { text += (text.empty() ? ": " : ", ") + iText; };
    if (!iEffect.mText.empty()) add(iEffect.mText);
    if (!iEffect.mIsChange) add("which changes nothing");
    const SMF_TimeEdit::Report& events = iEffect.mEvents;
    for (const auto& [count, one, many] : {
             std::tuple(events.mMoved, " event moved", " events moved"),
             std::tuple(events.mDropped, " event gone", " events gone"),
             std::tuple(events.mAdded, " event added", " events added"),
             std::tuple(events.mCutNotes, " note cut", " notes cut"),
             std::tuple(events.mGoneNotes, " note gone", " notes gone"),
         })
        if (count != 0) add(std::to_string(count) + (count == 1 ? one : many));
    if (!iEffect.mNote.empty()) text += "; " + iEffect.mNote;
    return iEffect.mPlace + text;
}

std::string Tool_EditReport::Notes() const
{
    std::string text;
    for (const Done& done : mDone)
        if (!done.mEffect.mNote.empty()) text += "; " + done.mEffect.mNote;
    return text;
}

std::string Tool_EditReport::Operations() const
{
    std::string text;
    for (const Done& done : mDone)
        text += done.mOperation.Text() + "\n    " + EffectText(done.mEffect) + '\n';
    return text;
}

Tool_EditReport::Lines Tool_EditReport::Missing(const Lines& iA, const Lines& iB)
{
    Lines a = iA, b = iB, missing;
    std::sort(a.begin(), a.end(), IsBefore);
    std::sort(b.begin(), b.end(), IsBefore);
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(missing), IsBefore);
    std::stable_sort(missing.begin(), missing.end(),
                     [](const Line& iX, const Line& iY) { return iX.mTick < iY.mTick; });
    return missing;
}

std::string Tool_EditReport::Table(const Tool_Song& iAfter, const std::string& iNotes,
                                   Tool_Style iStyle) const
{
    const Tool_SongReport report(iAfter, mFile);
    std::string table = report.Heading() + '\n' + Operations();
    if (!iNotes.empty()) table += "in the file: " + iNotes + '\n';
    Lines after = report.Lines();
    // The end is shown wherever it lies at another place or another time.
    const bool isEndMoved = mBefore.back().mText != after.back().mText;
    std::vector<std::pair<Line, char>> rows;
    for (Line& line : Missing(mBefore, after))
        if (line.mChange != mBefore.back().mChange) rows.emplace_back(std::move(line), '-');
    for (Line& line : Missing(after, mBefore))
        if (line.mChange != mBefore.back().mChange) rows.emplace_back(std::move(line), '+');
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& iA, const auto& iB) { return iA.first.mTick < iB.first.mTick; });
    if (isEndMoved) {
        rows.emplace_back(mBefore.back(), '-');
        rows.emplace_back(after.back(), '+');
    }
    if (rows.empty())
        return table + (mDone.empty() ? "" : "\n") + "No tempo, meter or key changes, nor the end.\n";
    std::string names = Tool_SongReport::ColumnNames(iStyle);
    names.insert(names.find('\n') + 1, "  ");
    table += "\n  " + names;
    for (const auto& [line, sign] : rows)
        table += sign + (' ' + line.mText) + '\n';
    return table;
}

std::string Tool_EditReport::Json(const Tool_Song& iAfter, const std::string& iOutput,
                                  const std::string& iNotes) const
{
    JsonValue operations = JsonValue::array();
    for (const auto& [operation, effect] : mDone) {
        JsonValue row = {{"operation", operation.mName},       {"arguments", operation.mArguments},
                         {"fromTick", effect.mFrom.AsInt64()}, {"toTick", nullptr},
                         {"changes", effect.mIsChange},        {"effect", EffectText(effect)}};
        for (const auto& [name, value] : operation.mModifiers)
            row[name.substr(2)] = value;
        if (effect.mTo) row["toTick"] = effect.mTo->AsInt64();
        if (effect.mMovesTime)
            row["events"] = {{"moved", effect.mEvents.mMoved},
                             {"gone", effect.mEvents.mDropped},
                             {"added", effect.mEvents.mAdded},
                             {"notesCut", effect.mEvents.mCutNotes},
                             {"notesGone", effect.mEvents.mGoneNotes}};
        operations.push_back(std::move(row));
    }
    const Tool_SongReport report(iAfter, mFile);
    const Lines after = report.Lines();
    JsonValue edit = {{"version", Tool_JsonWriter::cVersion},
                      {"file", mFile},
                      {"output", nullptr},
                      {"operations", std::move(operations)},
                      {"rounded", iNotes},
                      {"removed", RowsJson(Missing(mBefore, after))},
                      {"added", RowsJson(Missing(after, mBefore))},
                      {"before", JsonValue::parse(mBeforeJson)},
                      {"after", JsonValue::parse(report.Json())}};
    if (!iOutput.empty()) edit["output"] = iOutput;
    return edit.dump(2, ' ', false, JsonValue::error_handler_t::replace) + '\n';
}
