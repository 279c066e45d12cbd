// The subcommand that changes a song: edit.
#include "Tool/Tool_Document.h"
#include "Tool/Tool_EditReport.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace {

enum EKind { eKind_Midi, eKind_Document };

constexpr std::pair<const char*, EKind> cEndings[] = {
    {".mid", eKind_Midi}, {".midi", eKind_Midi}, {".kora", eKind_Document}};

// What stands behind an operation and belongs to it.
constexpr std::pair<const char*, const char*> cModifiers[] = {
    {"--curve", "--ramp"}, {"--steps", "--ramp"}, {"--tolerance", "--beats"}};

std::optional<EKind> KindOfEnding(const std::string& iName)
{
    std::string name = iName;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    for (const auto& [ending, kind] : cEndings)
        if (name.ends_with(ending)) return kind;
    return std::nullopt;
}

class EditCommand : public Tool_Subcommand
{
public:
    explicit EditCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "edit", Tool_cEditHelp)
        , mSettings(App())
    {
        App().add_option("-o,--output", mOutput);
        App().add_option("--as", mAs);
        App().add_option("--division", mDivision);
        App().add_flag("--dry-run", mIsDryRun);
        App().add_flag("--json", mIsJson);
        // Called as they are met, so that their order is that of the command line.
        using Arguments = std::vector<std::string>;
        for (const Tool_SongEditor::Form& form : Tool_SongEditor::Forms())
            App()
                .add_option_function<Arguments>(form.mName,
                                                [this, &form](const Arguments& i) {
                                                    mOperations.push_back({form.mName, i, {}});
                                                })
                ->expected(form.mLeast, form.mMost)
                ->trigger_on_parse();
        for (const auto& modifier : cModifiers)
            App()
                .add_option_function<std::string>(
                    modifier.first, [this, &modifier](const std::string& i) { Modify(modifier, i); })
                ->trigger_on_parse();
    }

    Tool_Outcome Run(std::istream& iIn) const override
    {
        const std::optional<EKind> asked = AskedKind();
        const Tool_AskedSettings settings = mSettings.Asked();
        const Tool_Input input = Input(iIn);
        const bool isDocument = Tool_IsDocument(input);
        const EKind kind = asked.value_or(isDocument ? eKind_Document : eKind_Midi);
        Work work = isDocument ? OpenDocument(input, settings) : OpenMidi(input, settings);
        const Cmn_Int32 division = Division(work, kind);
        if (HasOutput() && !IsToOutput() && isDocument != (kind == eKind_Document) &&
            input.IsSameFile(mOutput))
            throw Tool_UsageError("what comes out would take the place of " + Tool_Quoted(mOutput) +
                                  ", which holds more, expected another file");
        Tool_EditReport report(*work.mSong, input.Name());
        const Cmn_Int64 fileTick =
            kind == eKind_Midi ? (Tool_Song::cTicksPerQuarter + division - 1) / division : 1;
        Tool_SongEditor editor(*work.mSong, work.mEvents.get(), fileTick, iIn);
        for (const Tool_EditOperation& operation : mOperations)
            report.Add(operation, editor.Apply(operation));
        editor.ReleaseLocks();
        const bool isSame = !report.IsChanged() && !settings.mSampleRate && !settings.mTimeCodeFormat;
        Product product = kind == eKind_Midi ? Midi(work, division) : Document(work, input, isSame);
        return Finish(work, report, std::move(product));
    }

private:
    // What is edited: one of them holds what the file has beside its song.
    struct Work
    {
        std::unique_ptr<Tool_Song> mSong;
        std::unique_ptr<SMF_TimeEdit> mEvents;
        Cmn_Int32 mDivision = 0; // of a MIDI file
        EFF_EncryptionType mScrambling = eFF_EncryptionType_None;
        Cmn_Int32 mOtherEntries = 0;
    };
    // What comes out. A document of nothing but a song has no bytes yet: it is saved, or made for a pipe.
    struct Product
    {
        std::optional<std::string> mBytes;
        std::string mText;  // "960 ticks to a quarter note"
        std::string mNotes; // what did not fit
    };

    void Modify(const std::pair<const char*, const char*>& iModifier, const std::string& iValue)
    {
        const auto& [name, operation] = iModifier;
        if (mOperations.empty() || mOperations.back().mName != operation)
            throw CLI::ValidationError(std::string(name) + ' ' + iValue + ": expected it behind " +
                                       operation);
        mOperations.back().mModifiers.emplace_back(name, iValue);
    }

    bool HasOutput() const { return App().count("-o") > 0; }
    bool IsToOutput() const { return mOutput == Tool_cStandardOutput; }

    std::optional<EKind> AskedKind() const
    {
        std::optional<EKind> kind;
        if (App().count("--as") > 0) {
            kind = mAs == "mid"    ? std::optional(eKind_Midi)
                   : mAs == "kora" ? std::optional(eKind_Document)
                                   : kind;
            if (!kind) throw Tool_UsageError("--as " + Tool_Quoted(mAs) + ", expected mid or kora");
        }
        if (!HasOutput() && !mIsDryRun)
            throw Tool_UsageError("nowhere to write to, expected -o OUT, -o - or --dry-run");
        if (!HasOutput() || IsToOutput()) return kind;
        const std::optional<EKind> ending = KindOfEnding(mOutput);
        if (!ending)
            throw Tool_UsageError("-o " + Tool_Quoted(mOutput) + ", expected a name in .mid, .midi or .kora");
        if (kind && kind != ending)
            throw Tool_UsageError("--as " + mAs + " for " + Tool_Quoted(mOutput) +
                                  ", expected what its ending says");
        return ending;
    }

    Cmn_Int32 Division(const Work& iWork, EKind iKind) const
    {
        constexpr Cmn_Int32 cDefault = 960, cMost = 32767;
        Cmn_Int32 division = iWork.mEvents ? iWork.mDivision : cDefault;
        if (App().count("--division") == 0) return division;
        if (iWork.mEvents || iKind != eKind_Midi)
            throw Tool_UsageError("--division is for a MIDI file out of a document, a file's own stays");
        if (!Tool_ParseInteger(mDivision, division) || division < 1 || division > cMost)
            throw Tool_UsageError("--division " + Tool_Quoted(mDivision) + ", expected 1 to 32767");
        return division;
    }

    static Work OpenMidi(const Tool_Input& iInput, const Tool_AskedSettings& iAsked)
    {
        const Tool_MidiFile midi = Tool_MidiFile::Parse(iInput.ReadAll(), iInput.Name());
        Work work;
        work.mSong = std::make_unique<Tool_Song>(midi, iAsked.Over({}));
        work.mEvents = std::make_unique<SMF_TimeEdit>(midi.GetFile());
        work.mDivision = midi.GetFile().GetDivision();
        return work;
    }

    static Work OpenDocument(const Tool_Input& iInput, const Tool_AskedSettings& iAsked)
    {
        const auto document = Tool_OpenDocument(iInput);
        return Tool_NamingFile(iInput.Name(), [&] {
            Work work;
            work.mSong = std::make_unique<Tool_Song>(*document, iAsked);
            work.mScrambling = document->GetEncryptionType();
            work.mOtherEntries = Tool_CountOtherEntries(*document);
            return work;
        });
    }

    static Product Midi(const Work& iWork, Cmn_Int32 iDivision)
    {
        SMF_File file = iWork.mEvents ? iWork.mEvents->GetFile() : SMF_File(iDivision);
        const Tool_Song& song = *iWork.mSong;
        const auto report = Tool_MidiFile::Naming("the edited song", [&] {
            return SMF_TimeMaps::Write(file, {song.GetMeterMap(), song.GetTempoMap(), song.GetKeyMap(),
                                              song.GetStartTick(), song.GetEndTick()});
        });
        return {file.Write(), std::to_string(iDivision) + " ticks to a quarter note",
                Tool_RoundingText(report)};
    }

    static Product Document(const Work& iWork, const Tool_Input& iInput, bool iIsSame)
    {
        const std::string scrambling = Tool_ScramblingText(iWork.mScrambling);
        if (iWork.mEvents)
            return {{}, scrambling, "the notes and all events but tempi, meters and keys are left out"};
        if (iIsSame) return {iInput.ReadAll(), scrambling, {}};
        if (iWork.mOtherEntries == 0) return {{}, scrambling, {}};
        return {Tool_NamingFile(iInput.Name(), [&] { return Tool_WithSong(iInput.ReadAll(), *iWork.mSong); }),
                scrambling,
                {}};
    }

    Tool_Outcome Finish(const Work& iWork, const Tool_EditReport& iReport, Product iProduct) const
    {
        const Tool_Song& song = *iWork.mSong;
        if (mIsDryRun)
            return {mIsJson ? iReport.Json(song, {}, iProduct.mNotes) : iReport.Table(song, iProduct.mNotes),
                    {},
                    {}};
        const std::string json = mIsJson ? iReport.Json(song, mOutput, iProduct.mNotes) : "";
        const std::string notes = iProduct.mNotes.empty() ? "" : "; " + iProduct.mNotes;
        if (IsToOutput()) {
            const std::string told = notes + iReport.Notes();
            std::string bytes =
                iProduct.mBytes ? std::move(*iProduct.mBytes) : Tool_SongBytes(song, iWork.mScrambling);
            return {std::move(bytes),
                    {},
                    mIsJson        ? json
                    : told.empty() ? ""
                                   : "standard output: " + told.substr(2) + '\n'};
        }
        std::string text = iProduct.mText;
        if (iProduct.mBytes) {
            text = std::to_string(iProduct.mBytes->size()) + " bytes, " + text;
            if (KindOfEnding(mOutput) == eKind_Document) Tool_CheckPlainFile(mOutput);
            Tool_WriteFile(mOutput, *iProduct.mBytes);
        } else {
            Tool_CheckPlainFile(mOutput);
            text = Tool_SaveSong(song, mOutput, iWork.mScrambling);
        }
        return {mIsJson ? json : Tool_Printable(mOutput) + ": " + text + notes + '\n' + iReport.Operations(),
                {},
                {}};
    }

    Tool_SettingsOptions mSettings;
    std::string mOutput;
    std::string mAs;
    std::string mDivision;
    bool mIsDryRun = false;
    bool mIsJson = false;
    std::vector<Tool_EditOperation> mOperations;
};

} // namespace

void Tool_AddEditCommand(CLI::App& ioApp, Tool_Subcommands& ioCommands)
{
    ioCommands.push_back(std::make_unique<EditCommand>(ioApp));
}
