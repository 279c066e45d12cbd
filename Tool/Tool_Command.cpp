#include "Tool/Tool_Command.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/Kora_Init.h"
#include "Kora/Kora_Version.h"
#include "Tool/Tool_Commands.h"
#include "Tool/Tool_HelpPage.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_WatchedFiles.h"

#include <algorithm>
#include <iostream>
#include <new>
#include <optional>

namespace {

// The library, for as long as a command uses it. What tells of the command alone goes without.
class StLibrary
{
public:
    StLibrary() = default;
    ~StLibrary()
    {
        if (mIsInitialised) Kora_Init::Free();
    }
    StLibrary(const StLibrary&) = delete;
    StLibrary& operator=(const StLibrary&) = delete;
    void Initialise()
    {
        Kora_Init::Init();
        mIsInitialised = true;
    }

private:
    bool mIsInitialised = false;
};

Tool_Outcome RunCommand(const Tool_CommandEntry& iCommand, std::vector<std::string> iArguments,
                        const Tool_Console& iConsole, StLibrary& ioLibrary)
{
    Tool_Parser parser(iCommand.mName);
    const auto command = iCommand.mMake(parser);
    if (!parser.Parse(std::move(iArguments))) return {Tool_HelpPage(iCommand, iConsole.mOut), {}, {}};
    if (iCommand.mGroup != Tool_eGroup_Command) ioLibrary.Initialise();
    return command->Run(iConsole);
}

bool AsksForVersion(const std::vector<std::string>& iArguments)
{
    return !iArguments.empty() && (iArguments.front() == "-V" || iArguments.front() == "--version");
}

// The library's too where it is another: the command is replaced without it, or it without the command.
std::string VersionText()
{
    const std::string library = Kora_Version::GetText();
    return "kora " KORA_VERSION_TEXT + (library == KORA_VERSION_TEXT ? "" : " (library " + library + ')') +
           '\n';
}

Tool_Outcome Outcome(const std::vector<std::string>& iArguments, const Tool_Console& iConsole,
                     StLibrary& ioLibrary)
{
    const std::string first = iArguments.empty() ? "" : iArguments.front();
    if (AsksForVersion(iArguments)) return {VersionText(), {}, {}};
    if (first == "-h" || first == "--help") return {Tool_MainHelpPage(iConsole.mOut), {}, {}};
    if (const Tool_CommandEntry* const command = Tool_FindCommand(first))
        return RunCommand(*command, {iArguments.begin() + 1, iArguments.end()}, iConsole, ioLibrary);
    if (first.empty()) throw Tool_UsageError("no command, expected " + Tool_CommandNames());
    throw Tool_UsageError(Tool_Quoted(first) + (first.front() == '-' ? " is no option" : " is no command") +
                          ", expected " + Tool_CommandNames());
}

// What shows how to do it: the command's help, where there is one.
std::string Hint(const std::vector<std::string>& iArguments)
{
    const bool isCommand = !iArguments.empty() && Tool_FindCommand(iArguments.front()) != nullptr;
    return " (try \"kora " + (isCommand ? iArguments.front() + ' ' : std::string()) + "--help\")";
}

} // namespace

Tool_EExit Tool_RunCommand(const std::vector<std::string>& iArguments, std::istream& iIn, std::ostream& oOut,
                           std::ostream& oErr, const Tool_Terminals& iTerminals)
{
    Tool_Progress progress(iTerminals.mIsErrTerminal ? &oErr : nullptr);
    std::optional<Tool_WatchedFiles> files;
    if (progress.IsShown()) files.emplace();
    const auto complain = [&](std::string iText, Tool_EExit iExit) {
        progress.Stop();
        std::replace(iText.begin(), iText.end(), '\n', ' ');
        oErr << iTerminals.mErr.Alarm("kora:") << ' ' << iText << '\n' << std::flush;
        return iExit;
    };
    StLibrary library;
    try {
        const Tool_Outcome outcome =
            Outcome(iArguments, {iIn, iTerminals.mOut, iTerminals.mIsInTerminal}, library);
        if (iTerminals.mIsOutTerminal) progress.Stop(); // rows show themselves how far they are
        if (outcome.mWrite)
            outcome.mWrite(oOut);
        else
            oOut.write(outcome.mText.data(), static_cast<std::streamsize>(outcome.mText.size()));
        oOut.flush();
        if (!oOut) return complain("standard output: cannot be written", Tool_eExit_BadInput);
        progress.Stop();
        oErr << outcome.mReport << std::flush;
        for (const std::string& complaint : outcome.mComplaints)
            complain(complaint, Tool_eExit_BadInput);
        return outcome.mComplaints.empty() ? Tool_eExit_Good : Tool_eExit_BadInput;
    } catch (const Tool_UsageError& error) {
        return complain(error.what() + Hint(iArguments), Tool_eExit_WrongUsage);
    } catch (const Tool_InputError& error) {
        return complain(error.what(), Tool_eExit_BadInput);
    } catch (const Cmn_Exception& error) {
        return complain(error.Describe(), Tool_eExit_BadInput);
    } catch (const std::bad_alloc&) {
        return complain("the input needs more memory than there is", Tool_eExit_BadInput);
    }
}

int Tool_Main(const std::vector<std::string>& iArguments)
{
    // Scripts ask for it again and again: no parser, no library, no buffers are made for it.
    if (AsksForVersion(iArguments)) return Tool_RunCommand(iArguments, std::cin, std::cout, std::cerr);
    std::ios::sync_with_stdio(false);
    const Tool_StTerminals terminals;
    return Tool_RunCommand(iArguments, std::cin, std::cout, std::cerr, terminals.Get());
}
