// SDS_IMultiTokenListener: one object that hears several types of tokens of one node.
//
// It holds one listener a type; tokens of different types stay in the order in which they were sent, unless
// the listener is a latest one: then the newest of each type is told.
//
// Threads, ownership, errors: as SDS_ITokenListener's. A derived class whose task runs on another thread
// passes null here, calls SetTask last in its constructor and StopListening first in its destructor.
#pragma once

#include "Bastel/Cmn/Cmn_PolyVector.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <memory>
#include <vector>

class SDS_IName;
class SDS_ITokenTask;
struct SDS_Token;

class KORA_API SDS_IMultiTokenListener
{
public:
    class Listener;

    // iTypes: four-character codes, one listener each, in this order; the same code twice is heard twice.
    // iTaskVal: null, or the SDS_ITokenListener that the default HandleToken hands each token to.
    SDS_IMultiTokenListener(SDS_ITokenTask* iTask, SDS_IName* iName, Cmn_Int32 iSubType,
                            const Cmn_PolyVector<Cmn_Int32>& iTypes, Cmn_Int32 iManufacturer,
                            Cmn_Int32 iProtocol, void* iTaskVal, bool iCriticalFlag, bool iLatestFlag,
                            Cmn_UInt32 iGoal);
    virtual ~SDS_IMultiTokenListener();
    SDS_IMultiTokenListener(const SDS_IMultiTokenListener&) = delete;
    SDS_IMultiTokenListener& operator=(const SDS_IMultiTokenListener&) = delete;

    // A token of one of the types has come.
    virtual void HandleToken(SDS_Token* iToken);

    // Moves its listeners to another task, one after the other. Null: to none.
    void SetTask(SDS_ITokenTask* iTask);
    // For the destructor of a derived class; see SDS_ITokenListener.
    void StopListening();

private:
    void* const mTaskVal;
    std::vector<std::unique_ptr<Listener>> mListeners;
};
