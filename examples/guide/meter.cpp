// A meter from the audio thread: levels go to the user interface, and the audio thread never waits.
#include "Kora/Kora_InitScope.h"
#include "Kora/Tokens.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>

namespace {

//! [token]
constexpr Cmn_Int32 cMeterType = 0x4D545220; // "MTR "

// What travels: the library's header, then plain data.
struct MeterToken
{
    SDS_Token mHeader{};
    int mBlock = 0;
    float mPeak = 0;
};
//! [token]

//! [audio]
using Block = std::array<float, 128>;

// What an audio callback does at the end of a block. It takes no lock, allocates nothing and waits for nobody.
void SendPeak(SDS_IName& iBus, const Block& iBlock, int iNumber) KORA_NONBLOCKING
{
    MeterToken token;
    token.mHeader.type = cMeterType;
    token.mHeader.size = sizeof(token);
    token.mBlock = iNumber;
    for (const float sample : iBlock)
        token.mPeak = std::max(token.mPeak, std::fabs(sample));
    static_cast<void>(iBus.HandleToken(token.mHeader)); // no memory: this value is not shown
}
//! [audio]

//! [listener]
class Meter final : public SDS_ITokenListener
{
public:
    Meter(std::string iTitle, SDS_ITokenTask& iTask, SDS_IName& iBus, bool iLatest)
        : SDS_ITokenListener(&iBus, {.mType = cMeterType, .mLatestFlag = iLatest})
        , mTitle(std::move(iTitle))
    {
        SetTask(&iTask); // last: a token may come at once
    }
    ~Meter() override { StopListening(); } // first: none comes any more

    // On the thread that calls ProcessTokens: the user interface.
    void HandleToken(SDS_Token* iToken) override
    {
        const MeterToken& token = *reinterpret_cast<const MeterToken*>(iToken);
        const auto width = static_cast<std::size_t>(token.mPeak * 32);
        std::printf("  %-8s block %d  %s\n", mTitle.c_str(), token.mBlock, std::string(width, '#').c_str());
    }

private:
    const std::string mTitle;
};
//! [listener]

// The audio thread's work for a few blocks: a tone that grows.
void Play(SDS_IName& iBus, int iFirst, int iCount)
{
    for (int number = iFirst; number < iFirst + iCount; ++number) {
        Block block{};
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = (i % 2 == 0 ? 1.0f : -1.0f) * static_cast<float>(number) / 8;
        SendPeak(iBus, block, number);
    }
}

} // namespace

int main()
{
    const Kora_InitScope kora;

    //! [ui]
    SDS_IName bus("Mixer/Bus 1");
    SDS_ITokenTask task(0); // the user interface's: below 16, latest listeners keep two tokens at most
    Meter meter("meter", task, bus, true);
    Meter recorder("history", task, bus, false);
    task.ResumeProcessing();

    for (int frame = 0; frame < 3; ++frame) {
        // Four blocks to a frame of the screen. A real audio thread runs on; this one ends, so that the
        // output is the same each time.
        const int blocks = frame < 2 ? 4 : 0;
        std::thread audio([&] { Play(bus, 1 + frame * 4, blocks); });
        audio.join();
        std::printf("frame %d\n", frame + 1);
        if (!task.ProcessTokens(2, Time_Sample(0), 0)) std::puts("  nothing came"); // for 2 ms at most
    }
    //! [ui]
    return 0;
}
