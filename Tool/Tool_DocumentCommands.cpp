// The subcommands for documents: save, info, check, repair, xml.
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/FF/FF_DocumentCheck.h"
#include "Kora/FF/FF_DocumentRepair.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_DocumentReport.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Song.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace {
std::string Count(Cmn_Int64 iCount, const char* iNoun)
{
    return std::to_string(iCount) + ' ' + iNoun + (iCount == 1 ? "" : "s");
}

std::string FaultText(const FF_Fault& iFault)
{
    return "byte " + std::to_string(iFault.offset) + ": " + Tool_Printable(iFault.text);
}

class SaveCommand : public Tool_Subcommand
{
public:
    explicit SaveCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "save", Tool_cSaveHelp)
        , mSettings(App())
    {
        App().add_option("output", mOutput)->required();
        App().add_option("--scramble", mScramble);
    }

    Tool_Outcome Run(std::istream&) const override
    {
        const EFF_EncryptionType type = Type();
        const auto song = Tool_Song::Load(FileName(), mSettings.Asked());
        const bool isDocument = Tool_IsDocument(FileName());
        const Cmn_Int32 others = isDocument ? Tool_CountOtherEntries(*Tool_OpenDocument(FileName())) : 0;
        if ((!isDocument || others > 0) && Tool_IsSameFile(FileName(), mOutput))
            throw Tool_UsageError("a song saved over " + Tool_Quoted(FileName()) + " would lose " +
                                  (isDocument ? "what else is in it" : "its notes") +
                                  ", expected another file");
        Tool_CheckPlainFile(mOutput);
        std::string line = Tool_Printable(mOutput) + ": " + Tool_SaveSong(*song, mOutput, type);
        if (others > 0)
            line += "; left out of it: " +
                    (others == 1 ? "1 entry that is" : std::to_string(others) + " entries that are") +
                    " no part of a song";
        return {line + '\n', {}};
    }

private:
    EFF_EncryptionType Type() const
    {
        int type = eFF_EncryptionType_None;
        if (App().count("--scramble") > 0 &&
            (!Tool_ParseInteger(mScramble, type) || type < eFF_EncryptionType_None ||
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
    explicit InfoCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "info", Tool_cInfoHelp)
    {
        App().add_flag("--json", mIsJson);
    }

    Tool_Outcome Run(std::istream&) const override
    {
        const auto document = Tool_OpenDocument(FileName());
        const auto report =
            Tool_NamingFile(FileName(), [&] { return Tool_DocumentReport(*document, FileName()); });
        return {mIsJson ? report.Json() : report.Table(), {}};
    }

private:
    bool mIsJson = false;
};

class CheckCommand : public Tool_Subcommand
{
public:
    explicit CheckCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "check", Tool_cCheckHelp)
    {
        App().add_flag("--all", mIsAll);
    }

    Tool_Outcome Run(std::istream&) const override
    {
        Tool_ReadStart(FileName(), 1); // a file that is not there is told as everywhere
        const std::vector<FF_Fault> faults = FF_DocumentCheck::Check(Sys_FileLoc(FileName()));
        if (faults.empty()) {
            const auto all = FF_DocumentCheck::ListStreams(*Tool_OpenDocument(FileName()));
            const auto streams = std::count_if(all.begin(), all.end(), [](const FF_StreamInfo& s) {
                return s.streamType != FF_Document::cNoStreamType; // not the objects inside them
            });
            return {Tool_Printable(FileName()) + ": good, " + Count(streams, "stream") + '\n', {}};
        }
        Tool_Outcome outcome;
        outcome.mComplaint = Tool_Printable(FileName()) + ": " + FaultText(faults.front());
        if (faults.size() > 1)
            outcome.mComplaint += "; and " + Count(static_cast<Cmn_Int64>(faults.size()) - 1, "more fault") +
                                  (mIsAll ? "" : " (--all)");
        for (const FF_Fault& fault : faults)
            if (mIsAll) outcome.mText += FaultText(fault) + '\n';
        return outcome;
    }

private:
    bool mIsAll = false;
};

class RepairCommand : public Tool_Subcommand
{
public:
    explicit RepairCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "repair", Tool_cRepairHelp)
    {
        App().add_option("output", mOutput)->required();
    }

    Tool_Outcome Run(std::istream&) const override
    {
        Tool_ReadStart(FileName(), 1);
        if (Tool_IsSameFile(FileName(), mOutput))
            throw Tool_UsageError("the repaired document would take the place of " + Tool_Quoted(FileName()) +
                                  ", expected another file");
        // What comes out of a file without a stream is not put in the place of anything.
        Tool_StPartFile part(mOutput);
        const Sys_FileLoc from(FileName());
        const Sys_FileLoc to(part.GetName());
        const auto report = Tool_NamingFile(
            mOutput, [&] { return FF_DocumentRepair::Repair(from, to); }, part.GetName());
        std::string text = Text(report);
        if (report.streams.empty())
            return {std::move(text),
                    Tool_Printable(FileName()) + ": no stream was found, nothing was written"};
        part.Commit();
        return {std::move(text), {}};
    }

private:
    std::string Text(const FF_DocumentRepair::Report& iReport) const
    {
        std::string text =
            Tool_Printable(mOutput) + ": " + Count(iReport.recovered, "stream") + " recovered, " +
            (iReport.hadTOC ? "with an old table of contents" : "without a table of contents") +
            (iReport.withoutDescription == 0
                 ? std::string()
                 : ", " + std::to_string(iReport.withoutDescription) + " of them without a description") +
            '\n';
        for (const FF_Fault& fault : iReport.header)
            text += "header, " + FaultText(fault) + '\n';
        for (const FF_Fault& fault : iReport.lost)
            text += "lost, " + FaultText(fault) + '\n';
        return text;
    }

    std::string mOutput;
};

class XmlCommand : public Tool_Subcommand
{
public:
    explicit XmlCommand(CLI::App& ioApp)
        : Tool_Subcommand(ioApp, "xml", Tool_cXmlHelp)
        , mSettings(App())
    {
    }

    Tool_Outcome Run(std::istream&) const override
    {
        const auto song = Tool_Song::Load(FileName(), mSettings.Asked());
        Cmn_XMLNode root("Song");
        root.AddValue("nEndTick", song->GetEndTick().AsInt64());
        root.AddValue("nSampleRate", song->GetSettings().mSampleRate);
        root.AddValue("TimeCodeFormat",
                      Time_Globals::GetTimeCodeFormatString(song->GetSettings().mTimeCodeFormat));
        root.AddChild(song->GetMeterMap().GetAsXML());
        root.AddChild(song->GetTempoMap().GetAsXML());
        root.AddChild(song->GetKeyMap().GetAsXML());
        return {root.ToString(true), {}};
    }

private:
    Tool_SettingsOptions mSettings;
};
} // namespace

void Tool_AddDocumentCommands(CLI::App& ioApp, Tool_Subcommands& ioCommands)
{
    ioCommands.push_back(std::make_unique<SaveCommand>(ioApp));
    ioCommands.push_back(std::make_unique<InfoCommand>(ioApp));
    ioCommands.push_back(std::make_unique<CheckCommand>(ioApp));
    ioCommands.push_back(std::make_unique<RepairCommand>(ioApp));
    ioCommands.push_back(std::make_unique<XmlCommand>(ioApp));
}
