// The subcommands for documents: save, info, check, repair, xml.
#include "Bastel/Cmn/Cmn_CountText.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"
#include "Tool/Tool_Commands.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_DocumentReport.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Overwrite.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_Song.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"
#include "Tool/Tool_Xml.h"

#include <algorithm>
#include <ostream>

namespace {

std::string FaultText(const FF_Fault& iFault)
{
    return "byte " + std::to_string(iFault.mOffset) + ": " + Tool_Printable(iFault.mText);
}

class SaveCommand : public Tool_Subcommand
{
public:
    explicit SaveCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeFile("FILE", "the song, as for \"kora song\"; from a document this is how it gets another "
                         "scrambling or other settings");
        Parser().Need("output", mOutput, "OUT.kora",
                      "the document; one of that name is replaced in one step, once the new one is safely on "
                      "the disk; \"-\" writes the document to standard output and prints nothing else, "
                      "unless something is left out: that goes to the error stream");
        Parser().Take("--scramble", mScramble, "TYPE",
                      "0 for plain bytes (default), 1 to 5 for the masks that documents may have");
        mSettings.AddTo(Parser(), Tool_SettingsOptions::eTold_AsKept);
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        const EFF_EncryptionType type = Type();
        const Tool_AskedSettings asked = mSettings.Asked();
        const bool isToOutput = mOutput == Tool_cStandardOutput;
        if (Tool_EndsIn(mOutput, ".mid") || Tool_EndsIn(mOutput, ".midi"))
            throw Tool_UsageError("OUT.kora " + Tool_Quoted(mOutput) +
                                  ", expected the name of a document; \"kora export\" writes MIDI files");
        std::unique_ptr<const Tool_Song> song;
        Cmn_Int32 others = 0;
        {
            const Tool_Input input = Input(iConsole);
            song = Tool_Song::Load(input, asked);
            const bool isDocument = Tool_IsDocument(input);
            if (isDocument) others = Tool_CountOtherEntries(*Tool_OpenDocument(input));
            if (!isToOutput && (!isDocument || others > 0) && input.IsSameFile(mOutput))
                throw Tool_UsageError("a song saved over " + Tool_Quoted(mOutput) + " would lose " +
                                      (isDocument ? "what else is in it" : "its notes") +
                                      ", expected another file");
        }
        const std::string left =
            others == 0 ? ""
                        : "; left out of it: " + Cmn_CountText(others, "entry that is", "entries that are") +
                              " no part of a song";
        const Tool_StWork work("saving", isToOutput ? std::string() : mOutput);
        if (isToOutput) {
            std::string bytes = Tool_SongBytes(*song, type);
            const std::string report =
                "standard output: " + Cmn_CountText(static_cast<Cmn_Int64>(bytes.size()), "byte");
            return {std::move(bytes), {}, others == 0 ? "" : report + left + '\n'};
        }
        Tool_CheckPlainFile(mOutput);
        if (!Tool_IsSameFile(FileName(), mOutput)) Tool_CheckHoldsNoMore(mOutput, "the document");
        return {Tool_Printable(mOutput) + ": " + Tool_SaveSong(*song, mOutput, type) + left + '\n', {}, {}};
    }

private:
    EFF_EncryptionType Type() const
    {
        int type = eFF_EncryptionType_None;
        if (IsGiven("--scramble") && (!Tool_ParseInteger(mScramble, type) || type < eFF_EncryptionType_None ||
                                      type > eFF_EncryptionType_Block93))
            throw Tool_UsageError("--scramble " + Tool_Quoted(mScramble) + ", expected 0 to 5");
        return static_cast<EFF_EncryptionType>(type);
    }

    Tool_SettingsOptions mSettings;
    std::string mOutput;
    std::string mScramble;
};

class InfoCommand : public Tool_Subcommand
{
public:
    explicit InfoCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeFile("FILE.kora", "the document; \"-\" for standard input");
        Parser().TakeFlag("--json", mIsJson, "print one JSON object instead of the table");
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        struct Opened
        {
            Tool_Input mInput;
            std::unique_ptr<FF_Document> mDocument;
        };
        const std::shared_ptr<Opened> opened(new Opened{Input(iConsole), nullptr});
        opened->mDocument = Tool_OpenDocument(opened->mInput);
        const auto write = [opened, isJson = mIsJson, style = iConsole.mOut](std::ostream& oOut) {
            Tool_NamingFile(opened->mInput.Name(), [&] {
                const Tool_DocumentReport report(*opened->mDocument, opened->mInput.Name());
                if (isJson)
                    report.WriteJson(oOut);
                else
                    oOut << report.Table(style);
            });
        };
        return {{}, {}, {}, write};
    }

private:
    bool mIsJson = false;
};

class CheckCommand : public Tool_Subcommand
{
public:
    explicit CheckCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        Parser().Need("files", mFiles, "FILE.kora...", "one document or several; \"-\" for standard input");
        Parser().TakeFlag("--all", mIsAll,
                          "print every fault, one a line, in the order of the file; of several files with "
                          "\"FILE: \" in front");
    }

    // A file that cannot be checked is as bad as one with faults: the others are checked all the same.
    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        Tool_Outcome outcome;
        for (const std::string& file : mFiles)
            try {
                CheckFile(Tool_Input(file, iConsole.mIn), outcome);
            } catch (const Tool_InputError& error) {
                outcome.mComplaints.emplace_back(error.what());
            } catch (const Cmn_Exception& error) {
                outcome.mComplaints.push_back(error.Describe());
            }
        return outcome;
    }

private:
    void CheckFile(const Tool_Input& iInput, Tool_Outcome& ioOutcome) const
    {
        Tool_RefuseMidi(iInput);
        const std::string name = Tool_Printable(iInput.Name()) + ": ";
        const Tool_StWork work("checking", iInput.Name());
        const std::vector<FF_Fault> faults = FF_DocumentCheck::Check(iInput.Location());
        if (faults.empty()) {
            const auto document = Tool_OpenDocument(iInput);
            const auto all = FF_DocumentCheck::ListStreams(*document);
            const auto streams = std::count_if(all.begin(), all.end(), [](const FF_StreamInfo& s) {
                return s.mStreamType != FF_Document::cNoStreamType; // not the objects inside them
            });
            ioOutcome.mText += name + "good, " + Cmn_CountText(streams, "stream") + '\n';
            return;
        }
        std::string complaint = name + FaultText(faults.front());
        if (faults.size() > 1)
            complaint += "; and " + Cmn_CountText(static_cast<Cmn_Int64>(faults.size()) - 1, "more fault") +
                         (mIsAll ? "" : " (--all)");
        ioOutcome.mComplaints.push_back(std::move(complaint));
        for (const FF_Fault& fault : faults)
            if (mIsAll) ioOutcome.mText += (mFiles.size() > 1 ? name : "") + FaultText(fault) + '\n';
    }

    std::vector<std::string> mFiles;
    bool mIsAll = false;
};

class RepairCommand : public Tool_Subcommand
{
public:
    explicit RepairCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeFile("FILE.kora", "the damaged document, which stays as it is; \"-\" for standard input");
        Parser().Need("output", mOutput, "OUT.kora",
                      "the new one; must be another file, which is replaced in one step");
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        if (mOutput == Tool_cStandardOutput)
            throw Tool_UsageError(
                "the output is for what repair has to tell, expected a file for the document");
        const Tool_Input input = Input(iConsole);
        if (input.IsSameFile(mOutput))
            throw Tool_UsageError("the repaired document would take the place of " + Tool_Quoted(mOutput) +
                                  ", expected another file");
        Tool_RefuseMidi(input);
        Tool_CheckPlainFile(mOutput);
        // What comes out of a file without a stream is not put in the place of anything.
        const Tool_StWork work("repairing", input.Name());
        const auto report = Tool_NamingFile(input.Name(), [&] {
            return FF_DocumentRepair::Repair(input.Location(), Sys_FileLoc(mOutput), false);
        });
        Tool_Outcome outcome{Text(report), {}, {}};
        if (report.mStreams.empty())
            outcome.mComplaints.push_back(Tool_Printable(input.Name()) +
                                          ": no stream was found, nothing was written");
        return outcome;
    }

private:
    std::string Text(const FF_DocumentRepair::Report& iReport) const
    {
        std::string text =
            Tool_Printable(mOutput) + ": " + Cmn_CountText(iReport.mRecovered, "stream") + " recovered, " +
            (iReport.mHadTOC ? "with an old table of contents" : "without a table of contents") +
            (iReport.mWithoutDescription == 0
                 ? std::string()
                 : ", " + std::to_string(iReport.mWithoutDescription) + " of them without a description") +
            '\n';
        for (const FF_Fault& fault : iReport.mHeader)
            text += "header, " + FaultText(fault) + '\n';
        for (const FF_Fault& fault : iReport.mLost)
            text += "lost, " + FaultText(fault) + '\n';
        return text;
    }

    std::string mOutput;
};

class XmlCommand : public Tool_Subcommand
{
public:
    explicit XmlCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        TakeSong();
        mSettings.AddTo(Parser());
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        const Tool_AskedSettings asked = mSettings.Asked();
        const std::shared_ptr<const Tool_Song> song = Tool_Song::Load(Input(iConsole), asked);
        return {{}, {}, {}, [song](std::ostream& oOut) { Tool_WriteXml(*song, oOut); }};
    }

private:
    Tool_SettingsOptions mSettings;
};

} // namespace

std::unique_ptr<Tool_Subcommand> Tool_MakeSaveCommand(Tool_Parser& ioParser)
{
    return std::make_unique<SaveCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakeInfoCommand(Tool_Parser& ioParser)
{
    return std::make_unique<InfoCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakeCheckCommand(Tool_Parser& ioParser)
{
    return std::make_unique<CheckCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakeRepairCommand(Tool_Parser& ioParser)
{
    return std::make_unique<RepairCommand>(ioParser);
}
std::unique_ptr<Tool_Subcommand> Tool_MakeXmlCommand(Tool_Parser& ioParser)
{
    return std::make_unique<XmlCommand>(ioParser);
}
