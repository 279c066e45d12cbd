// SDS_IName: holds a node of the name tree for as long as the object lives.
//
//   SDS_IName mixer("Mixer");
//   SDS_IName bus(&mixer, "Bus 1");            // /Mixer/Bus 1
//   bus.HandleToken(token.header);             // a change of the bus, to all who listen
//
// Threads:   the registry takes no lock: names are made, connected and destroyed by one thread at a time, or
//            under SDS_TokenDispatcher::GetCriticalSection(). HandleToken is for any thread.
// Real time: HandleToken, as SDS_TokenDispatcher::DispatchToken. Nothing else.
// Ownership: holds a reservation; a parent name or a connected one may go before.
// Errors:    the constructors throw what the registry refuses, by Sys_ThrowIfOSErr (Cmn_Exception).
#pragma once

#include "Export/Kora_API.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"

struct SDS_Name;
struct SDS_Token;

class KORA_API SDS_IName
{
public:
    // The node is made where it does not exist. Paths as in SDS_NameRegistry; null is no parent: from the
    // root. A parent that is a handle without a node throws eSDSErr_InvalidName.
    explicit SDS_IName(const char* const iPath);
    SDS_IName(const SDS_IName* iParent, const char* const iPath);
    SDS_IName(SDS_Name* iParent, const char* const iPath);
    // Refers to a node that others hold, and holds nothing. Null: a handle without a node.
    explicit SDS_IName(SDS_Name* iName);
    virtual ~SDS_IName();
    SDS_IName(const SDS_IName&) = delete;
    SDS_IName& operator=(const SDS_IName&) = delete;

    SDS_Name* GetID() const { return mID; }

    // The client's object at the node, shared by all who hold it.
    void SetDataRef(void* iDataRef);
    // Null when there is none.
    void* GetDataRef() const;

    // A null argument is nothing, successfully; a handle without a node, this one or the other, is
    // eSDSErr_InvalidName. For many at once see SDS_NameRegistry::ConnectNames.
    ESDSError ConnectTo(const SDS_IName* iOther);
    // Takes back what ConnectTo did, with the same answers.
    ESDSError DisconnectFrom(const SDS_IName* iOther);
    // The last one's result.
    ESDSError BreakAllConnections();

    // Stamps the token with this node and dispatches it; without a node: eSDSErr_InvalidName.
    ESDSError HandleToken(SDS_Token& ioToken) KORA_NONBLOCKING;

protected:
    void SDS_INameX();

private:
    void Reserve(SDS_Name* iBase, const char* const iPath);

    void* mDataRef = nullptr; // as last set here
    SDS_Name* mID = nullptr;
    bool mOwns = false;
};
