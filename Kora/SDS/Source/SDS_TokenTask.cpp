#include "Kora/SDS/Source/SDS_TokenTask.h"

#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTracker.h"
#include "OstrelPlatformSupport/IPSSyncPrim.h"

SDS_TokenTask::SDS_TokenTask()
    : mListeners(std::make_unique<Cmn_DoublyLinkedList<SDS_TaskListenerLink>>())
{
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    mQueue = std::make_unique<SDS_DeliveryQueue>(*this);
}

SDS_TokenTask::~SDS_TokenTask()
{
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    while (SDS_TaskListenerLink* const link = mListeners->GetFirst()) {
        static_cast<void>(static_cast<SDS_TokenListener*>(link)->SetTask(nullptr));
    }
    mQueue.reset();
}

void SDS_TokenTask::SetPriority(Cmn_Int32 iPriority)
{
    mPriority = iPriority;
    mQueue->GetBlock().mPriority.store(iPriority);
}

void SDS_TokenTask::AddListener(SDS_TokenListener* ioListener) { mListeners->PushBack(*ioListener); }

void SDS_TokenTask::RemoveListener(SDS_TokenListener* ioListener) { mListeners->Remove(*ioListener); }

void SDS_TokenTask::SetClientEvent(IPSSyncPrim* iEvent) { mQueue->GetBlock().SetEvent(iEvent); }

void SDS_TokenTask::SignalClientEvent() { mQueue->GetBlock().Signal(); }

std::string SDS_TokenTask::Dump() const
{
    std::string text = "task, priority " + std::to_string(mPriority) + '\n';
    for (const SDS_DeliveryElement* element = mQueue->GetFirstPending(); element != nullptr;
         element = element->GetNext())
    {
        const bool heard = element->mActiveListener->mListener.load() != nullptr;
        text += "  " + std::to_string(element->mNumber) + ' ' +
                SDS_TokenTracker::Describe(*const_cast<SDS_DeliveryElement*>(element)->GetToken()) +
                (heard ? "\n" : ", its listener gone\n");
    }
    if (!mQueue->GetBlock().mInbound.IsEmpty()) text += "  more has come in\n";
    return text;
}
