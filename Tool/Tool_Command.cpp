#include "Tool/Tool_Command.h"

#include "Kora/Kora_Init.h"
#include "Tool/Tool_Convert.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_SongReport.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <iostream>
#include <new>

namespace {
constexpr char cDefaultMapsName[] = "-";
constexpr char cInputName[] = "stdin";

struct UsageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// One subcommand: its arguments as text, and what it makes of them.
class Subcommand
{
public:
    Subcommand(CLI::App& ioApp, const char* iName, const char* iHelp)
        : mHelp(iHelp)
        , mApp(ioApp.add_subcommand(iName))
    {
        mApp->add_option("file", mFile)->required();
        mApp->add_option("--rate", mRate);
        mApp->add_option("--timecode", mTimecode);
    }
    virtual ~Subcommand() = default;
    Subcommand(const Subcommand&) = delete;
    Subcommand& operator=(const Subcommand&) = delete;

    std::string Name() const { return mApp->get_name(); }
    bool IsChosen() const { return mApp->parsed(); }
    const char* Help() const { return mHelp; }

    // The whole output; throws UsageError or Tool_InputError.
    virtual std::string Run(std::istream& iIn) const = 0;

protected:
    CLI::App& App() { return *mApp; }
    const std::string& FileName() const { return mFile; }

    Tool_Settings Settings() const
    {
        Tool_Settings settings;
        if (mApp->count("--rate") > 0 && !Tool_ParseRate(mRate, settings.mSampleRate))
            throw UsageError("--rate " + Tool_Quoted(mRate) + ", expected 1000 to 768000 Hz");
        if (mApp->count("--timecode") > 0 && !Tool_ParseTimeCodeFormat(mTimecode, settings.mTimeCodeFormat))
            throw UsageError("--timecode " + Tool_Quoted(mTimecode) + ", expected one of " +
                             Tool_TimeCodeFormatNames());
        return settings;
    }

    static Tool_MidiFile ReadMidiFile(const std::string& iName)
    {
        return Tool_MidiFile::Parse(Tool_ReadFile(iName), iName);
    }

private:
    const char* mHelp;
    CLI::App* mApp;
    std::string mFile;
    std::string mRate;
    std::string mTimecode;
};

class SongCommand : public Subcommand
{
public:
    explicit SongCommand(CLI::App& ioApp)
        : Subcommand(ioApp, "song", Tool_cSongHelp)
    {
        App().add_flag("--json", mIsJson);
    }

    std::string Run(std::istream&) const override
    {
        const Tool_Settings settings = Settings();
        const Tool_Song song(ReadMidiFile(FileName()), settings);
        const Tool_SongReport report(song, FileName());
        return mIsJson ? report.Json() : report.Table();
    }

private:
    bool mIsJson = false;
};

class ConvertCommand : public Subcommand
{
public:
    explicit ConvertCommand(CLI::App& ioApp)
        : Subcommand(ioApp, "convert", Tool_cConvertHelp)
    {
        App().add_option("--from", mFrom)->required();
        App().add_option("--to", mTo)->required();
    }

    std::string Run(std::istream& iIn) const override
    {
        Tool_EUnit from;
        if (!Tool_ParseUnit(mFrom, from))
            throw UsageError("--from " + Tool_Quoted(mFrom) + ", expected one of " + Tool_UnitNames());
        std::vector<Tool_EUnit> to;
        if (!Tool_ParseUnits(mTo, to))
            throw UsageError("--to " + Tool_Quoted(mTo) + ", expected some of " + Tool_UnitNames() +
                             ", separated by commas");
        const Tool_Settings settings = Settings();
        if (FileName() == cDefaultMapsName)
            return Tool_Convert(Tool_Song(settings), Tool_ReadAll(iIn), cInputName, from, to);
        const Tool_Song song(ReadMidiFile(FileName()), settings);
        return Tool_Convert(song, Tool_ReadAll(iIn), cInputName, from, to);
    }

private:
    std::string mFrom;
    std::string mTo;
};

// The command's whole output.
std::string Output(const std::vector<std::string>& iArguments, std::istream& iIn)
{
    CLI::App app;
    app.allow_windows_style_options(false); // "/home/song.mid" is a file on every platform
    app.set_version_flag("--version", std::string("kora ") + KORA_VERSION);
    app.require_subcommand(1);
    const SongCommand song(app);
    const ConvertCommand convert(app);
    const std::array<const Subcommand*, 2> all = {&song, &convert};
    const auto find = [&](auto iHolds) {
        const auto found = std::find_if(all.begin(), all.end(), iHolds);
        return found == all.end() ? nullptr : *found;
    };
    const auto chosen = [&] { return find([](const Subcommand* s) { return s->IsChosen(); }); };
    const std::string first = iArguments.empty() ? "" : iArguments.front();
    if (first.substr(0, 1) != "-" && !find([&](const Subcommand* s) { return s->Name() == first; }))
        throw UsageError(Tool_Quoted(first) + " is no subcommand, expected song or convert");
    try {
        app.parse(std::vector<std::string>(iArguments.rbegin(), iArguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return chosen() ? chosen()->Help() : Tool_cHelp;
    } catch (const CLI::CallForVersion& version) {
        return std::string(version.what()) + '\n';
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    return chosen()->Run(iIn);
}

Tool_EExit Complain(std::ostream& oErr, std::string iText, Tool_EExit iExit)
{
    std::replace(iText.begin(), iText.end(), '\n', ' ');
    oErr << "kora: " << iText << '\n' << std::flush;
    return iExit;
}
} // namespace

Tool_EExit Tool_RunCommand(const std::vector<std::string>& iArguments, std::istream& iIn, std::ostream& oOut,
                           std::ostream& oErr)
try {
    const std::string output = Output(iArguments, iIn);
    oOut.write(output.data(), static_cast<std::streamsize>(output.size()));
    oOut.flush();
    if (!oOut) return Complain(oErr, "the output cannot be written", Tool_eExit_BadInput);
    return Tool_eExit_Good;
} catch (const UsageError& error) {
    return Complain(oErr, std::string(error.what()) + " (\"kora --help\" shows the usage)",
                    Tool_eExit_WrongUsage);
} catch (const Tool_InputError& error) {
    return Complain(oErr, error.what(), Tool_eExit_BadInput);
} catch (const std::bad_alloc&) {
    return Complain(oErr, "the input needs more memory than there is", Tool_eExit_BadInput);
}

int Tool_Main(const std::vector<std::string>& iArguments)
{
    std::ios::sync_with_stdio(false);
    Kora_Init::Init();
    const Tool_EExit exit = Tool_RunCommand(iArguments, std::cin, std::cout, std::cerr);
    Kora_Init::Free();
    return exit;
}
