#include "Tool/Tool_Subcommand.h"

#include "Tool/Tool_InputError.h"

#include <CLI/CLI.hpp>

namespace {

constexpr char cRate[] = "sample rate, 1000 to 768000 (default: the document's, 44100 for MIDI)";
constexpr char cTimecode[] =
    "timecode format: 24, 25, 30, 50, 60, 23.976, 29.97, 59.94, 29.97drop, 30drop, 59.94drop or 60drop; the "
    "long names (\"29.97 fps drop\") are good too (default: the document's, 30 for MIDI)";

} // namespace

Tool_Subcommand::~Tool_Subcommand() = default;

template <class Value>
void Tool_Subcommand::Take(const char* iNames, Value& oValue, const char* iValue, const char* iHelp)
{
    mApp.add_option(iNames, oValue, iHelp)->type_name(iValue);
}

template <class Value>
void Tool_Subcommand::Need(const char* iNames, Value& oValue, const char* iValue, const char* iHelp)
{
    mApp.add_option(iNames, oValue, iHelp)->type_name(iValue)->required();
}

template void Tool_Subcommand::Take(const char*, std::string&, const char*, const char*);
template void Tool_Subcommand::Need(const char*, std::string&, const char*, const char*);
template void Tool_Subcommand::Need(const char*, std::vector<std::string>&, const char*, const char*);

void Tool_Subcommand::TakeFlag(const char* iNames, bool& oIsGiven, const char* iHelp)
{
    mApp.add_flag(iNames, oIsGiven, iHelp);
}

void Tool_Subcommand::TakeFile(const char* iValue, const char* iHelp) { Need("file", mFile, iValue, iHelp); }

bool Tool_Subcommand::IsGiven(const char* iOption) const { return mApp.count(iOption) > 0; }

void Tool_SettingsOptions::AddTo(CLI::App& ioApp, ETold iTold)
{
    mApp = &ioApp;
    const auto text = [&](const char* iInFull, const std::string& iName) {
        return iTold == eTold_InFull ? iInFull
                                     : iName + ", as for \"kora song\"" +
                                           (iTold == eTold_AsKept ? "; kept in the document" : "");
    };
    ioApp.add_option("--rate", mRate, text(cRate, "sample rate"))->type_name("HZ");
    ioApp.add_option("--timecode", mTimecode, text(cTimecode, "timecode format"))->type_name("NAME");
}

Tool_AskedSettings Tool_SettingsOptions::Asked() const
{
    Tool_AskedSettings asked;
    if (mApp->count("--rate") > 0 && !Tool_ParseRate(mRate, asked.mSampleRate.emplace()))
        throw Tool_UsageError("--rate " + Tool_Quoted(mRate) + ", expected 1000 to 768000 Hz");
    if (mApp->count("--timecode") > 0 &&
        !Tool_ParseTimeCodeFormat(mTimecode, asked.mTimeCodeFormat.emplace()))
        throw Tool_UsageError("--timecode " + Tool_Quoted(mTimecode) + ", expected one of " +
                              Tool_TimeCodeFormatNames());
    return asked;
}
