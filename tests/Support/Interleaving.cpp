#include "Support/Interleaving.h"

#include <gtest/gtest.h>

#include <array>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr unsigned cMaxThreads = 3;
constexpr unsigned cDirector = cMaxThreads; // has the turn before and after a schedule
constexpr std::size_t cMaxSteps = 10000;

struct Operation
{
    const void* mAtomic = nullptr;
    bool mIsLoad = false;
    bool Commutes(const Operation& iOther) const
    {
        return mAtomic != iOther.mAtomic || (mIsLoad && iOther.mIsLoad);
    }
};
using Threads = std::array<bool, cMaxThreads>;

// A moment at which all threads stand before an operation.
struct Step
{
    std::array<Operation, cMaxThreads> mNext;
    Threads mAsleep; // whose operation was tried before, in a schedule that differs in nothing else
    std::vector<unsigned> mToTry; // the threads to choose from
    std::size_t mChosen = 0;
};

class Stage
{
public:
    Stage(int iThreads, const std::function<void(int)>& iBody);
    ~Stage();

    // False when the schedule turned out to be one that was played before.
    bool PlaySchedule();
    // Turns to the next schedule; false when that was the last one.
    bool Advance();
    std::string Text() const;
    void BeforeOperation(unsigned iThread, const Operation& iOperation);

private:
    void Perform(unsigned iThread, const std::function<void(int)>& iBody);
    unsigned Choose(unsigned iPreferred);
    Step MakeStep(unsigned iPreferred) const;
    void HandOver(unsigned iTo);
    void AwaitTurn(unsigned iThread);

    std::mutex mMutex;
    std::array<std::condition_variable, cMaxThreads + 1> mTurnCame;
    unsigned mTurn = cDirector;

    // Touched by whoever has the turn.
    std::vector<Step> mSteps;
    std::size_t mStepCount = 0; // of this schedule, so far
    std::array<Operation, cMaxThreads> mNext;
    Threads mIsRunning = {};
    bool mIsStarting = false; // threads go to their first operation
    bool mIsRepeated = false;
    bool mIsOver = false;
    std::vector<std::thread> mThreads;
};

thread_local constinit Stage* tStage = nullptr;
thread_local constinit unsigned tThread = 0;

Stage::Stage(int iThreads, const std::function<void(int)>& iBody)
{
    for (unsigned i = 0; i < static_cast<unsigned>(iThreads); ++i)
        mThreads.emplace_back([this, i, &iBody] { Perform(i, iBody); });
}

Stage::~Stage()
{
    mIsOver = true;
    for (unsigned i = 0; i < mThreads.size(); ++i) {
        HandOver(i);
        mThreads[i].join();
    }
}

void Stage::Perform(unsigned iThread, const std::function<void(int)>& iBody)
{
    tStage = this;
    tThread = iThread;
    for (;;) {
        AwaitTurn(iThread);
        if (mIsOver) return;
        iBody(static_cast<int>(iThread));
        mIsRunning[iThread] = false;
        HandOver(mIsStarting ? cDirector : Choose(iThread));
    }
}

bool Stage::PlaySchedule()
{
    mStepCount = 0;
    mIsRepeated = false;
    mIsStarting = true;
    for (unsigned i = 0; i < mThreads.size(); ++i) {
        mIsRunning[i] = true;
        HandOver(i);
        AwaitTurn(cDirector);
    }
    mIsStarting = false;
    const unsigned first = Choose(0);
    HandOver(first);
    AwaitTurn(cDirector);
    return !mIsRepeated;
}

void Stage::BeforeOperation(unsigned iThread, const Operation& iOperation)
{
    mNext[iThread] = iOperation;
    const unsigned next = mIsStarting ? cDirector : Choose(iThread);
    if (next == iThread) return;
    HandOver(next);
    AwaitTurn(iThread);
}

// The thread for the next operation: as in the schedule, or, past its end, the preferred
// one if it is to be tried.
unsigned Stage::Choose(unsigned iPreferred)
{
    if (mIsRunning == Threads{}) return cDirector;
    if (!mIsRepeated && mStepCount == mSteps.size()) {
        mSteps.push_back(MakeStep(iPreferred));
        if (mSteps.size() > cMaxSteps) std::abort(); // a thread waits for another one
        if (mSteps.back().mToTry.empty()) {
            mSteps.pop_back();
            mIsRepeated = true;
        }
    }
    if (mIsRepeated) {
        // To the end, anyhow.
        while (!mIsRunning[iPreferred % cMaxThreads])
            ++iPreferred;
        return iPreferred % cMaxThreads;
    }
    Step& step = mSteps[mStepCount++];
    step.mNext = mNext; // the atomics may lie elsewhere than in the schedule before
    return step.mToTry[step.mChosen];
}

Step Stage::MakeStep(unsigned iPreferred) const
{
    Step step{mNext, {}, {}};
    if (!mSteps.empty()) {
        // Asleep stays whoever was, or was tried before, unless the operation just made matters to its own.
        const Step& last = mSteps.back();
        const Operation& made = last.mNext[last.mToTry[last.mChosen]];
        Threads tried = last.mAsleep;
        for (std::size_t i = 0; i < last.mChosen; ++i)
            tried[last.mToTry[i]] = true;
        for (unsigned i = 0; i < cMaxThreads; ++i)
            step.mAsleep[i] = tried[i] && last.mNext[i].Commutes(made);
    }
    for (unsigned i = 0; i < cMaxThreads; ++i) {
        const unsigned thread = (iPreferred + i) % cMaxThreads;
        if (mIsRunning[thread] && !step.mAsleep[thread]) step.mToTry.push_back(thread);
    }
    return step;
}

bool Stage::Advance()
{
    while (!mSteps.empty() && ++mSteps.back().mChosen == mSteps.back().mToTry.size())
        mSteps.pop_back();
    return !mSteps.empty();
}

std::string Stage::Text() const
{
    std::string text;
    for (const Step& step : mSteps)
        text += std::to_string(step.mToTry[step.mChosen]);
    return text;
}

void Stage::HandOver(unsigned iTo)
{
    const std::lock_guard lock(mMutex);
    mTurn = iTo;
    mTurnCame[iTo].notify_one();
}

void Stage::AwaitTurn(unsigned iThread)
{
    std::unique_lock lock(mMutex);
    mTurnCame[iThread].wait(lock, [&] { return mTurn == iThread; });
}

} // namespace

void Interleaving::BeforeOperation(const void* iAtomic, bool iIsLoad)
{
    if (tStage != nullptr) tStage->BeforeOperation(tThread, {iAtomic, iIsLoad});
}

long Interleaving::ExploreAll(int iThreads, const std::function<void()>& iBefore,
                              const std::function<void(int)>& iThread, const std::function<void()>& iAfter)
{
    Stage stage(iThreads, iThread);
    long schedules = 0;
    do {
        iBefore();
        schedules += stage.PlaySchedule();
        iAfter();
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "in schedule " << stage.Text();
            break;
        }
    } while (stage.Advance());
    return schedules;
}
