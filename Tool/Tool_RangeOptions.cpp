#include "Tool/Tool_RangeOptions.h"

#include "Tool/Tool_EditText.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Subcommand.h"

void Tool_RangeOptions::AddTo(Tool_Parser& ioParser, const char* iFrom, const char* iTo)
{
    mParser = &ioParser;
    ioParser.Take("--from", mFrom, "POS", iFrom);
    ioParser.Take("--to", mTo, "POS", iTo);
}

std::optional<Time_Tick> Tool_RangeOptions::From(const Tool_Song& iSong, const std::string& iName) const
{
    return Position("--from", mFrom, iSong, iName);
}

std::optional<Time_Tick> Tool_RangeOptions::To(const Tool_Song& iSong, const std::string& iName) const
{
    return Position("--to", mTo, iSong, iName);
}

Tool_RangeOptions::Range Tool_RangeOptions::Get(const Tool_Song& iSong, const std::string& iName) const
{
    const Range range{From(iSong, iName).value_or(iSong.GetStartTick()),
                      To(iSong, iName).value_or(iSong.GetEndTick())};
    if (range.mFrom < range.mTo) return range;
    const Tool_EditText text(iSong);
    throw Tool_InputError::InFile(iName, "the range from " + text.BarText(range.mFrom) + " to " +
                                             text.BarText(range.mTo) +
                                             " is empty, expected --to behind --from");
}

std::optional<Time_Tick> Tool_RangeOptions::Position(const char* iOption, const std::string& iText,
                                                     const Tool_Song& iSong, const std::string& iName) const
{
    if (!mParser->IsGiven(iOption)) return std::nullopt;
    try {
        return Tool_EditText(iSong).Position(iText);
    } catch (const Tool_UsageError& error) {
        throw Tool_UsageError(std::string(iOption) + ' ' + error.what());
    } catch (const Tool_EditRefusal& refusal) {
        throw Tool_InputError::InFile(iName, std::string(iOption) + ' ' + refusal.what());
    }
}
