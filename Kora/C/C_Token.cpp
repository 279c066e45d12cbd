// Names and tokens: sending without a lock, and receivers that handle what was sent.
#include "Kora/C/C_Give_p.h"
#include "Kora/C/C_Handle_p.h"
#include "Kora/C/Kora_CToken.h"
#include "Kora/SDS/FicInterface/SDS_IName.h"
#include "Kora/SDS/FicInterface/SDS_ITokenListener.h"
#include "Kora/SDS/FicInterface/SDS_ITokenTask.h"
#include "Kora/SDS/FicInterface/SDS_Token.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"
#include "OstrelPlatformSupport/PSEvent.h"

#include <atomic>
#include <cstring>
#include <optional>

namespace {

constexpr std::size_t cPathBytes = 1024;
constexpr std::uint32_t cKnownFlags = KORA_RECEIVER_AUDIO | KORA_RECEIVER_WAITS;

struct Token
{
    SDS_Token mHeader;
    alignas(8) unsigned char mBytes[KORA_TOKEN_BYTES];
};
static_assert(offsetof(Token, mBytes) == sizeof(SDS_Token));

kora_status StatusOf(ESDSError iError)
{
    switch (iError) {
    case eSDSErr_None:
        return KORA_OK;
    case eSDSErr_OutOfMemory:
        return KORA_NO_MEMORY;
    case eSDSErr_NameNotFound:
        return KORA_NOT_FOUND;
    case eSDSErr_TokenPoolFull:
        return KORA_FULL;
    default:
        return KORA_BAD_ARGUMENT;
    }
}

const char* TextOf(ESDSError iError)
{
    switch (iError) {
    case eSDSErr_NameTooLong:
        return "a name has more than 31 bytes";
    case eSDSErr_PathTooLong:
        return "a path has more than 1023 bytes";
    case eSDSErr_NameNotFound:
        return "there is no such name";
    case eSDSErr_OutOfMemory:
        return "out of memory, or a name is held too often";
    default:
        return "the call was refused";
    }
}

void Check(ESDSError iError)
{
    if (iError != eSDSErr_None) C_Throw(StatusOf(iError), TextOf(iError));
}

// The registry takes no lock of its own.
class StRegistry : IPSSyncPrim::StEnter
{
public:
    StRegistry()
        : IPSSyncPrim::StEnter(*SDS_TokenDispatcher::GetCriticalSection())
    {
    }
};

} // namespace

struct kora_name : C_Handle
{
    static constexpr EKind cKind = eKind_Name;

    kora_name(SDS_Name* iBase, const char* iPath)
        : C_Handle(cKind, &C_Delete<kora_name>)
    {
        const StRegistry section;
        Check(SDS_NameRegistry::ReserveName(iBase, iPath, &mID));
    }
    ~kora_name()
    {
        const StRegistry section;
        static_cast<void>(SDS_NameRegistry::FreeName(mID, nullptr)); // it is reserved
    }

    SDS_Name* mID = nullptr;
};

struct kora_receiver : C_Handle
{
    static constexpr EKind cKind = eKind_Receiver;

    explicit kora_receiver(std::uint32_t iFlags)
        : C_Handle(cKind, &C_Delete<kora_receiver>)
        , mTask((iFlags & KORA_RECEIVER_AUDIO) != 0 ? SDS_TokenTask::cAudioPriority : 0)
    {
        if ((iFlags & KORA_RECEIVER_WAITS) != 0) mTask.SetClientEvent(&mEvent.emplace("kora_receiver"));
        mTask.ResumeProcessing();
    }
    ~kora_receiver() { mTask.SetClientEvent(nullptr); }

    PSEvent& Event()
    {
        C_Require(mEvent.has_value(), "the receiver was made without KORA_RECEIVER_WAITS", KORA_BUSY);
        return *mEvent;
    }
    // How many were handled.
    std::size_t Process(std::int32_t iMilliseconds)
    {
        C_Require(!mIsProcessed.exchange(true, std::memory_order_acquire),
                  "another thread handles its tokens", KORA_BUSY);
        mHandled = 0;
        static_cast<void>(mTask.ProcessTokens(iMilliseconds, Time_Sample(0), 0));
        const std::size_t handled = mHandled;
        mIsProcessed.store(false, std::memory_order_release);
        return handled;
    }

    std::optional<PSEvent> mEvent;
    SDS_ITokenTask mTask;
    std::atomic<bool> mIsProcessed{false};
    std::size_t mHandled = 0; // of the thread that is at it
};

namespace {

// Calls a host's handler.
class Hearing final : public SDS_ITokenListener
{
public:
    Hearing(kora_receiver& ioReceiver, SDS_IName& iName, std::uint32_t iType, std::uint32_t iSubType,
            bool iIsNewest, kora_token_handler iHandler, void* iUser)
        : SDS_ITokenListener(nullptr, &iName, static_cast<Cmn_Int32>(iType), static_cast<Cmn_Int32>(iSubType),
                             0, 0, static_cast<SDS_ITokenListener*>(this), false, iIsNewest, 0)
        , mReceiver(ioReceiver)
        , mHandler(iHandler)
        , mUser(iUser)
    {
        SetTask(&ioReceiver.mTask);
    }
    ~Hearing() override { StopListening(); }

    void HandleToken(SDS_Token* iToken) override
    {
        // Before the handler, which may be the end of this.
        ++mReceiver.mHandled;
        const kora_token token{
            reinterpret_cast<const unsigned char*>(iToken) + sizeof(SDS_Token),
            static_cast<std::uint32_t>(static_cast<std::size_t>(iToken->size) - sizeof(SDS_Token)),
            static_cast<std::uint32_t>(iToken->type), static_cast<std::uint32_t>(iToken->subtype), 0};
        mHandler(mUser, &token);
    }

private:
    kora_receiver& mReceiver;
    const kora_token_handler mHandler;
    void* const mUser;
};

} // namespace

struct kora_listener : C_Handle
{
    static constexpr EKind cKind = eKind_Listener;

    kora_listener(kora_receiver& ioReceiver, kora_name& ioName, std::uint32_t iType, std::uint32_t iSubType,
                  bool iIsNewest, kora_token_handler iHandler, void* iUser)
        : C_Handle(cKind, &C_Delete<kora_listener>)
        , mReceiver(ioReceiver)
        , mName(ioName)
        , mNode(ioName.mID)
        , mHearing(ioReceiver, mNode, iType, iSubType, iIsNewest, iHandler, iUser)
    {
    }

    C_Ref<kora_receiver> mReceiver;
    C_Ref<kora_name> mName;
    SDS_IName mNode; // refers to the name's
    Hearing mHearing;
};

namespace {

template <class Call>
kora_status Join(const Call& iCall, kora_name* iA, kora_name* iB)
{
    return C_Guard([&] {
        SDS_Name* const a = C_Get(iA, "a").mID;
        SDS_Name* const b = C_Get(iB, "b").mID;
        const StRegistry section;
        Check(iCall(a, nullptr, b, nullptr));
    });
}

} // namespace

kora_status kora_name_new(const char* path, kora_name** out)
{
    return C_Guard([&] {
        C_Out(path, "path");
        kora_name*& name = C_Out(out, "out");
        name = new kora_name(nullptr, path);
    });
}

kora_status kora_name_new_below(kora_name* parent, const char* path, kora_name** out)
{
    return C_Guard([&] {
        SDS_Name* const base = C_Get(parent, "parent").mID;
        C_Out(path, "path");
        kora_name*& name = C_Out(out, "out");
        name = new kora_name(base, path);
    });
}

kora_status kora_name_path(kora_name* name, char* buffer, size_t capacity, size_t* size)
{
    return C_Guard([&] {
        SDS_Name* const node = C_Get(name, "name").mID;
        C_Out(size, "size");
        char path[cPathBytes];
        {
            const StRegistry section;
            Check(SDS_NameRegistry::GetPath(node, nullptr, path));
        }
        C_GiveText(path, buffer, capacity, size);
    });
}

kora_status kora_name_connect(kora_name* a, kora_name* b)
{
    return Join(&SDS_NameRegistry::ConnectNames, a, b);
}

kora_status kora_name_disconnect(kora_name* a, kora_name* b)
{
    return Join(&SDS_NameRegistry::DisconnectNames, a, b);
}

kora_status kora_send(kora_name* name, uint32_t type, uint32_t subtype, const void* bytes, size_t size)
{
    bool isFull = false;
    const kora_status status = C_Guard([&] {
        SDS_Name* const node = C_Get(name, "name").mID;
        C_Require(type != 0, "type is 0");
        C_Require(size <= KORA_TOKEN_BYTES, "size is more than 1024");
        C_Require(bytes != nullptr || size == 0, "bytes is null", KORA_NULL_ARGUMENT);
        Token token; // its bytes behind size are never looked at
        token.mHeader = {};
        token.mHeader.name = node;
        token.mHeader.type = static_cast<Cmn_Int32>(type);
        token.mHeader.subtype = static_cast<Cmn_Int32>(subtype);
        token.mHeader.size = static_cast<Cmn_Int16>(sizeof(SDS_Token) + size);
        if (size > 0) std::memcpy(token.mBytes, bytes, size);
        const ESDSError error = SDS_TokenDispatcher::DispatchToken(&token.mHeader);
        isFull = error == eSDSErr_TokenPoolFull;
        if (!isFull) Check(error);
    });
    return isFull ? KORA_FULL : status;
}

kora_status kora_receiver_new(uint32_t flags, kora_receiver** out)
{
    return C_Guard([&] {
        kora_receiver*& receiver = C_Out(out, "out");
        C_Require((flags & ~cKnownFlags) == 0, "flags has unknown bits");
        receiver = new kora_receiver(flags);
    });
}

kora_status kora_listener_new(kora_receiver* receiver, kora_name* name, uint32_t type, uint32_t subtype,
                              int32_t which, kora_token_handler handler, void* user, kora_listener** out)
{
    return C_Guard([&] {
        kora_receiver& by = C_Get(receiver, "receiver");
        kora_name& of = C_Get(name, "name");
        C_Require(handler != nullptr, "handler is null", KORA_NULL_ARGUMENT);
        kora_listener*& listener = C_Out(out, "out");
        C_Require(which == KORA_LISTEN_ALL || which == KORA_LISTEN_NEWEST,
                  "which is neither all nor the newest");
        listener = new kora_listener(by, of, type, subtype, which == KORA_LISTEN_NEWEST, handler, user);
    });
}

kora_status kora_receiver_process(kora_receiver* receiver, int32_t milliseconds, size_t* handled)
{
    return C_Guard([&] {
        kora_receiver& of = C_Get(receiver, "receiver");
        C_Require(milliseconds >= 0, "milliseconds is below 0");
        const C_Ref<kora_receiver> kept(of); // whatever a handler does
        const std::size_t count = of.Process(milliseconds);
        if (handled != nullptr) *handled = count;
    });
}

kora_status kora_receiver_wait(kora_receiver* receiver, int32_t milliseconds)
{
    return C_Guard([&] {
        PSEvent& event = C_Get(receiver, "receiver").Event();
        C_Require(event.Wait(milliseconds), "no token came in time", KORA_NOT_FOUND);
    });
}

kora_status kora_receiver_wake(kora_receiver* receiver)
{
    return C_Guard([&] { C_Get(receiver, "receiver").Event().Signal(); });
}
