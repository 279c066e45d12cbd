// The subcommand that changes a song: edit.
#include "Tool/Tool_Commands.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_EditReport.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Overwrite.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

#include <algorithm>

namespace {

enum EKind { eKind_Midi, eKind_Document };

constexpr std::pair<const char*, EKind> cEndings[] = {
    {".mid", eKind_Midi}, {".midi", eKind_Midi}, {".kora", eKind_Document}};

constexpr char cOperations[] = "Operations, done in the order given";

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
    explicit EditCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeFile("FILE", "the song, a MIDI file or a document; \"-\" for standard input");
        Parser().Take("-o,--output", mOutput, "OUT",
                      "what comes out; its ending says its kind: .mid, .midi or .kora. It may be FILE and "
                      "takes its place in one step; \"-\" is standard output");
        Parser().Take("--as", mAs, "mid|kora", "the kind for \"-\" (default: FILE's)");
        Parser().TakeFlag("--dry-run", mIsDryRun, "print what would change and write nothing");
        Parser().TakeFlag("--json", mIsJson, "print what changed as one JSON object");
        Parser().Take("--division", mDivision, "TICKS",
                      "for a MIDI file out of a document: file ticks to a quarter note (default: 960)");
        mSettings.AddTo(Parser());
        // Taken as they are met, so that their order is that of the command line.
        for (const Tool_SongEditor::Form& form : Tool_SongEditor::Forms()) {
            Parser().TakeRepeated({form.mName, form.mValues, form.mLeast, form.mMost, form.mHelp},
                                  cOperations, [this, &form](const Tool_Parser::Values& i) {
                                      mOperations.push_back({form.mName, i, {}});
                                  });
            for (const Tool_SongEditor::Modifier& modifier : Tool_SongEditor::Modifiers())
                if (std::string_view(modifier.mOf) == form.mName)
                    Parser().TakeRepeated(
                        {modifier.mName, modifier.mValue, 1, 1, modifier.mHelp}, cOperations,
                        [this, &modifier](const Tool_Parser::Values& i) { Modify(modifier, i.front()); });
        }
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        const std::optional<EKind> asked = AskedKind();
        const Tool_AskedSettings settings = mSettings.Asked();
        const Tool_Input input = Input(iConsole);
        const bool isDocument = Tool_IsDocument(input);
        const EKind kind = asked.value_or(isDocument ? eKind_Document : eKind_Midi);
        Work work = isDocument ? OpenDocument(input, settings) : OpenMidi(input, settings);
        const Cmn_Int32 division = Division(work, kind);
        if (HasOutput() && !IsToOutput() && isDocument != (kind == eKind_Document) &&
            input.IsSameFile(mOutput))
            throw Tool_UsageError("what comes out would take the place of " + Tool_Quoted(mOutput) +
                                  ", which holds more, expected another file");
        // What is edited in its own kind has what it had: a file of the edit before is replaced as it was made.
        if (HasOutput() && !IsToOutput() && isDocument != (kind == eKind_Document))
            Tool_CheckHoldsNoMore(mOutput, "what comes out");
        Tool_StWork progress("editing", input.Name(), static_cast<Cmn_Int64>(mOperations.size()));
        Tool_EditReport report(*work.mSong, input.Name());
        const Cmn_Int64 fileTick =
            kind == eKind_Midi ? (Tool_Song::cTicksPerQuarter + division - 1) / division : 1;
        Tool_SongEditor editor(*work.mSong, work.mEvents.get(), fileTick, iConsole.mIn);
        Cmn_Int64 done = 0;
        for (const Tool_EditOperation& operation : mOperations) {
            report.Add(operation, editor.Apply(operation));
            progress.At(++done);
        }
        editor.ReleaseLocks();
        const bool isSame = !report.IsChanged() && !settings.mSampleRate && !settings.mTimeCodeFormat;
        Product product = kind == eKind_Midi ? Midi(work, division) : Document(work, input, isSame);
        return Finish(work, report, std::move(product), iConsole.mOut);
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

    void Modify(const Tool_SongEditor::Modifier& iModifier, const std::string& iValue)
    {
        if (mOperations.empty() || mOperations.back().mName != iModifier.mOf)
            throw Tool_UsageError(std::string(iModifier.mName) + ' ' + Tool_Quoted(iValue) +
                                  ", expected it behind " + iModifier.mOf);
        mOperations.back().mModifiers.emplace_back(iModifier.mName, iValue);
    }

    bool HasOutput() const { return IsGiven("-o"); }
    bool IsToOutput() const { return mOutput == Tool_cStandardOutput; }

    std::optional<EKind> AskedKind() const
    {
        std::optional<EKind> kind;
        if (IsGiven("--as")) {
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
            throw Tool_UsageError("--as " + Tool_Quoted(mAs) + " for " + Tool_Quoted(mOutput) +
                                  ", expected what its ending says");
        return ending;
    }

    Cmn_Int32 Division(const Work& iWork, EKind iKind) const
    {
        constexpr Cmn_Int32 cDefault = 960, cMost = 32767;
        Cmn_Int32 division = iWork.mEvents ? iWork.mDivision : cDefault;
        if (!IsGiven("--division")) return division;
        if (iWork.mEvents || iKind != eKind_Midi)
            throw Tool_UsageError("--division " + Tool_Quoted(mDivision) +
                                  ", expected none: it is for a MIDI file out of a document");
        if (!Tool_ParseInteger(mDivision, division) || division < 1 || division > cMost)
            throw Tool_UsageError("--division " + Tool_Quoted(mDivision) + ", expected 1 to 32767");
        return division;
    }

    static Work OpenMidi(const Tool_Input& iInput, const Tool_AskedSettings& iAsked)
    {
        const Tool_StWork reading("reading", iInput.Name());
        const Tool_MidiFile midi = Tool_MidiFile::Parse(iInput.ReadAll(), iInput.Name());
        Work work;
        work.mSong = std::make_unique<Tool_Song>(midi, iAsked.Over({}));
        work.mEvents = std::make_unique<SMF_TimeEdit>(midi.GetFile());
        work.mDivision = midi.GetFile().GetDivision();
        return work;
    }

    static Work OpenDocument(const Tool_Input& iInput, const Tool_AskedSettings& iAsked)
    {
        const Tool_StWork reading("reading", iInput.Name());
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

    Tool_Outcome Finish(const Work& iWork, const Tool_EditReport& iReport, Product iProduct,
                        Tool_Style iStyle) const
    {
        const Tool_Song& song = *iWork.mSong;
        if (mIsDryRun)
            return {mIsJson ? iReport.Json(song, {}, iProduct.mNotes)
                            : iReport.Table(song, iProduct.mNotes, iStyle),
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

std::unique_ptr<Tool_Subcommand> Tool_MakeEditCommand(Tool_Parser& ioParser)
{
    return std::make_unique<EditCommand>(ioParser);
}
