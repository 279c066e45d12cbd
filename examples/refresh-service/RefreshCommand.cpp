#include "refresh-service/RefreshCommand.h"

#include "Kora/Kora_RefreshClient.h"
#include "refresh-service/RefreshService.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <limits>
#include <string>

namespace {

constexpr Cmn_UInt32 cSampleSize = 1000;

struct Options
{
    std::string mPipe = Kora_RefreshLimits().mPipeName;
    std::string mFault = "none";
    RefreshPlay mPlay;
    std::vector<Cmn_UInt64> mWords;
    Cmn_UInt32 mCapacity = 1 << 20;
    Cmn_Int32 mTransferMs = Kora_RefreshLimits().mTransferMs;
    Cmn_Int32 mBusyMs = Kora_RefreshLimits().mBusyMs;

    Kora_RefreshLimits Limits() const { return {mPipe.c_str(), mTransferMs, mBusyMs}; }
};

int Complain(std::string iText, int iExit)
{
    std::replace(iText.begin(), iText.end(), '\n', ' ');
    std::cerr << "refresh-service: " << iText << '\n';
    return iExit;
}

int Serve(const Options& iOptions)
{
    const RefreshService service(iOptions.mPipe, iOptions.mPlay);
    std::cout << "serving " << iOptions.mPipe << " (" << cRefreshFaults[iOptions.mPlay.mFault].mWhat
              << "), until the end of the input\n"
              << std::flush;
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
    std::cout << service.GetServed() << " clients served\n";
    return 0;
}

// Sixteen bytes a line.
void PrintBytes(const RefreshBytes& iBytes, std::size_t iCount)
{
    constexpr char digits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < iCount; ++i)
        std::cout << digits[iBytes[i] >> 4] << digits[iBytes[i] & 15]
                  << (i % 16 == 15 || i + 1 == iCount ? '\n' : ' ');
}

int Ask(const Options& iOptions)
{
    Cmn_UInt64 words[4] = {};
    std::copy(iOptions.mWords.begin(), iOptions.mWords.end(), words);
    RefreshBytes answer(iOptions.mCapacity);
    Cmn_UInt32 length = 0;
    if (!Kora_RefreshClient::Request32(words, answer.data(), iOptions.mCapacity, length, iOptions.Limits()))
        return Complain("no answer from " + iOptions.mPipe, 1);
    std::cout << length << " bytes\n";
    PrintBytes(answer, length);
    return 0;
}

int Try(Options iOptions)
{
    const Cmn_Int32 silenceMs = iOptions.mTransferMs;
    for (const RefreshFault& fault : cRefreshFaults) {
        iOptions.mPlay.mFault = fault.mFault;
        // Only silence is not waited for: a machine that is busy answers late.
        const bool isSilent =
            fault.mFault == eRefreshFault_SilentAtHandshake || fault.mFault == eRefreshFault_SilentAtRequest;
        iOptions.mTransferMs = isSilent ? silenceMs : Kora_RefreshLimits().mTransferMs;
        const RefreshService service(iOptions.mPipe, iOptions.mPlay);
        const Cmn_UInt64 words[4] = {1, cSampleSize, 0, 0};
        RefreshBytes answer(cSampleSize);
        Cmn_UInt32 length = 0;
        const bool good =
            Kora_RefreshClient::Request32(words, answer.data(), cSampleSize, length, iOptions.Limits());
        const std::string result = good ? std::to_string(length) + " bytes" : "no answer";
        std::cout << std::string(fault.mName) + std::string(18 - std::strlen(fault.mName), ' ') << result
                  << std::string(12 - result.size(), ' ') << fault.mWhat << '\n';
    }
    return 0;
}

void AddLimits(CLI::App& ioApp, Options& oOptions)
{
    ioApp.add_option("--transfer-ms", oOptions.mTransferMs, "How long to wait for each message")
        ->check(CLI::Range(0, 600000));
    ioApp.add_option("--busy-ms", oOptions.mBusyMs, "How long to wait for a place, four times")
        ->check(CLI::Range(0, 600000));
}

// A usage error, like those of the parser.
struct UsageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

RefreshEFault FaultOf(const std::string& iName)
{
    std::string names;
    for (const RefreshFault& fault : cRefreshFaults) {
        if (iName == fault.mName) return fault.mFault;
        names += (names.empty() ? "" : ", ") + std::string(fault.mName);
    }
    throw UsageError('"' + iName + "\" is no fault, expected one of " + names);
}

int Run(const std::vector<std::string>& iArguments)
{
    Options options;
    CLI::App app("Serves and asks requests of the driver refresh pipe.", "refresh-service");
    app.allow_windows_style_options(false);
    app.require_subcommand(1);
    CLI::App* const serve = app.add_subcommand("serve", "Serve requests until the end of the input");
    serve->add_option("--fault", options.mFault, "A fault to play: \"try\" lists them");
    serve->add_option("--claim", options.mPlay.mClaim, "The length for the fault \"claim\"");
    serve->add_option("--places", options.mPlay.mPlaces, "Clients served at once")->check(CLI::Range(1, 64));
    CLI::App* const ask =
        app.add_subcommand("ask", "Ask, and print the answer's bytes: 0 for an echo, 1 SIZE SEED "
                                  "for a sample");
    ask->add_option("words", options.mWords, "The request's words, up to four")->required()->expected(1, 4);
    ask->add_option("--capacity", options.mCapacity, "The most bytes to take")->check(CLI::Range(0, 1 << 30));
    AddLimits(*ask, options);
    CLI::App* const all = app.add_subcommand("try", "Play every fault, and print what a client gets");
    AddLimits(*all, options);
    for (CLI::App* const command : {serve, ask, all})
        command->add_option("--pipe", options.mPipe, "The pipe's name");
    const std::string first = iArguments.empty() ? "-" : iArguments.front();
    if (first.substr(0, 1) != "-" && first != "serve" && first != "ask" && first != "try")
        throw UsageError('"' + first + "\" is no subcommand, expected serve, ask or try");
    try {
        app.parse(std::vector<std::string>(iArguments.rbegin(), iArguments.rend()));
    } catch (const CLI::CallForHelp&) {
        const auto chosen = app.get_subcommands();
        std::cout << (chosen.empty() ? app.help() : chosen.front()->help());
        return 0;
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    options.mPlay.mFault = FaultOf(options.mFault);
    return serve->parsed() ? Serve(options) : ask->parsed() ? Ask(options) : Try(options);
}

} // namespace

int RefreshCommand(const std::vector<std::string>& iArguments)
try {
    return Run(iArguments);
} catch (const UsageError& error) {
    return Complain(std::string(error.what()) + " (\"refresh-service --help\" shows the usage)", 2);
} catch (const std::exception& error) {
    return Complain(error.what(), 1);
}
