// The subcommands that follow a song's beats: grid, click.
#include "Tool/Tool_Click.h"
#include "Tool/Tool_Commands.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_Overwrite.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_RangeOptions.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

#include <ostream>

namespace {

const char* KindText(Time_GridLine::EKind iKind)
{
    switch (iKind) {
    case Time_GridLine::eBar:
        return "bar";
    case Time_GridLine::eBeat:
        return "beat";
    case Time_GridLine::eSub:
        break;
    }
    return "sub";
}

void WriteGrid(const Tool_Song& iSong, Time_Tick iFrom, Time_Tick iTo, const Time_GridDivision& iDivision,
               std::ostream& oOut)
{
    constexpr std::size_t cMuch = 65536;
    std::string text;
    Tool_StWork work("writing rows", {}, (iTo - iFrom).AsInt64());
    for (const Time_GridLine line : iSong.GetMeterMap().Grid(Time_Range(iFrom, iTo), iDivision)) {
        char position[Time_BarBeatTick::cTextBytes];
        text.append(position, line.mPosition.ToInternalText(position)) += '\t';
        Tool_AppendInteger(iSong.GetConverter().ToSample(line.mTick).AsInt64(), text);
        text.append("\t").append(KindText(line.mKind)) += '\n';
        work.At((line.mTick - iFrom).AsInt64());
        if (text.size() < cMuch) continue;
        oOut.write(text.data(), static_cast<std::streamsize>(text.size()));
        if (!oOut) return;
        text.clear();
    }
    oOut.write(text.data(), static_cast<std::streamsize>(text.size()));
}

class GridCommand : public Tool_Subcommand
{
public:
    explicit GridCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeSong();
        mRange.AddTo(Parser(), "the first place of the range (default: the song's start)",
                     "where it ends, itself no part of it (default: the song's end)");
        Parser().Take("--by", mBy, "DIVISION",
                      "bars, beats (default), or a note value: 1/4, 1/8t for triplets, 1/8. for dotted ones, "
                      "1/16(4:5) for other tuplets");
        mSettings.AddTo(Parser());
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        Time_GridDivision division;
        const char* whyNot = nullptr;
        if (IsGiven("--by") && !division.FromText(mBy, &whyNot))
            throw Tool_UsageError("--by " + Tool_Quoted(mBy) + " (" + whyNot +
                                  "), expected bars, beats or a note value: 1/4, 1/8t, 1/8. or 1/16(4:5)");
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iConsole);
        const std::shared_ptr<const Tool_Song> song = Tool_Song::Load(input, asked);
        const Tool_RangeOptions::Range range = mRange.Get(*song, input.Name());
        return {{}, {}, {}, [song, range, division](std::ostream& oOut) {
                    WriteGrid(*song, range.mFrom, range.mTo, division, oOut);
                }};
    }

private:
    Tool_SettingsOptions mSettings;
    Tool_RangeOptions mRange;
    std::string mBy;
};

class ClickCommand : public Tool_Subcommand
{
public:
    explicit ClickCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeSong();
        Parser().Take("-o,--output", mOutput, "OUT",
                      "the WAV file (16 bits, mono), which takes the place of one that is there; without it, "
                      "or for \"-\", standard output");
        mRange.AddTo(Parser(), "where the file begins (default: the song's start)",
                     "where it ends (default: the song's end)");
        mSettings.AddTo(Parser());
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        Tool_CheckEnding(mOutput, {".mp3", ".flac", ".ogg", ".aif", ".aiff"}, ".wav");
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iConsole);
        const std::shared_ptr<const Tool_Song> song = Tool_Song::Load(input, asked);
        const Tool_RangeOptions::Range range = mRange.Get(*song, input.Name());
        const Tool_Click click(*song, range.mFrom, range.mTo, input.Name());
        if (!IsGiven("-o") || mOutput == Tool_cStandardOutput)
            return {{}, {}, {}, [song, click](std::ostream& oOut) {
                        click.Write([&](const std::string& iBytes) {
                            oOut.write(iBytes.data(), static_cast<std::streamsize>(iBytes.size()));
                        });
                    }};
        Tool_CheckOverwrite(input, mOutput, "the sound");
        Tool_WriteFile(mOutput, [&](const auto& iTake) { click.Write(iTake); });
        return {
            Tool_Printable(mOutput) + ": " + std::to_string(click.GetNumSamples()) + " samples\n", {}, {}};
    }

private:
    Tool_SettingsOptions mSettings;
    Tool_RangeOptions mRange;
    std::string mOutput;
};

} // namespace

std::unique_ptr<Tool_Subcommand> Tool_MakeGridCommand(Tool_Parser& ioParser)
{
    return std::make_unique<GridCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakeClickCommand(Tool_Parser& ioParser)
{
    return std::make_unique<ClickCommand>(ioParser);
}
