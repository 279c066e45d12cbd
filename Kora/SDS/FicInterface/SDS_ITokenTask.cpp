#include "Kora/SDS/FicInterface/SDS_ITokenTask.h"

#include "Bastel/Sys/Sys_Clock.h"
#include "Kora/SDS/FicInterface/SDS_ITokenListener.h"
#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"
#include "Kora/SDS/Source/SDS_TokenTracker.h"
#include "OstrelPlatformSupport/PSThread.h"

namespace {

// Leaves a section that has been entered.
class StLeave
{
public:
    explicit StLeave(IPSSyncPrim& iSection)
        : mSection(iSection)
    {
    }
    ~StLeave() { mSection.Leave(); }
    StLeave(const StLeave&) = delete;
    StLeave& operator=(const StLeave&) = delete;

private:
    IPSSyncPrim& mSection;
};

// Gives a token's element back at the end of its handling, however that ends.
class StInHand
{
public:
    StInHand(SDS_ReleaseBatch& ioBatch, SDS_DeliveryElement& iElement)
        : mBatch(ioBatch)
        , mElement(iElement)
    {
    }
    ~StInHand() { mBatch.Release(mElement); }
    StInHand(const StInHand&) = delete;
    StInHand& operator=(const StInHand&) = delete;

private:
    SDS_ReleaseBatch& mBatch;
    SDS_DeliveryElement& mElement;
};

// True once the budget is used up; 0 is no bound.
class Budget
{
public:
    explicit Budget(Cmn_Int32 iMsec)
        : mBounded(iMsec != 0)
        , mDeadline(mBounded ? NowMsec() + iMsec : 0)
    {
    }
    bool IsUsedUp() const { return mBounded && NowMsec() >= mDeadline; }

private:
    static Cmn_Int64 NowMsec() { return Sys_Clock::GetMonotonicMicroseconds() / 1000; }

    const bool mBounded;
    const Cmn_Int64 mDeadline;
};

} // namespace

SDS_ITokenTask::SDS_ITokenTask(Cmn_Int32 iPriority)
    : mTask(std::make_unique<SDS_TokenTask>())
    , mPriority(iPriority)
    , mCriticalSectionP(gPSThread.CreateCriticalSection("SDS_ITokenTask::mCriticalSectionP"))
{
    mTask->SetPriority(iPriority);
    HaltProcessing();
}

SDS_ITokenTask::~SDS_ITokenTask()
{
    static_cast<void>(mCriticalSectionP->Enter(IPSSyncPrim::cWaitForever));
    for (Cmn_Int32 count = mHaltCount.load(std::memory_order_relaxed); count > 0; --count)
        mCriticalSectionP->Leave();
    mCriticalSectionP->Leave();
    mTask.reset();
}

void SDS_ITokenTask::SetClientEvent(IPSSyncPrim* iEvent) { mTask->SetClientEvent(iEvent); }

void SDS_ITokenTask::SignalClientEvent() { mTask->SignalClientEvent(); }

void SDS_ITokenTask::HaltProcessing()
{
    static_cast<void>(mCriticalSectionP->Enter(IPSSyncPrim::cWaitForever));
    mHaltCount.fetch_add(1, std::memory_order_relaxed);
}

void SDS_ITokenTask::ResumeProcessing()
{
    mHaltCount.fetch_sub(1, std::memory_order_relaxed);
    mCriticalSectionP->Leave();
}

bool SDS_ITokenTask::IsRunning() const { return mHaltCount.load(std::memory_order_relaxed) <= 0; }

bool SDS_ITokenTask::ProcessTokens(Cmn_Int32 iBudgetMsec, const Time_Sample& iSampleTime, Cmn_Int64 iMsecTime)
{
    if (!mCriticalSectionP->Enter(IPSSyncPrim::cTryOnly)) return false;
    const StLeave leave(*mCriticalSectionP);
    if (!IsRunning()) return false;
    mProcessSampleTime = iSampleTime;
    mProcessMsecTime = iMsecTime;
    const Budget budget(iBudgetMsec);
    SDS_ReleaseBatch batch(SDS_TokenDispatcher::GetTokenPool());
    SDS_DeliveryQueue& queue = *mTask->DeliveryQueue();
    bool taken = false;
    do {
        const auto [element, listener] = queue.TakeNext(batch);
        if (element == nullptr) break;
        const StInHand inHand(batch, *element);
        batch.ReturnScarce();
        taken = true;
        void* const taskVal = listener->GetTaskVal();
        static_cast<void>(SDS_TokenTracker::TrackTokenDelivery(mTask.get(), listener, taskVal,
                                                               element->GetToken(), "ProcessTokens"));
        if (taskVal != nullptr) static_cast<SDS_ITokenListener*>(taskVal)->HandleToken(element->GetToken());
    } while (!budget.IsUsedUp());
    return taken;
}

void SDS_ITokenTask::SetDispatchTokenFilter(unsigned char (*iFilter)(SDS_Token*))
{
    SDS_TokenDispatcher::SetDispatchTokenFilter(iFilter);
}

void SDS_ITokenTask::SetTokensPaused(bool iPaused) { SDS_TokenDispatcher::SetTokensPaused(iPaused); }
