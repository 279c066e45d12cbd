#include "Tool/Tool_Subcommand.h"

#include "Tool/Tool_InputError.h"

namespace {

constexpr char cRate[] = "sample rate, 1000 to 768000 (default: the document's, 44100 for MIDI)";
constexpr char cTimecode[] =
    "timecode format: 24, 25, 30, 50, 60, 23.976, 29.97, 59.94, 29.97drop, 30drop, 59.94drop or 60drop; the "
    "long names (\"29.97 fps drop\") are good too (default: the document's, 30 for MIDI)";

} // namespace

Tool_Subcommand::~Tool_Subcommand() = default;

void Tool_SettingsOptions::AddTo(Tool_Parser& ioParser, ETold iTold)
{
    mParser = &ioParser;
    const auto text = [&](const char* iInFull, const std::string& iName) {
        return iTold == eTold_InFull ? iInFull
                                     : iName + ", as for \"kora song\"" +
                                           (iTold == eTold_AsKept ? "; kept in the document" : "");
    };
    ioParser.Take("--rate", mRate, "HZ", text(cRate, "sample rate"));
    ioParser.Take("--timecode", mTimecode, "NAME", text(cTimecode, "timecode format"));
}

Tool_AskedSettings Tool_SettingsOptions::Asked() const
{
    Tool_AskedSettings asked;
    if (mParser->IsGiven("--rate") && !Tool_ParseRate(mRate, asked.mSampleRate.emplace()))
        throw Tool_UsageError("--rate " + Tool_Quoted(mRate) + ", expected 1000 to 768000 Hz");
    if (mParser->IsGiven("--timecode") &&
        !Tool_ParseTimeCodeFormat(mTimecode, asked.mTimeCodeFormat.emplace()))
        throw Tool_UsageError("--timecode " + Tool_Quoted(mTimecode) + ", expected one of " +
                              Tool_TimeCodeFormatNames());
    return asked;
}
