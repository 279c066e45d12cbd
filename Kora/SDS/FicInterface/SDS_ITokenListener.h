// SDS_ITokenListener: hears the tokens of one node, of one type and subtype or of any, on a task's thread.
//
//   constexpr Cmn_Int32 cMeterType = 0x4D545220; // "MTR "
//   class Meter final : public SDS_ITokenListener {
//   public:
//       Meter(SDS_ITokenTask& iTask, SDS_IName& iName)
//           : SDS_ITokenListener(&iName, {.mType = cMeterType, .mLatestFlag = true})
//       {
//           SetTask(&iTask); // last: a token may come at once
//       }
//       ~Meter() override { StopListening(); } // first: none comes any more
//       void HandleToken(SDS_Token* iToken) override { … }
//   };
//
// A task that another thread processes calls HandleToken as soon as the listener has the task, and
// until it has it no more. So the class that overrides HandleToken gives the task when all of it is
// built, and takes it away before any of it goes. A task may be given to this class's constructor while
// no other thread processes it.
//
// A listener hears the tokens of its node and of all nodes that are connected with it, directly or through
// others. A latest listener is told only of the newest token that waits.
//
// Threads:   made, moved and destroyed on any thread, one at a time. SetTask, StopListening and the
//            destructor wait until the task that the listener leaves handles no token; what was queued
//            for it there is never handed out afterwards. They must not be called by a thread that
//            holds the dispatcher's critical section. HandleToken runs in
//            SDS_ITokenTask::ProcessTokens, and may call all three.
// Ownership: owns its SDS_TokenListener. The task outlives it, or is destroyed first on the same
//            thread; the name may go before.
// Errors:    what the dispatcher refuses is thrown by Sys_ThrowIfOSErr (Cmn_Exception).
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <memory>
#include <optional>

class SDS_IName;
class SDS_ITokenTask;
class SDS_TokenListener;
struct SDS_Token;
class SDS_ITokenListener;

// What a listener hears, and where. What is left out has the value that most listeners want: every token of
// the node, in order, handed to the listener itself once it is given a task.
struct SDS_TokenListenerOptions
{
    // Null: none yet. SetTask gives it one, when the derived class is built.
    SDS_ITokenTask* mTask = nullptr;
    // Four-character codes of the tokens that it hears; 0 is any.
    Cmn_Int32 mType = 0;
    Cmn_Int32 mSubType = 0;
    // Kept for whoever reads them, of any value; no part in the delivery.
    Cmn_Int32 mManufacturer = 0;
    Cmn_Int32 mProtocol = 0;
    // Whose HandleToken the task calls; null: nobody is called. Without one it is the listener itself.
    // Another one must live as long as the listener.
    std::optional<SDS_ITokenListener*> mReceiver = std::nullopt;
    // Kept; no part in the delivery.
    bool mCriticalFlag = false;
    // Of the tokens that wait only the newest is told.
    bool mLatestFlag = false;
    // Kept, of any value; no part in the delivery.
    Cmn_UInt32 mGoal = 0;
};

class KORA_API SDS_ITokenListener
{
public:
    // iName: null is the root; a handle without a node throws eSDSErr_InvalidName.
    explicit SDS_ITokenListener(SDS_IName* iName, const SDS_TokenListenerOptions& iOptions = {});
    // The same with each option spelt out. iTask: null, or as above. iType, iSubType: four-character codes, 0
    // for any. iManufacturer, iProtocol, iGoal and iCriticalFlag are kept for whoever reads them and take no
    // part in the delivery. iTaskVal: the SDS_ITokenListener whose HandleToken the task calls, as a pointer to
    // just that class (null: nobody is called).
    SDS_ITokenListener(SDS_ITokenTask* iTask, SDS_IName* iName, Cmn_Int32 iType, Cmn_Int32 iSubType,
                       Cmn_Int32 iManufacturer, Cmn_Int32 iProtocol, void* iTaskVal, bool iCriticalFlag,
                       bool iLatestFlag, Cmn_UInt32 iGoal);
    virtual ~SDS_ITokenListener();
    SDS_ITokenListener(const SDS_ITokenListener&) = delete;
    SDS_ITokenListener& operator=(const SDS_ITokenListener&) = delete;

    // A token has come. The token is the callee's until it returns. An exception ends ProcessTokens, which
    // passes it on when the token is done with. The default does nothing.
    virtual void HandleToken(SDS_Token* iToken);

    // Moves the listener to another task, which may run; tokens that wait in the old one are never
    // handed out. Null: to none. Out of memory it throws, and the listener may hear nothing until
    // it is given a task again.
    void SetTask(SDS_ITokenTask* iTask);

    SDS_TokenListener* GetSDSTokenListener() const { return mListener.get(); }

    // SetTask(nullptr) that throws nothing, for the destructors of derived classes.
    void StopListening();

    // Null when it has none, or the task has been destroyed.
    SDS_ITokenTask* GetTask() const;

private:
    SDS_ITokenTask* mTask = nullptr;
    std::unique_ptr<SDS_TokenListener> mListener;
};
