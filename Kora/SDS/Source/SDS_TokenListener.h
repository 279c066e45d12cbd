// SDS_TokenListener: the dispatcher's view of one listener: which node, which kinds of tokens, which task.
//
// A listener is active once a node and a task are set (a global one needs the task alone). Each setter of
// what decides the delivery takes it out, changes it and puts it back behind the node's other listeners; so
// it is for set-up, not for real-time threads.
// Clients use SDS_ITokenListener, which owns one.
//
// Threads:   setters on any thread, under the dispatcher's critical section, which they enter themselves.
//            The task is halted, or the caller's own, while its listener is changed or destroyed: a token in
//            hand may be the listener's.
// Ownership: holds a reference on its node; the node, the task and the task value are others'.
#pragma once

#include "Bastel/Cmn/Cmn_DoublyLinkedList.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"

class SDS_TokenTask;
struct SDS_ActiveListener;
struct SDS_Name;

// The record by which a listener hangs in its task's list.
class SDS_TaskListenerLink : public Cmn_DoublyLinkedListLink
{
};

class KORA_API SDS_TokenListener : public SDS_TaskListenerLink
{
public:
    SDS_TokenListener();
    virtual ~SDS_TokenListener();
    SDS_TokenListener(const SDS_TokenListener&) = delete;
    SDS_TokenListener& operator=(const SDS_TokenListener&) = delete;

    // The node must exist (SDS_NameRegistry::GetNameId); where it does not, the listener stays as it was.
    ESDSError SetName(SDS_Name* iBase, const char* iPath);
    // Four-character codes; 0 is any.
    ESDSError SetType(Cmn_Int32 iType);
    ESDSError SetSubType(Cmn_Int32 iSubType);
    // Kept; no part in the delivery.
    ESDSError SetManufacturer(Cmn_Int32 iManufacturer);
    ESDSError SetProtocol(Cmn_Int32 iProtocol);
    // Null takes the listener out.
    ESDSError SetTask(SDS_TokenTask* iTask);
    // A global listener hears the tokens of nodes that have no list of their own: nobody has ever listened
    // there, nor at a node that is connected with them. Its name plays no part then.
    ESDSError SetGlobal(bool iGlobal);

    void SetGoal(Cmn_UInt32 iGoal) { mGoal = iGoal; }
    void SetCriticalFlag(bool iCritical) { mCritical = iCritical; }
    // From the next token on.
    void SetLatestFlag(bool iLatest);
    // What SDS_ITokenTask::ProcessTokens calls: an SDS_ITokenListener.
    void SetTaskVal(void* iTaskVal) { mTaskVal = iTaskVal; }

    SDS_Name* GetName() const { return mName; }
    Cmn_Int32 GetType() const { return mType; }
    Cmn_Int32 GetSubType() const { return mSubType; }
    Cmn_Int32 GetManufacturer() const { return mManufacturer; }
    Cmn_Int32 GetProtocol() const { return mProtocol; }
    Cmn_UInt32 GetGoal() const { return mGoal; }
    bool GetCriticalFlag() const { return mCritical; }
    bool IsGlobal() const { return mGlobal; }
    bool GetLatestFlag() const { return mLatest; }
    SDS_TokenTask* GetTask() const { return mTask; }
    void* GetTaskVal() const { return mTaskVal; }
    bool IsActive() const { return mActive; }

    // The dispatcher's: the chain of active listeners that lead here.
    void AddActiveListener(SDS_ActiveListener* ioActive);
    // Of one that goes, or whose list is recycled.
    void RemoveActiveListener(SDS_ActiveListener* ioActive);

    // The consumer's: the highest number taken from a mailbox. A rebuild gives the listener another mailbox;
    // when the notice of the older one comes late, its token has been overtaken.
    bool IsOvertaken(Cmn_UInt64 iNumber) const { return iNumber < mNewestMail; }
    // Numbers ascend.
    void NoteMail(Cmn_UInt64 iNumber) { mNewestMail = iNumber; }

    // The neighbour in the node's list, in the order of activation.
    SDS_TokenListener* GetNextInName() const { return mNextInName; }

private:
    friend struct SDS_NameListeners;

    template <class T>
    ESDSError Change(T& ioField, T iValue);
    ESDSError Activate();
    ESDSError Deactivate();
    ESDSError Rebuild();
    void LeaveLists();
    void LeaveChain();

    SDS_TokenListener* mNextInName = nullptr;
    SDS_TokenListener* mPreviousInName = nullptr;
    SDS_ActiveListener* mChain = nullptr;
    Cmn_UInt64 mNewestMail = 0; // in the order of the task's queue
    SDS_Name* mName = nullptr;
    SDS_TokenTask* mTask = nullptr;
    void* mTaskVal = nullptr;
    Cmn_Int32 mType = 0;
    Cmn_Int32 mSubType = 0;
    Cmn_Int32 mManufacturer = 0;
    Cmn_Int32 mProtocol = 0;
    Cmn_UInt32 mGoal = 0;
    bool mCritical = false;
    bool mLatest = false;
    bool mGlobal = false;
    bool mActive = false;
};
