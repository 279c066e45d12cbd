// SDS_TokenDispatcher: brings a token to every listener of its node and of the nodes connected with it.
//
//   any thread                          the task's thread
//   DispatchToken ─▶ a copy for each ─▶ the queue of the ─▶ GetToken, HandleToken, DoneWithToken
//                    listener           listener's task
//
// Clients dispatch through SDS_IName::HandleToken and receive through SDS_ITokenListener and SDS_ITokenTask.
//
// Order:     the tokens of one producer reach one listener in the order in which they were sent.
// Capacity:  tokens wait in cells of four sizes (room for tokens of 64, 108, 390 and 1080 bytes; 1000, 1000,
//            1000 and 200 of them). The smallest that fits is taken; no larger one stands in. A size that
//            runs low grows when a task of a priority below 16 takes tokens, to at most 16 times as many. A thread
//            that sends one token after the other keeps up to 8 free cells of a size for itself until it ends, all
//            of them together less than a 32nd.
// Threads:   DispatchToken, TokensAvailable and GetTokensPaused on any thread. GetToken and DoneWithToken on
//            one thread at a time for each task. The rest enters the dispatcher's critical section itself; a
//            thread that needs several steps as one enters it around them (it is recursive). A task's section
//            comes before it: who holds the dispatcher's does not halt a task.
// Real time: DispatchToken never allocates, locks, waits or throws. It calls the system only to wake a
//            sleeper whose task has a client event, and for the clock of a token that asks for the time.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"
#include "OstrelPlatformSupport/IPSSyncPrim.h"

#include <string>

class SDS_ActiveListenerList;
class SDS_TokenListener;
class SDS_TokenTask;
struct SDS_DeliveryElement;
struct SDS_Name;
struct SDS_Token;
template <class T>
class Sys_MultiSizeAtomicPool;

class KORA_API SDS_TokenDispatcher
{
public:
    // Looks at a token before it is delivered; other than 0 consumes it.
    using TokenFilter = unsigned char (*)(SDS_Token*);

    // Called by SDS_NameRegistry::Init; once only, later calls succeed at once.
    static ESDSError Init();
    // Nothing: what Init made lives until the process ends.
    static void Free() {}
    // Nothing: there is no work that waits for idle time.
    static void IdleRoutine() {}

    // Copies the token to all who hear it. A `time` of 1 is replaced, in the caller's
    // token, by the clock's reading.
    //   eSDSErr_OutOfMemory    no token, or one whose size is below its header's
    //   eSDSErr_InvalidName    no node in it
    //   eSDSErr_TokenPoolFull  no cell was free, or the token is larger than 1080 bytes; the
    //                          listeners before have it
    static ESDSError DispatchToken(SDS_Token* ioToken) KORA_NONBLOCKING;

    // The task's next token and the listener that it is for; both null when none waits. Each token obtained
    // is given back by DoneWithToken, once. Without a task: eSDSErr_InvalidTask; without a place for a
    // result: eSDSErr_OutOfMemory.
    static ESDSError GetToken(SDS_TokenTask* iTask, SDS_TokenListener** oListener, SDS_Token** oToken);
    // The same with the value that the listener was given for its task.
    static ESDSError GetTokenAndTaskVal(SDS_TokenTask* iTask, SDS_TokenListener** oListener, void** oTaskVal,
                                        SDS_Token** oToken);
    // Gives a token back that GetToken gave.
    static ESDSError DoneWithToken(SDS_Token* iToken);
    // Whether any waits, at one moment.
    static ESDSError TokensAvailable(SDS_TokenTask* iTask, unsigned char* oAvailable);

    // Sees each token first, on the producer's thread; one for which it returns other than 0 goes no further,
    // and its dispatch succeeds. Null removes it.
    static void SetDispatchTokenFilter(TokenFilter iFilter);

    // While paused, listeners that come and nodes that are connected or parted have no effect on the
    // delivery yet; a listener that goes hears nothing more, and tokens are delivered on. Pauses nest;
    // the last one's end makes up for it, with one rebuild for all nodes that are connected. For
    // changes to many nodes at once.
    static void SetTokensPaused(bool iPaused);
    static bool GetTokensPaused();

    // Computes anew who hears the node and all that is connected with it; while paused,
    // and without iForce, later.
    static ESDSError RebuildActiveListenerList(SDS_Name* iName, bool iForce);
    // Drops a node's share of its list.
    static ESDSError FreeActiveListenerList(SDS_Name* iName);
    // Drops one reference to a list; at the last one it is recycled as soon as nobody uses it.
    static ESDSError FreeActiveListenerList(SDS_ActiveListenerList* ioList);

    // "SDS_TokenDispatcher_CS". Before Init, asserts "Kora_Init::sInitializedCount > 0" and calls it.
    static IPSSyncPrim* GetCriticalSection();

    // The library's own.
    static Sys_MultiSizeAtomicPool<SDS_DeliveryElement>& GetTokenPool();
    // Adds cells to sizes that run low; allocates.
    static void GrowTokenPoolIfLow();
    static Cmn_UInt32 GetTokenPoolGrowCount();
    // A node that goes is not rebuilt at a pause's end.
    static void TakeOffBatchList(SDS_Name& ioName);
    // Who hears what no node's listeners do.
    static ESDSError RebuildGlobalListeners();

    // What debug and sanitizer builds call between the steps of dispatch, delivery and retirement, on any
    // thread; release builds never do. Tests let threads change there.
    static void SetInterleavingHook(void (*iHook)());
    // Calls the hook, if there is one.
    static void CallInterleavingHook();

    // Free cells of each size of all that there are, and lists that wait to be
    // recycled; for debuggers and logs.
    [[nodiscard]] static std::string Dump();
};
