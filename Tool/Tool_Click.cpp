#include "Tool/Tool_Click.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Progress.h"

#include <algorithm>
#include <numbers>
#include <vector>

namespace {

constexpr Cmn_Int64 cBytesPerSample = 2;
constexpr Cmn_Int64 cHeaderSize = 44;
constexpr Cmn_Int64 cMostFileBytes = 0xFFFFFFFF;
constexpr double cRingSeconds = 0.030;
constexpr double cDecaySeconds = 0.006;
constexpr double cFullScale = 32767;

struct Sound
{
    double mHertz;
    double mLevel; // of full scale
};
constexpr Sound cBarSound = {1760, 0.8};
constexpr Sound cBeatSound = {1174.66, 0.4};

void AppendNumber(Cmn_UInt32 iNumber, int iBytes, std::string& ioText)
{
    for (int i = 0; i < iBytes; ++i)
        ioText += static_cast<char>(iNumber >> (8 * i) & 0xFF);
}

// cos(x) for |x| up to a quarter of pi, by its series: the same bits on every platform.
double SmallCosine(double iX)
{
    const double square = iX * iX;
    return 1 - square / 2 * (1 - square / 12 * (1 - square / 30 * (1 - square / 56)));
}

// A cosine, which is loudest at once, that dies away: each sample is made of the two before it.
std::vector<std::int16_t> Ring(const Sound& iSound, double iRate)
{
    const double hertz = std::min(iSound.mHertz, iRate / 8);
    const double decay = 1 - 1 / (cDecaySeconds * iRate);
    const double turn = decay * SmallCosine(2 * std::numbers::pi * hertz / iRate);
    double sample = iSound.mLevel * cFullScale;
    double before = sample * turn / (decay * decay); // of the same cosine, which is even
    std::vector<std::int16_t> samples(static_cast<std::size_t>(iRate * cRingSeconds));
    for (std::int16_t& out : samples) {
        out = static_cast<std::int16_t>(Cmn_RoundHalfUp(sample));
        const double next = 2 * turn * sample - decay * decay * before;
        before = sample;
        sample = next;
    }
    return samples;
}

// Collects samples and hands on blocks of them.
class Blocks
{
public:
    explicit Blocks(const std::function<void(const std::string&)>& iTake)
        : mTake(iTake)
    {
    }
    void Add(Cmn_Int64 iSample)
    {
        AppendNumber(static_cast<Cmn_UInt32>(iSample), cBytesPerSample, mBytes);
        if (mBytes.size() >= cBlock) Flush();
    }
    void AddSilence(Cmn_Int64 iCount)
    {
        for (; iCount > 0; --iCount)
            Add(0);
    }
    void Flush()
    {
        if (!mBytes.empty()) mTake(mBytes);
        mBytes.clear();
    }

private:
    static constexpr std::size_t cBlock = 65536;

    const std::function<void(const std::string&)>& mTake;
    std::string mBytes;
};

} // namespace

Tool_Click::Tool_Click(const Tool_Song& iSong, Time_Tick iFrom, Time_Tick iTo, const std::string& iName)
    : mSong(iSong)
    , mFromTick(iFrom)
    , mToTick(iTo)
    , mFrom(iSong.GetConverter().ToSample(iFrom).AsInt64())
    , mTo(iSong.GetConverter().ToSample(iTo).AsInt64())
    , mRate(static_cast<Cmn_Int64>(iSong.GetSettings().mSampleRate))
{
    if (static_cast<double>(mRate) != iSong.GetSettings().mSampleRate)
        throw Tool_InputError::InFile(iName, "the sample rate is no whole number, as WAV files need it: "
                                             "expected one with --rate");
    if (GetNumSamples() > (cMostFileBytes - cHeaderSize) / cBytesPerSample)
        throw Tool_InputError::InFile(iName,
                                      std::to_string(GetNumSamples()) +
                                          " samples, expected at most 2147483625, which a WAV file holds");
}

std::string Tool_Click::Header() const
{
    const auto size = static_cast<Cmn_UInt32>(GetNumSamples() * cBytesPerSample);
    std::string text = "RIFF";
    AppendNumber(size + static_cast<Cmn_UInt32>(cHeaderSize) - 8, 4, text);
    text += "WAVEfmt ";
    AppendNumber(16, 4, text); // of what follows up to "data"
    AppendNumber(1, 2, text);  // plain samples
    AppendNumber(1, 2, text);  // channel
    AppendNumber(static_cast<Cmn_UInt32>(mRate), 4, text);
    AppendNumber(static_cast<Cmn_UInt32>(mRate * cBytesPerSample), 4, text);
    AppendNumber(cBytesPerSample, 2, text);
    AppendNumber(8 * cBytesPerSample, 2, text);
    text += "data";
    AppendNumber(size, 4, text);
    return text;
}

void Tool_Click::Write(const std::function<void(const std::string&)>& iTake) const
{
    iTake(Header());
    const auto bar = Ring(cBarSound, static_cast<double>(mRate));
    const auto beat = Ring(cBeatSound, static_cast<double>(mRate));
    const auto grid = mSong.GetMeterMap().Grid(Time_Range(mFromTick, mToTick), Time_GridDivision::Beats());
    Blocks blocks(iTake);
    Tool_StWork work("rendering", {}, mTo - mFrom);
    Cmn_Int64 at = mFrom;
    for (auto line = grid.begin(); line != grid.end();) {
        const auto& ring = line->mKind == Time_GridLine::eBar ? bar : beat;
        const Cmn_Int64 start = std::max(mSong.GetConverter().ToSample(line->mTick).AsInt64(), at);
        const Cmn_Int64 next =
            ++line == grid.end() ? mTo : mSong.GetConverter().ToSample(line->mTick).AsInt64();
        blocks.AddSilence(start - at);
        // Half of the way to the next beat is silent at least, or the one sample before it.
        const Cmn_Int64 room = std::max<Cmn_Int64>((next - start) / 2, next > start ? 1 : 0);
        const Cmn_Int64 length = std::min<Cmn_Int64>(static_cast<Cmn_Int64>(ring.size()), room);
        for (Cmn_Int64 i = 0; i < length; ++i)
            blocks.Add(ring[static_cast<std::size_t>(i)]);
        at = start + length;
        work.At(at - mFrom);
    }
    blocks.AddSilence(mTo - at);
    blocks.Flush();
}
