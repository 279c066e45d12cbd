// A simulated audio thread sends meter values to three readers, and tells how long they were on their way.
//
//   audio thread ── /Mixer/Master ──▶ editor   every value, in order
//                                ├──▶ meter    the newest only
//                                └──▶ logger   every value, at a node connected with the master's
#include "Kora/Kora_InitScope.h"
#include "Kora/Tokens.h"
#include "OstrelPlatformSupport/PSThread.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr Cmn_Int32 cMeterType = 0x4D545220; // "MTR "
constexpr int cBlocks = 400;                 // of 128 samples at 48 kHz, 2.67 ms each: about a second

struct MeterToken
{
    SDS_Token mHeader{};
    int mBlock = 0;
    float mLevel = 0;
    Clock::time_point mSent;
};

// One reader: a thread with a task of its own, which sleeps until its event is signalled.
class Reader final : public SDS_ITokenListener
{
public:
    Reader(const char* iTitle, SDS_IName& iName, bool iLatest)
        : SDS_ITokenListener(&iName, {.mType = cMeterType, .mLatestFlag = iLatest})
        , mTitle(iTitle)
        , mTask(0)
        , mEvent(gPSThread.CreateAutoResetEvent(iTitle))
    {
        mTask.SetClientEvent(mEvent.get());
        mTask.ResumeProcessing();
        SetTask(&mTask); // when all is built: a token may come as soon as a thread processes the task
        mThread = std::thread([this] { Run(); });
    }
    ~Reader() override
    {
        Stop();
        StopListening(); // while all is there; the task is a member, and goes before the base
    }

    void Stop()
    {
        if (!mThread.joinable()) return;
        mStopping.store(true);
        mEvent->Signal();
        mThread.join();
    }

    void HandleToken(SDS_Token* iToken) override
    {
        const MeterToken& token = *reinterpret_cast<const MeterToken*>(iToken);
        const auto microseconds =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - token.mSent).count();
        std::size_t bin = 0;
        while (bin + 1 < mBins.size() && microseconds >= (std::int64_t{1} << bin))
            ++bin;
        ++mBins[bin];
        ++mCount;
        mOrdered = mOrdered && token.mBlock > mLastBlock;
        mLastBlock = token.mBlock;
    }

    void Report() const
    {
        std::printf("%s: %d values, %s, the last is block %d\n", mTitle.c_str(), mCount,
                    mOrdered ? "in order" : "OUT OF ORDER", mLastBlock);
        for (std::size_t bin = 0; bin < mBins.size(); ++bin) {
            if (mBins[bin] == 0) continue;
            const int width = (mBins[bin] * 50 + mCount - 1) / mCount;
            const bool open = bin + 1 == mBins.size();
            std::printf("  %s%5d us %s %d\n", open ? ">=" : "< ", 1 << (open ? bin - 1 : bin),
                        std::string(static_cast<std::size_t>(width), '#').c_str(), mBins[bin]);
        }
    }

private:
    void Run()
    {
        while (!mStopping.load()) {
            static_cast<void>(mEvent->Wait(IPSSyncPrim::cWaitForever));
            mTask.ProcessTokens(0, Time_Sample(0), 0);
        }
        mTask.ProcessTokens(0, Time_Sample(0), 0);
    }

    const std::string mTitle;
    SDS_ITokenTask mTask;
    std::unique_ptr<PSEvent> mEvent;
    std::atomic<bool> mStopping{false};
    // The reader's thread writes these, and the main thread reads them when it has ended.
    std::array<int, 16> mBins{};
    int mCount = 0;
    int mLastBlock = -1;
    bool mOrdered = true;
    std::thread mThread;
};

// What an audio callback does at the end of each block.
int PlayBlocks(SDS_IName& iMaster)
{
    int refused = 0;
    MeterToken token;
    token.mHeader.type = cMeterType;
    token.mHeader.size = sizeof(token);
    Clock::time_point next = Clock::now();
    for (token.mBlock = 0; token.mBlock < cBlocks; ++token.mBlock) {
        token.mLevel = static_cast<float>(token.mBlock % 48) / 48;
        token.mSent = Clock::now();
        if (iMaster.HandleToken(token.mHeader) != eSDSErr_None) ++refused;
        next += std::chrono::nanoseconds(128 * 1'000'000'000LL / 48'000);
        std::this_thread::sleep_until(next);
    }
    return refused;
}

} // namespace

int main()
{
    const Kora_InitScope kora;
    SDS_IName master("Mixer/Master");
    SDS_IName log("Log");
    if (log.ConnectTo(&master) != eSDSErr_None) std::puts("no memory: the logger hears nothing");
    Reader editor("editor", master, false);
    Reader meter("meter", master, true);
    Reader logger("logger", log, false);

    int refused = 0;
    std::thread audio([&] { refused = PlayBlocks(master); });
    audio.join();
    std::printf("%d blocks sent, %d refused; the time from the audio thread to each reader:\n", cBlocks,
                refused);
    for (Reader* const reader : {&editor, &meter, &logger}) {
        reader->Stop();
        reader->Report();
    }
    static_cast<void>(log.DisconnectFrom(&master)); // they go anyway
    return 0;
}
