// The subcommands that tell of the command itself: help, man, completions.
#include "Tool/Tool_Commands.h"
#include "Tool/Tool_Completions.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_HelpPage.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_ManPage.h"
#include "Tool/Tool_Subcommand.h"

namespace {

// The command that an argument names, null for kora itself, which it does where there is none.
const Tool_CommandEntry* CommandNamed(const std::string& iName)
{
    if (iName.empty() || iName == "kora") return nullptr;
    if (const Tool_CommandEntry* const command = Tool_FindCommand(iName)) return command;
    throw Tool_UsageError(Tool_Quoted(iName) + ", expected a command: " + Tool_CommandNames());
}

class HelpCommand : public Tool_Subcommand
{
public:
    explicit HelpCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        Parser().Take("command", mCommand, "COMMAND", "one of the commands; without it, kora's own help");
    }

    Tool_Outcome Run(const Tool_Console& iConsole) const override
    {
        const Tool_CommandEntry* const command = CommandNamed(mCommand);
        return {command == nullptr ? Tool_MainHelpPage(iConsole.mOut)
                                   : Tool_HelpPage(*command, iConsole.mOut),
                {},
                {}};
    }

private:
    std::string mCommand;
};

class ManCommand : public Tool_Subcommand
{
public:
    explicit ManCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        Parser().Take("command", mCommand, "COMMAND", "one of the commands; without it, kora's own page");
        Parser().Take("--into", mFolder, "FOLDER",
                      "write all pages into a folder, each into a file of its own: kora-song.1");
    }

    Tool_Outcome Run(const Tool_Console&) const override
    {
        const Tool_CommandEntry* const command = CommandNamed(mCommand);
        if (!IsGiven("--into")) return {Tool_ManPage(command), {}, {}};
        if (command != nullptr)
            throw Tool_UsageError("--into with " + Tool_Quoted(mCommand) +
                                  ", expected it alone: it is for all pages");
        Write(nullptr);
        for (const Tool_CommandEntry& each : Tool_Commands())
            Write(&each);
        return {};
    }

private:
    void Write(const Tool_CommandEntry* iCommand) const
    {
        Tool_WriteFile(mFolder + '/' + Tool_ManPageName(iCommand), Tool_ManPage(iCommand));
    }

    std::string mCommand;
    std::string mFolder;
};

class CompletionsCommand : public Tool_Subcommand
{
public:
    explicit CompletionsCommand(Tool_Parser& ioParser)
        : Tool_Subcommand(ioParser)
    {
        Parser().Need("shell", mShell, "bash|zsh|fish", "the shell");
        Parser().Take("-o,--output", mOutput, "OUT", "write the script there instead of printing it");
    }

    Tool_Outcome Run(const Tool_Console&) const override
    {
        std::string script = Tool_Completions(mShell);
        if (script.empty()) throw Tool_UsageError(Tool_Quoted(mShell) + ", expected bash, zsh or fish");
        if (!IsGiven("-o") || mOutput == Tool_cStandardOutput) return {std::move(script), {}, {}};
        Tool_WriteFile(mOutput, script);
        return {};
    }

private:
    std::string mShell;
    std::string mOutput;
};

} // namespace

std::unique_ptr<Tool_Subcommand> Tool_MakeHelpCommand(Tool_Parser& ioParser)
{
    return std::make_unique<HelpCommand>(ioParser);
}

std::unique_ptr<Tool_Subcommand> Tool_MakeManCommand(Tool_Parser& ioParser)
{
    return std::make_unique<ManCommand>(ioParser);
}

std::unique_ptr<Tool_Subcommand> Tool_MakeCompletionsCommand(Tool_Parser& ioParser)
{
    return std::make_unique<CompletionsCommand>(ioParser);
}
