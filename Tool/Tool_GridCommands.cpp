// The subcommands that follow a song's beats: grid, click.
#include "Tool/Tool_Click.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_RangeOptions.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

#include <CLI/CLI.hpp>
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
    for (const Time_GridLine line : iSong.GetMeterMap().Grid(Time_Range(iFrom, iTo), iDivision)) {
        char position[Time_BarBeatTick::cTextBytes];
        text.append(position, line.mPosition.ToInternalText(position)) += '\t';
        Tool_AppendInteger(iSong.GetConverter().ToSample(line.mTick).AsInt64(), text);
        text.append("\t").append(KindText(line.mKind)) += '\n';
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
    explicit GridCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "grid", Tool_cGridHelp)
        , mSettings(App())
        , mRange(App())
    {
        App().add_option("--by", mBy);
    }

    Tool_Outcome Run(std::istream& iIn) const override
    {
        Time_GridDivision division;
        const char* whyNot = nullptr;
        if (App().count("--by") > 0 && !division.FromText(mBy, &whyNot))
            throw Tool_UsageError("--by " + Tool_Quoted(mBy) + ": " + whyNot);
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iIn);
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
    explicit ClickCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "click", Tool_cClickHelp)
        , mSettings(App())
        , mRange(App())
    {
        App().add_option("-o,--output", mOutput);
    }

    Tool_Outcome Run(std::istream& iIn) const override
    {
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iIn);
        const std::shared_ptr<const Tool_Song> song = Tool_Song::Load(input, asked);
        const Tool_RangeOptions::Range range = mRange.Get(*song, input.Name());
        const Tool_Click click(*song, range.mFrom, range.mTo, input.Name());
        if (App().count("-o") == 0 || mOutput == Tool_cStandardOutput)
            return {{}, {}, {}, [song, click](std::ostream& oOut) {
                        click.Write([&](const std::string& iBytes) {
                            oOut.write(iBytes.data(), static_cast<std::streamsize>(iBytes.size()));
                        });
                    }};
        if (input.IsSameFile(mOutput))
            throw Tool_UsageError("the sound would take the place of " + Tool_Quoted(mOutput));
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

void Tool_AddGridCommands(CLI::App& ioApp, Tool_Subcommands& ioCommands)
{
    ioCommands.push_back(std::make_unique<GridCommand>(ioApp));
    ioCommands.push_back(std::make_unique<ClickCommand>(ioApp));
}
