// The subcommands that show a song: song, convert, plot.
#include "Tool/Tool_Convert.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Plot.h"
#include "Tool/Tool_SongReport.h"
#include "Tool/Tool_Subcommand.h"

#include <CLI/CLI.hpp>

namespace {
constexpr char cDefaultMapsName[] = "-";
constexpr char cInputName[] = "stdin";

class SongCommand : public Tool_Subcommand
{
public:
    explicit SongCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "song", Tool_cSongHelp)
        , mSettings(App())
    {
        App().add_flag("--json", mIsJson);
    }

    Tool_Outcome Run(std::istream&) const override
    {
        const auto song = Tool_Song::Load(FileName(), mSettings.Asked());
        const Tool_SongReport report(*song, FileName());
        return {mIsJson ? report.Json() : report.Table(), {}};
    }

private:
    Tool_SettingsOptions mSettings;
    bool mIsJson = false;
};

class ConvertCommand : public Tool_Subcommand
{
public:
    explicit ConvertCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "convert", Tool_cConvertHelp)
        , mSettings(App())
    {
        App().add_option("--from", mFrom)->required();
        App().add_option("--to", mTo)->required();
    }

    Tool_Outcome Run(std::istream& iIn) const override
    {
        Tool_EUnit from;
        if (!Tool_ParseUnit(mFrom, from))
            throw Tool_UsageError("--from " + Tool_Quoted(mFrom) + ", expected one of " + Tool_UnitNames());
        std::vector<Tool_EUnit> to;
        if (!Tool_ParseUnits(mTo, to))
            throw Tool_UsageError("--to " + Tool_Quoted(mTo) + ", expected some of " + Tool_UnitNames() +
                                  ", separated by commas");
        const Tool_AskedSettings asked = mSettings.Asked();
        const auto song = FileName() == cDefaultMapsName ? std::make_unique<Tool_Song>(asked.Over({}))
                                                         : Tool_Song::Load(FileName(), asked);
        return {Tool_Convert(*song, Tool_ReadAll(iIn), cInputName, from, to), {}};
    }

private:
    Tool_SettingsOptions mSettings;
    std::string mFrom;
    std::string mTo;
};

class PlotCommand : public Tool_Subcommand
{
public:
    explicit PlotCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "plot", Tool_cPlotHelp)
        , mSettings(App())
    {
        App().add_option("-o,--output", mOutput);
    }

    Tool_Outcome Run(std::istream&) const override
    {
        const auto song = Tool_Song::Load(FileName(), mSettings.Asked());
        std::string svg = Tool_Plot(*song, Tool_BaseName(FileName()));
        if (App().count("-o") == 0) return {std::move(svg), {}};
        if (Tool_IsSameFile(FileName(), mOutput))
            throw Tool_UsageError("the picture would take the place of " + Tool_Quoted(FileName()));
        Tool_WriteFile(mOutput, svg);
        return {};
    }

private:
    Tool_SettingsOptions mSettings;
    std::string mOutput;
};
} // namespace

void Tool_AddSongCommands(CLI::App& ioApp, Tool_Subcommands& ioCommands)
{
    ioCommands.push_back(std::make_unique<SongCommand>(ioApp));
    ioCommands.push_back(std::make_unique<ConvertCommand>(ioApp));
    ioCommands.push_back(std::make_unique<PlotCommand>(ioApp));
}
