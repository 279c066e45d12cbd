#include "Kora/SDS/FicInterface/SDS_ITokenListener.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/SDS/FicInterface/SDS_IName.h"
#include "Kora/SDS/FicInterface/SDS_ITokenTask.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"

SDS_ITokenListener::SDS_ITokenListener(SDS_ITokenTask* iTask, SDS_IName* iName, Cmn_Int32 iType,
                                       Cmn_Int32 iSubType, Cmn_Int32 iManufacturer, Cmn_Int32 iProtocol,
                                       void* iTaskVal, bool iCriticalFlag, bool iLatestFlag, Cmn_UInt32 iGoal)
{
    if (iName != nullptr && iName->GetID() == nullptr) Sys_ThrowIfOSErr(eSDSErr_InvalidName);
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    mListener = std::make_unique<SDS_TokenListener>();
    Sys_ThrowIfOSErr(mListener->SetName(iName != nullptr ? iName->GetID() : nullptr, nullptr));
    Sys_ThrowIfOSErr(mListener->SetType(iType));
    Sys_ThrowIfOSErr(mListener->SetSubType(iSubType));
    Sys_ThrowIfOSErr(mListener->SetManufacturer(iManufacturer));
    Sys_ThrowIfOSErr(mListener->SetProtocol(iProtocol));
    mListener->SetGoal(iGoal);
    mListener->SetCriticalFlag(iCriticalFlag);
    mListener->SetLatestFlag(iLatestFlag);
    mListener->SetTaskVal(iTaskVal);
    SetTask(iTask);
}

SDS_ITokenListener::SDS_ITokenListener(SDS_IName* iName, const SDS_TokenListenerOptions& iOptions)
    : SDS_ITokenListener(iOptions.mTask, iName, iOptions.mType, iOptions.mSubType, iOptions.mManufacturer,
                         iOptions.mProtocol, iOptions.mReceiver.value_or(this), iOptions.mCriticalFlag,
                         iOptions.mLatestFlag, iOptions.mGoal)
{
}

// A task that went first has taken itself out of its listeners.
SDS_ITokenTask* SDS_ITokenListener::GetTask() const
{
    return mListener->GetTask() != nullptr ? mTask : nullptr;
}

void SDS_ITokenListener::StopListening()
{
    const SDS_ITokenTask::StHaltProcessing halted(GetTask());
    // Without memory for a new list the old one stays, and leads nowhere: nothing to throw in a destructor.
    static_cast<void>(mListener->SetTask(nullptr));
    mTask = nullptr;
}

SDS_ITokenListener::~SDS_ITokenListener()
{
    // The task's section comes before the dispatcher's.
    const SDS_ITokenTask::StHaltProcessing halted(GetTask());
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    mListener.reset();
}

void SDS_ITokenListener::HandleToken(SDS_Token*) {}

void SDS_ITokenListener::SetTask(SDS_ITokenTask* iTask)
{
    // The section of the task that is left: its handler may be in the middle of one of this listener's
    // tokens, and its queue in the middle of one of its mailboxes.
    const SDS_ITokenTask::StHaltProcessing halted(GetTask());
    const ESDSError result = mListener->SetTask(iTask != nullptr ? iTask->GetSDSTokenTask() : nullptr);
    mTask = iTask;
    Sys_ThrowIfOSErr(result);
}
