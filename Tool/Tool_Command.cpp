#include "Tool/Tool_Command.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/Kora_Init.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Subcommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <new>

namespace {

// The names of all subcommands, for messages: "song, convert or plot".
std::string Names(const Tool_Subcommands& iCommands)
{
    std::string names;
    for (std::size_t i = 0; i < iCommands.size(); ++i)
        names.append(i == 0 ? "" : i + 1 < iCommands.size() ? ", " : " or ").append(iCommands[i]->Name());
    return names;
}

Tool_Outcome Outcome(const std::vector<std::string>& iArguments, std::istream& iIn)
{
    CLI::App app;
    app.allow_windows_style_options(false); // "/home/song.mid" is a file on every platform
    app.set_version_flag("--version", std::string("kora ") + KORA_VERSION);
    app.require_subcommand(1);
    Tool_Subcommands all;
    Tool_AddSongCommands(app, all);
    Tool_AddGridCommands(app, all);
    Tool_AddEditCommand(app, all);
    Tool_AddDocumentCommands(app, all);
    const auto find = [&](auto iHolds) -> const Tool_Subcommand* {
        const auto found = std::find_if(all.begin(), all.end(), [&](const auto& s) { return iHolds(*s); });
        return found == all.end() ? nullptr : found->get();
    };
    const auto chosen = [&] { return find([](const Tool_Subcommand& s) { return s.IsChosen(); }); };
    const std::string first = iArguments.empty() ? "" : iArguments.front();
    if (first.substr(0, 1) != "-" && !find([&](const Tool_Subcommand& s) { return s.Name() == first; }))
        throw Tool_UsageError(Tool_Quoted(first) + " is no subcommand, expected " + Names(all));
    try {
        app.parse(std::vector<std::string>(iArguments.rbegin(), iArguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return {chosen() ? chosen()->Help() : Tool_cHelp, {}, {}};
    } catch (const CLI::CallForVersion& version) {
        return {std::string(version.what()) + '\n', {}, {}};
    } catch (const CLI::ParseError& error) {
        throw Tool_UsageError(error.what());
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
    const Tool_Outcome outcome = Outcome(iArguments, iIn);
    if (outcome.mWrite)
        outcome.mWrite(oOut);
    else
        oOut.write(outcome.mText.data(), static_cast<std::streamsize>(outcome.mText.size()));
    oOut.flush();
    if (!oOut) return Complain(oErr, "the output cannot be written", Tool_eExit_BadInput);
    oErr << outcome.mReport << std::flush;
    for (const std::string& complaint : outcome.mComplaints)
        Complain(oErr, complaint, Tool_eExit_BadInput);
    return outcome.mComplaints.empty() ? Tool_eExit_Good : Tool_eExit_BadInput;
} catch (const Tool_UsageError& error) {
    return Complain(oErr, std::string(error.what()) + " (\"kora --help\" shows the usage)",
                    Tool_eExit_WrongUsage);
} catch (const Tool_InputError& error) {
    return Complain(oErr, error.what(), Tool_eExit_BadInput);
} catch (const Cmn_Exception& error) {
    return Complain(oErr, error.Describe(), Tool_eExit_BadInput);
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
