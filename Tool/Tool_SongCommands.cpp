// The subcommands that show a song or put it into another form: song, convert, plot, export.
#include "Tool/Tool_Commands.h"
#include "Tool/Tool_Convert.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_EditText.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Overwrite.h"
#include "Tool/Tool_Plot.h"
#include "Tool/Tool_Png.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_RangeOptions.h"
#include "Tool/Tool_SongReport.h"
#include "Tool/Tool_StandardInput.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

namespace {

constexpr char cDefaultMapsName[] = "-";
constexpr char cInputName[] = "standard input";

class SongCommand : public Tool_Subcommand
{
public:
    explicit SongCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeFile("FILE", "standard MIDI file, format 0 or 1, with a division in ticks to a quarter note, or "
                         "a document; the file's bytes say which; \"-\" for standard input");
        mSettings.AddTo(Parser(), Tool_SettingsOptions::eTold_InFull);
        Parser().TakeFlag("--json", mIsJson, "print one JSON object instead of the table");
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iConsole);
        const std::shared_ptr<const Tool_Song> song = Tool_Song::Load(input, asked);
        return {{},
                {},
                {},
                [song, name = input.Name(), isJson = mIsJson, style = iConsole.mOut](std::ostream& oOut) {
                    const Tool_SongReport report(*song, name);
                    isJson ? report.WriteJson(oOut) : report.WriteTable(oOut, style);
                }};
    }

private:
    Tool_SettingsOptions mSettings;
    bool mIsJson = false;
};

class ConvertCommand : public Tool_Subcommand
{
public:
    explicit ConvertCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeFile("FILE", "the song whose tempo and meter hold, as for \"kora song\", a file or a pipe other "
                         "than standard input; \"-\" stands for 120 beats a minute in 4/4 throughout");
        Parser().Need("--from", mFrom, "UNIT", "unit of the positions read");
        Parser().Need("--to", mTo, "UNIT,...", "units to print, in this order");
        mSettings.AddTo(Parser());
        Parser().Take("--film-rate", mFilmRate, "FPS", "frames of film a second, 1 to 1000 (default: 24)");
        Parser().Take("--film-offset", mFilmOffset, "N", "the frame of film at sample 0 (default: 0)");
        Parser().Take("--gauge", mGauge, "35|16",
                      "film with 16 frames a foot (35 mm, the default) or 40 (16 mm)");
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
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
        const std::shared_ptr<const Tool_Song> song = Song(asked, iConsole);
        if (iConsole.mIsTyped) Tool_Progress::StopCurrent();
        return {{}, {}, {}, [song, from, to, gauge, &in = iConsole.mIn](std::ostream& oOut) {
                    Tool_ConvertStream(*song, in, cInputName, from, to, oOut, gauge);
                }};
    }

private:
    std::unique_ptr<const Tool_Song> Song(const Tool_AskedSettings& iAsked,
                                          const Tool_Console& iConsole) const
    {
        if (FileName() == cDefaultMapsName) return std::make_unique<Tool_Song>(iAsked.Over({}));
        if (Tool_IsOther(FileName()) && Tool_IsStandardInput(FileName()))
            throw Tool_UsageError("standard input holds the positions, expected the song in another file");
        return Tool_Song::Load(Input(iConsole), iAsked);
    }

    // Rate and offset become the process's.
    Time_EFilmGauge Film() const
    {
        double rate = cDefaultFilmRate;
        Cmn_Int32 offset = 0;
        if (IsGiven("--film-rate") && (!Tool_ParseNumber(mFilmRate, rate) || rate < 1 || rate > 1000))
            throw Tool_UsageError("--film-rate " + Tool_Quoted(mFilmRate) +
                                  ", expected 1 to 1000 frames a second");
        if (IsGiven("--film-offset") && !Tool_ParseInteger(mFilmOffset, offset))
            throw Tool_UsageError("--film-offset " + Tool_Quoted(mFilmOffset) +
                                  ", expected a whole number of frames");
        if (IsGiven("--gauge") && mGauge != "35" && mGauge != "16")
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
    explicit PlotCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeSong();
        Parser().Take("-o,--output", mOutput, "OUT",
                      "write the picture there instead of printing it; a file of that name is replaced once "
                      "the picture is complete; \"-\" prints it; a name that ends in .png is a PNG picture "
                      "where the program rsvg-convert is there to make it (Linux)");
        mRange.AddTo(
            Parser(),
            "where the picture begins, in positions as for \"kora edit\" (default: the song's start)",
            "where it ends (default: the song's end)");
        Parser().Take(
            "--width", mWidth, "PX",
            "320 to 16000 pixels (default: 960); a narrow picture shows fewer labels, in letters as large");
        Parser().Take("--height", mHeight, "PX", "300 to 16000 pixels (default: 432)");
        mSettings.AddTo(Parser());
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        Tool_CheckEnding(mOutput, {".pdf", ".jpg", ".jpeg", ".gif"}, ".svg or .png");
        const Tool_AskedSettings asked = mSettings.Asked();
        const Tool_Input input = Input(iConsole);
        const auto song = Tool_Song::Load(input, asked);
        const Tool_StWork work("drawing", input.Name());
        std::string svg = Tool_Plot(*song, Tool_BaseName(input.Name()), Options(*song, input.Name()));
        if (!IsGiven("-o") || mOutput == Tool_cStandardOutput) return {std::move(svg), {}, {}};
        Tool_CheckOverwrite(input, mOutput, "the picture");
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
        if (!IsGiven(iOption)) return;
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
    explicit ExportCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeFile("FILE.kora", "the document; \"-\" for standard input");
        Parser().Take("-o,--output", mOutput, "OUT.mid",
                      "the MIDI file, which takes the place of one that is there; without it, or for \"-\", "
                      "standard output");
        Parser().Take("--division", mDivision, "TICKS",
                      "file ticks to a quarter note, 1 to 32767 (default: 960)");
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        SMF_File file(Division());
        const Tool_Input input = Input(iConsole);
        const Tool_StWork work("exporting", input.Name());
        const auto document = Tool_OpenDocument(input);
        const auto report = Tool_NamingFile(input.Name(), [&] {
            const Tool_Song song(*document, {});
            return SMF_TimeMaps::Write(file, {song.GetMeterMap(), song.GetTempoMap(), song.GetKeyMap(),
                                              song.GetStartTick(), song.GetEndTick()});
        });
        std::string bytes = file.Write();
        const std::string text = Tool_RoundingText(report);
        if (!IsGiven("-o") || mOutput == Tool_cStandardOutput)
            return {std::move(bytes), {}, text.empty() ? "" : "standard output: " + text + '\n'};
        Tool_CheckOverwrite(input, mOutput, "the MIDI file");
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
        if (IsGiven("--division") &&
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

std::unique_ptr<Tool_Subcommand> Tool_MakeSongCommand(Tool_Parser& ioParser)
{
    return std::make_unique<SongCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakeConvertCommand(Tool_Parser& ioParser)
{
    return std::make_unique<ConvertCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakePlotCommand(Tool_Parser& ioParser)
{
    return std::make_unique<PlotCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakeExportCommand(Tool_Parser& ioParser)
{
    return std::make_unique<ExportCommand>(ioParser);
}
