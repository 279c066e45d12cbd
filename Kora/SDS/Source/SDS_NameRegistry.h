// SDS_NameRegistry: the tree of named nodes that tokens concern.
//
//   SDS_Name* bus = nullptr;
//   SDS_NameRegistry::ReserveName(nullptr, "Mixer/Bus 1", &bus);       // made where it does not exist
//   SDS_NameRegistry::GetNameId(nullptr, "//Mixer/Bus 1/", &same);     // the same identity
//   SDS_NameRegistry::FreeName(bus, nullptr);                          // once for each reservation
//
// Paths:     a base (null: the root) and a path relative to it (null or empty: the base itself). Names are
//            separated by slashes; more slashes than one, and those at the ends, mean nothing. A name has at
//            most 31 bytes, a path at most 1023. Names are compared byte by byte.
// Identity:  an SDS_Name* stays the node's while somebody holds it: by a reservation, a child, a connection,
//            an iterator, a listener. A node that nobody holds keeps its name and identity until its memory
//            is needed for another, and gets both back when the same path is reserved before.
// Connections are undirected; a token for a node reaches the listeners of all nodes that are
// connected with it, directly
//            or through others.
// Counts:    32767 reservations and 32767 references (connections, iterators, listeners, calls in progress)
//            a node. What would pass that is refused with eSDSErr_OutOfMemory and changes nothing. A node
//            has any number of children.
// Cost:      at most 128 bytes a node, made 2,048 at first and then 256 at a time; 72 more of one that has,
//            or had in its present life, listeners or connections, and 48 a connection. None of it is given
//            back. Making a node takes a bounded number of steps however many there are. A path is found in
//            one step, whatever its names, as long as single slashes stand between them and none at its ends.
// Threads:   takes no lock. Whoever calls it from several threads does so under
//            SDS_TokenDispatcher::GetCriticalSection().
// Ownership: nodes are the registry's and live until the process ends.
// Errors:    every operation returns an ESDSError and throws nothing. A failed one leaves
//            the counts as they were.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"

#include <string>

// <windows.h> has a macro of this name. Include that first.
#undef GetObject

class SDS_ChildIterator;
class SDS_ConnectionClosureIterator;
class SDS_ConnectionIterator;
class SDS_NameIterator;
class SDS_ParentIterator;
struct SDS_Name;

class KORA_API SDS_NameRegistry
{
public:
    // Sets up the tree and the token dispatcher; called by Kora_Init::Init. Later calls succeed and
    // change nothing. What needs the root before asserts "Kora_Init::sInitializedCount > 0" and
    // gives eSDSErr_OutOfMemory.
    static ESDSError Init();

    // Finds; makes nothing and takes no hold.
    static ESDSError GetNameId(SDS_Name* iBase, const char* const iPath, SDS_Name** oName);
    // Finds or makes every node along the path, and reserves the last.
    static ESDSError ReserveName(SDS_Name* iBase, const char* const iPath, SDS_Name** oName);
    // Takes one reservation back; without one: eSDSErr_NameNotFound.
    static ESDSError FreeName(SDS_Name* iBase, const char* const iPath);

    // oName: at least 32 bytes; the last name of the path, "" for the root.
    static ESDSError GetName(SDS_Name* iBase, const char* const iPath, char* const oName);
    // oPath: at least 1024 bytes; "/Mixer/Bus 1", "" for the root. A path that is too long gives
    // eSDSErr_PathTooLong and its last 1020 bytes behind "...".
    static ESDSError GetPath(SDS_Name* iBase, const char* const iPath, char* const oPath);

    // A pointer of the client's, forgotten when the node is freed; null at first.
    static ESDSError SetObject(SDS_Name* iBase, const char* const iPath, void* iObject);
    // The pointer that was set last.
    static ESDSError GetObject(SDS_Name* iBase, const char* const iPath, void** oObject);

    // Makes the nodes where they do not exist. Connecting twice, or in the other order, or a node with
    // itself, changes nothing.
    //
    // Each connection made or removed visits all nodes that are connected with its two, to compute anew who
    // hears them: joining n names one by one is n² / 2 visits (8,000: about 2 s). In a pause
    // (SDS_TokenDispatcher::SetTokensPaused) a node is visited once, and once more at its end: joining and
    // parting 8,000 takes about 3 ms.
    static ESDSError ConnectNames(SDS_Name* iBaseA, const char* const iPathA, SDS_Name* iBaseB,
                                  const char* const iPathB);
    // Takes the connection away; where there is none, nothing.
    static ESDSError DisconnectNames(SDS_Name* iBaseA, const char* const iPathA, SDS_Name* iBaseB,
                                     const char* const iPathB);

    // New iterators, which the caller deletes.
    static ESDSError GetChildIterator(SDS_Name* iBase, const char* const iPath,
                                      SDS_ChildIterator** oIterator);
    // Over the nodes above one, up to the root.
    static ESDSError GetParentIterator(SDS_Name* iBase, const char* const iPath,
                                       SDS_ParentIterator** oIterator);
    // Over the nodes that one is connected with itself.
    static ESDSError GetConnectionIterator(SDS_Name* iBase, const char* const iPath,
                                           SDS_ConnectionIterator** oIterator);
    // Over all that one is connected with, through others too.
    static ESDSError GetConnectionClosureIterator(SDS_Name* iBase, const char* const iPath,
                                                  SDS_ConnectionClosureIterator** oIterator);
    // Sets an iterator anew to a node; null: eSDSErr_OutOfMemory.
    static ESDSError ResetNameIterator(SDS_Name* iBase, const char* const iPath,
                                       SDS_NameIterator* ioIterator);

    // A node (null: the root) and the live ones below it, a line each, with their counts; for debuggers and
    // logs. Each level is indented by two spaces, to the 16th; the levels beyond tell their depth:
    //   Bus 1  reserved 1, referenced 2, connected 1, listeners 1
    //   [17] Send  reserved 1, referenced 0, connected 0, listeners 0
    [[nodiscard]] static std::string Dump(SDS_Name* iBase = nullptr);

private:
    static ESDSError FindOrCreateName(SDS_Name* iBase, const char* const iPath, SDS_Name** oName);
    static ESDSError GetPathInternal(const SDS_Name& iName, char* const oPath);
    template <class TIterator>
    static ESDSError NewIterator(SDS_Name* iBase, const char* const iPath, TIterator** oIterator);

    static SDS_Name* fRootNameId;
};
