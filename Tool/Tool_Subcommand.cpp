#include "Tool/Tool_Subcommand.h"

#include "Tool/Tool_InputError.h"

#include <CLI/CLI.hpp>

Tool_Subcommand::Tool_Subcommand(CLI::App& ioApp, const char* iName, const char* iHelp)
    : mHelp(iHelp)
    , mApp(ioApp.add_subcommand(iName))
{
    mApp->add_option("file", mFile)->required();
}

Tool_Subcommand::~Tool_Subcommand() = default;

std::string Tool_Subcommand::Name() const { return mApp->get_name(); }

bool Tool_Subcommand::IsChosen() const { return mApp->parsed(); }

Tool_SettingsOptions::Tool_SettingsOptions(CLI::App& ioApp)
    : mApp(ioApp)
{
    ioApp.add_option("--rate", mRate);
    ioApp.add_option("--timecode", mTimecode);
}

Tool_AskedSettings Tool_SettingsOptions::Asked() const
{
    Tool_AskedSettings asked;
    if (mApp.count("--rate") > 0 && !Tool_ParseRate(mRate, asked.mSampleRate.emplace()))
        throw Tool_UsageError("--rate " + Tool_Quoted(mRate) + ", expected 1000 to 768000 Hz");
    if (mApp.count("--timecode") > 0 && !Tool_ParseTimeCodeFormat(mTimecode, asked.mTimeCodeFormat.emplace()))
        throw Tool_UsageError("--timecode " + Tool_Quoted(mTimecode) + ", expected one of " +
                              Tool_TimeCodeFormatNames());
    return asked;
}
