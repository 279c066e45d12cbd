// The subcommands that show a song or put it into another form: song, convert, plot, export.
#include "Tool/Tool_Convert.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_EditText.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Plot.h"
#include "Tool/Tool_Png.h"
#include "Tool/Tool_RangeOptions.h"
#include "Tool/Tool_SongReport.h"
#include "Tool/Tool_StandardInput.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

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

    Tool_Outcome Run(std::istream& iIn) const override
    {
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iIn);
        const std::shared_ptr<const Tool_Song> song = Tool_Song::Load(input, asked);
        return {{}, {}, {}, [song, name = input.Name(), isJson = mIsJson](std::ostream& oOut) {
                    const Tool_SongReport report(*song, name);
                    isJson ? report.WriteJson(oOut) : report.WriteTable(oOut);
                }};
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
        App().add_option("--film-rate", mFilmRate);
        App().add_option("--film-offset", mFilmOffset);
        App().add_option("--gauge", mGauge);
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
        const Time_EFilmGauge gauge = Film();
        const std::shared_ptr<const Tool_Song> song = Song(asked, iIn);
        return {{}, {}, {}, [song, from, to, gauge, &iIn](std::ostream& oOut) {
                    Tool_ConvertStream(*song, iIn, cInputName, from, to, oOut, gauge);
                }};
    }

private:
    std::unique_ptr<const Tool_Song> Song(const Tool_AskedSettings& iAsked, std::istream& iIn) const
    {
        if (FileName() == cDefaultMapsName) return std::make_unique<Tool_Song>(iAsked.Over({}));
        if (Tool_IsOther(FileName()) && Tool_IsStandardInput(FileName()))
            throw Tool_UsageError("standard input holds the positions, expected the song in another file");
        return Tool_Song::Load(Input(iIn), iAsked);
    }

    // Rate and offset become the process's.
    Time_EFilmGauge Film() const
    {
        double rate = cDefaultFilmRate;
        Cmn_Int32 offset = 0;
        if (App().count("--film-rate") > 0 && (!Tool_ParseNumber(mFilmRate, rate) || rate < 1 || rate > 1000))
            throw Tool_UsageError("--film-rate " + Tool_Quoted(mFilmRate) +
                                  ", expected 1 to 1000 frames a second");
        if (App().count("--film-offset") > 0 && !Tool_ParseInteger(mFilmOffset, offset))
            throw Tool_UsageError("--film-offset " + Tool_Quoted(mFilmOffset) +
                                  ", expected a whole number of frames");
        if (App().count("--gauge") > 0 && mGauge != "35" && mGauge != "16")
            throw Tool_UsageError("--gauge " + Tool_Quoted(mGauge) + ", expected 35 or 16");
        Time_FeetFrame::SetFilmRate(rate);
        Time_FeetFrame::SetFrameOffset(offset);
        return mGauge == "16" ? Time_eFilmGauge_16mm : Time_eFilmGauge_35mm;
    }

    static constexpr double cDefaultFilmRate = 24;

    Tool_SettingsOptions mSettings;
    std::string mFrom;
    std::string mTo;
    std::string mFilmRate;
    std::string mFilmOffset;
    std::string mGauge;
};

class PlotCommand : public Tool_Subcommand
{
public:
    explicit PlotCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "plot", Tool_cPlotHelp)
        , mSettings(App())
        , mRange(App())
    {
        App().add_option("-o,--output", mOutput);
        App().add_option("--width", mWidth);
        App().add_option("--height", mHeight);
    }

    Tool_Outcome Run(std::istream& iIn) const override
    {
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iIn);
        const auto song = Tool_Song::Load(input, asked);
        std::string svg = Tool_Plot(*song, Tool_BaseName(input.Name()), Options(*song, input.Name()));
        if (App().count("-o") == 0 || mOutput == Tool_cStandardOutput) return {std::move(svg), {}, {}};
        if (input.IsSameFile(mOutput))
            throw Tool_UsageError("the picture would take the place of " + Tool_Quoted(mOutput));
        Tool_WriteFile(mOutput, Tool_EndsIn(mOutput, ".png") ? Tool_PngOf(svg, mOutput) : svg);
        return {};
    }

private:
    Tool_PlotOptions Options(const Tool_Song& iSong, const std::string& iName) const
    {
        Tool_PlotOptions options{mRange.From(iSong, iName), mRange.To(iSong, iName)};
        if (options.mFrom || options.mTo) static_cast<void>(mRange.Get(iSong, iName));
        Size("--width", mWidth, Tool_PlotOptions::cLeastWidth, options.mWidth);
        Size("--height", mHeight, Tool_PlotOptions::cLeastHeight, options.mHeight);
        return options;
    }
    void Size(const char* iOption, const std::string& iText, Cmn_Int64 iLeast, Cmn_Int64& ioSize) const
    {
        constexpr Cmn_Int64 most = Tool_PlotOptions::cMost;
        if (App().count(iOption) == 0) return;
        if (!Tool_ParseInteger(iText, ioSize) || ioSize < iLeast || ioSize > most)
            throw Tool_UsageError(iOption + (' ' + Tool_Quoted(iText)) + ", expected " +
                                  std::to_string(iLeast) + " to " + std::to_string(most) + " pixels");
    }

    Tool_SettingsOptions mSettings;
    Tool_RangeOptions mRange;
    std::string mOutput;
    std::string mWidth;
    std::string mHeight;
};
class ExportCommand : public Tool_Subcommand
{
public:
    explicit ExportCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "export", Tool_cExportHelp)
    {
        App().add_option("-o,--output", mOutput);
        App().add_option("--division", mDivision);
    }

    Tool_Outcome Run(std::istream& iIn) const override
    {
        SMF_File file(Division());
        const Tool_Input input = Input(iIn);
        const auto document = Tool_OpenDocument(input);
        const auto report = Tool_NamingFile(input.Name(), [&] {
            const Tool_Song song(*document, {});
            return SMF_TimeMaps::Write(file, {song.GetMeterMap(), song.GetTempoMap(), song.GetKeyMap(),
                                              song.GetStartTick(), song.GetEndTick()});
        });
        std::string bytes = file.Write();
        const std::string text = Tool_RoundingText(report);
        if (App().count("-o") == 0 || mOutput == Tool_cStandardOutput)
            return {std::move(bytes), {}, text.empty() ? "" : "standard output: " + text + '\n'};
        if (input.IsSameFile(mOutput))
            throw Tool_UsageError("the MIDI file would take the place of " + Tool_Quoted(mOutput));
        Tool_WriteFile(mOutput, bytes);
        return {Tool_Printable(mOutput) + ": " + std::to_string(bytes.size()) + " bytes, " +
                    std::to_string(file.GetDivision()) + " ticks to a quarter note" +
                    (text.empty() ? "" : "; ") + text + '\n',
                {},
                {}};
    }

private:
    int Division() const
    {
        int division = cDefaultDivision;
        if (App().count("--division") > 0 &&
            (!Tool_ParseInteger(mDivision, division) || division < 1 || division > cMaxDivision))
            throw Tool_UsageError("--division " + Tool_Quoted(mDivision) + ", expected 1 to 32767");
        return division;
    }

    static constexpr int cDefaultDivision = 960;
    static constexpr int cMaxDivision = 32767;

    std::string mOutput;
    std::string mDivision;
};

} // namespace

void Tool_AddSongCommands(CLI::App& ioApp, Tool_Subcommands& ioCommands)
{
    ioCommands.push_back(std::make_unique<SongCommand>(ioApp));
    ioCommands.push_back(std::make_unique<ConvertCommand>(ioApp));
    ioCommands.push_back(std::make_unique<PlotCommand>(ioApp));
    ioCommands.push_back(std::make_unique<ExportCommand>(ioApp));
}
