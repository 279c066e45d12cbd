#include "Tool/Tool_Command.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/Kora_Init.h"
#include "Tool/Tool_Commands.h"
#include "Tool/Tool_HelpPage.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Subcommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <new>

namespace {

// Of an option with too few values or too many.
std::string WhatIsWrong(const CLI::Option& iOption)
{
    const std::size_t count = iOption.count();
    const bool isSingle = iOption.get_items_expected_max() == 1;
    return iOption.get_name() +
           (count == 0 ? " without a value"
            : isSingle ? std::string(" more than once")
                       : " with " + std::to_string(count) + (count == 1 ? " value" : " values")) +
           ", expected " + (count > 0 && isSingle ? "one " : "") + iOption.get_type_name();
}

// What is wrong with the arguments, in the words of the command's help: the parser's own name no values.
std::string WhatIsWrong(const CLI::App& iApp, const CLI::ParseError& iError)
{
    if (const std::vector<std::string> extras = iApp.remaining(); !extras.empty()) {
        const bool isOption = extras.front().size() > 1 && extras.front().front() == '-';
        return Tool_Quoted(extras.front()) + (isOption ? " is no option of kora " + iApp.get_name()
                                                       : std::string(" is one argument too many"));
    }
    const std::string text = iError.what();
    if (iError.get_name() == "ArgumentMismatch")
        for (const CLI::Option* option : iApp.get_options())
            if (text.find(option->get_name()) != std::string::npos) return WhatIsWrong(*option);
    for (const CLI::Option* option : iApp.get_options())
        if (option->get_required() && option->count() == 0)
            return (option->get_positional() ? "" : option->get_name() + ' ') + option->get_type_name() +
                   " is missing";
    return text;
}

Tool_Outcome RunCommand(const Tool_CommandEntry& iCommand, std::vector<std::string> iArguments,
                        const Tool_Console& iConsole)
{
    const std::unique_ptr<CLI::App> app = Tool_MakeParser(iCommand);
    const auto command = iCommand.mMake(*app);
    try {
        std::reverse(iArguments.begin(), iArguments.end());
        app->parse(std::move(iArguments));
    } catch (const CLI::CallForHelp&) {
        return {Tool_HelpPage(iCommand, iConsole.mOut), {}, {}};
    } catch (const CLI::ParseError& error) {
        throw Tool_UsageError(WhatIsWrong(*app, error));
    }
    return command->Run(iConsole);
}

Tool_Outcome Outcome(const std::vector<std::string>& iArguments, const Tool_Console& iConsole)
{
    const std::string first = iArguments.empty() ? "" : iArguments.front();
    // Their parser is not made: what tells the version should take no time.
    if (first == "-V" || first == "--version") return {"kora " KORA_VERSION "\n", {}, {}};
    if (first == "-h" || first == "--help") return {Tool_MainHelpPage(iConsole.mOut), {}, {}};
    if (const Tool_CommandEntry* const command = Tool_FindCommand(first))
        return RunCommand(*command, {iArguments.begin() + 1, iArguments.end()}, iConsole);
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
    const auto complain = [&](std::string iText, Tool_EExit iExit) {
        std::replace(iText.begin(), iText.end(), '\n', ' ');
        oErr << iTerminals.mErr.Alarm("kora:") << ' ' << iText << '\n' << std::flush;
        return iExit;
    };
    try {
        const Tool_Outcome outcome = Outcome(iArguments, {iIn, iTerminals.mOut});
        if (outcome.mWrite)
            outcome.mWrite(oOut);
        else
            oOut.write(outcome.mText.data(), static_cast<std::streamsize>(outcome.mText.size()));
        oOut.flush();
        if (!oOut) return complain("standard output: cannot be written", Tool_eExit_BadInput);
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
    std::ios::sync_with_stdio(false);
    const Tool_StTerminals terminals;
    Kora_Init::Init();
    const Tool_EExit exit = Tool_RunCommand(iArguments, std::cin, std::cout, std::cerr, terminals.Get());
    Kora_Init::Free();
    return exit;
}
