// SDS_TokenTask: the dispatcher's view of one task: its queue, its listeners, its priority and whom to wake.
//
// Clients use SDS_ITokenTask, which owns one.
//
// Threads:   listeners are added and removed under the dispatcher's critical section; tokens are taken by one
//            thread at a time. SignalClientEvent on any thread.
// Ownership: owns its queue. Its destructor takes its listeners off; no thread takes its tokens then.
#pragma once

#include "Bastel/Cmn/Cmn_DoublyLinkedList.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <memory>
#include <string>

class IPSSyncPrim;
class SDS_DeliveryQueue;
class SDS_TaskListenerLink;
class SDS_TokenListener;

// Not in the exported class, so that every module has it as a constant of its own.
struct SDS_TaskPriorities
{
    // Tasks of this priority and above never allocate.
    static constexpr Cmn_Int32 cAudioPriority = 16;
};

class KORA_API SDS_TokenTask : public SDS_TaskPriorities
{
public:
    SDS_TokenTask();
    virtual ~SDS_TokenTask();
    SDS_TokenTask(const SDS_TokenTask&) = delete;
    SDS_TokenTask& operator=(const SDS_TokenTask&) = delete;

    void SetPriority(Cmn_Int32 iPriority);
    Cmn_Int32 GetPriority() const { return mPriority; }

    // Lives as long as the task.
    SDS_DeliveryQueue* DeliveryQueue() const { return mQueue.get(); }

    // The dispatcher's, under its section: a listener is in one task's list at most.
    void AddListener(SDS_TokenListener* ioListener);
    // The same for one that leaves.
    void RemoveListener(SDS_TokenListener* ioListener);

    // See SDS_ITokenTask.
    void SetClientEvent(IPSSyncPrim* iEvent);
    // Wakes the task's thread, if there is an event.
    void SignalClientEvent();

    // Nothing: a task has no thread of its own.
    void Wakeup() {}
    // The same.
    void GoToSleep() {}
    // Whether there is a task at all.
    [[nodiscard]] static bool ValidPtr(const SDS_TokenTask* iTask) { return iTask != nullptr; }
    // That of audio threads, whatever thread asks.
    [[nodiscard]] static Cmn_Int32 CurrentPriority() { return cAudioPriority; }

    // The tokens that wait, a line each, for debuggers and logs: by the thread that takes the task's tokens.
    // What producers have queued since it last looked is told by a line of its own.
    [[nodiscard]] std::string Dump() const;

private:
    Cmn_Int32 mPriority = 0;
    std::unique_ptr<SDS_DeliveryQueue> mQueue;
    std::unique_ptr<Cmn_DoublyLinkedList<SDS_TaskListenerLink>> mListeners;
};
