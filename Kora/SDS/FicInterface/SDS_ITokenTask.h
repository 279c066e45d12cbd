// SDS_ITokenTask: a thread's place to receive tokens: its owner calls ProcessTokens,
// which tells the listeners.
//
//   SDS_ITokenTask task(0);                     // halted, the section entered
//   Meter meter(task, name);
//   task.ResumeProcessing();
//   …
//   task.ProcessTokens(2, position, now);       // on any one thread at a time: at most about 2 ms
//
//           HaltProcessing                           last ResumeProcessing
//   running ──────────────▶ halted (count ≥ 1; the   ─────────────────────▶ running
//                           section held by the halting thread)
//
// Units:     the budget and times in milliseconds, the sample time in samples.
// Priority:  below 16, two tokens at most wait for a latest listener (the newest, and one that the task has
//            taken over), and the token pool grows when it runs low, in ProcessTokens. At 16 and above
//            (audio threads) nothing is ever allocated; a latest listener's older tokens are dropped when
//            the task looks into its queue.
// Threads:   ProcessTokens on any thread, one at a time: a second thread gets false at once. HaltProcessing,
//            its ResumeProcessing and the destruction of a halted task happen on one thread.
// Real time: ProcessTokens takes the task's section without waiting and else costs what the handlers
//            cost, and a look into the queue, which takes over all that has come in: as many tokens at
//            most as the pool has cells.
// Ownership: owns its SDS_TokenTask; listeners that still hang on it are taken off when it is destroyed.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/Time/Values/Time_Sample.h"

#include <atomic>
#include <memory>

class IPSSyncPrim;
class SDS_TokenTask;
struct SDS_Token;

class KORA_API SDS_ITokenTask
{
public:
    class StHaltProcessing;

    // The new task is halted by the calling thread.
    explicit SDS_ITokenTask(Cmn_Int32 iPriority);
    virtual ~SDS_ITokenTask();
    SDS_ITokenTask(const SDS_ITokenTask&) = delete;
    SDS_ITokenTask& operator=(const SDS_ITokenTask&) = delete;

    SDS_TokenTask* GetSDSTokenTask() const { return mTask.get(); }
    Cmn_Int32 GetPriority() const { return mPriority; }

    // What is signalled (left) for each token queued; null for nothing. When it returns, nobody signals the
    // event that was there before, which may then be destroyed.
    void SetClientEvent(IPSSyncPrim* iEvent);
    // As if a token had been queued: wakes the thread that waits. Nothing without an event.
    void SignalClientEvent();

    // Waits until no other thread handles a token; afterwards none does until the matching
    // ResumeProcessing. They nest. A handler that halts its own task does not stop the ProcessTokens that
    // called it, which goes on to its end.
    void HaltProcessing();
    // On the thread that halted. The last one lets tokens be handled again.
    void ResumeProcessing();
    // False while halted. Exact on the halting thread, a glimpse on others.
    [[nodiscard]] bool IsRunning() const;

    // Hands each token that waits to its listener's task value, in order, until none is left or the budget
    // (0: unbounded) is used up, at which it looks after each token: the token in hand is always finished.
    // True when at least one token was taken; false also when the task is halted or another thread is inside.
    // Passes on what a handler throws.
    bool ProcessTokens(Cmn_Int32 iBudgetMsec, const Time_Sample& iSampleTime, Cmn_Int64 iMsecTime);

    // What the last ProcessTokens was given.
    const Time_Sample& GetProcessSampleTime() const { return mProcessSampleTime; }
    Cmn_Int64 GetProcessMsecTime() const { return mProcessMsecTime; }

    // SDS_TokenDispatcher::SetDispatchTokenFilter, for all tasks.
    static void SetDispatchTokenFilter(unsigned char (*iFilter)(SDS_Token*));
    // SDS_TokenDispatcher::SetTokensPaused, for all tasks.
    static void SetTokensPaused(bool iPaused);

private:
    std::unique_ptr<SDS_TokenTask> mTask;
    const Cmn_Int32 mPriority;
    // Written by the thread inside the section only.
    std::atomic<Cmn_Int32> mHaltCount{0};
    std::unique_ptr<IPSSyncPrim> mCriticalSectionP;
    Time_Sample mProcessSampleTime;
    Cmn_Int64 mProcessMsecTime = 0;
};

// Halts a task for a scope; null halts nothing.
class [[nodiscard]] SDS_ITokenTask::StHaltProcessing
{
public:
    // Halts until the scope ends, on the same thread.
    explicit StHaltProcessing(SDS_ITokenTask* iTask)
        : mTask(iTask)
    {
        if (mTask != nullptr) mTask->HaltProcessing();
    }
    ~StHaltProcessing()
    {
        if (mTask != nullptr) mTask->ResumeProcessing();
    }
    StHaltProcessing(const StHaltProcessing&) = delete;
    StHaltProcessing& operator=(const StHaltProcessing&) = delete;

private:
    SDS_ITokenTask* const mTask;
};
