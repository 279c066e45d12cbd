#include "Kora/SDS/Source/SDS_NameRegistry.h"

#include "Kora/SDS/Source/SDS_ChildIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionClosureIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_NameStore_p.h"
#include "Kora/SDS/Source/SDS_ParentIterator.h"
#include "Kora/SDS/Source/SDS_PathReader_p.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/Sys/Sys_AssertInitialized.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

SDS_Name* SDS_NameRegistry::fRootNameId = nullptr;

namespace {

constexpr std::size_t cPathBytes = 1024; // of a path, with the closing zero

// Looks in both lists by turns, and so takes no more steps than the shorter one has: a hub has many
// connections, each of its leaves has few.
SDS_ConnectionRecord* FindConnection(const SDS_Name& iA, const SDS_Name& iB)
{
    SDS_ConnectionRecord* ofA = iA.Connections();
    SDS_ConnectionRecord* ofB = iB.Connections();
    while (ofA != nullptr && ofB != nullptr) {
        if (ofA->OtherThan(&iA) == &iB) return ofA;
        if (ofB->OtherThan(&iB) == &iA) return ofB;
        ofA = ofA->NextOf(&iA);
        ofB = ofB->NextOf(&iB);
    }
    return nullptr;
}

// The node has an audience.
void LinkConnection(SDS_Name& ioName, SDS_ConnectionRecord& ioRecord)
{
    SDS_ConnectionRecord*& first = ioName.mAudience->mConnections;
    ioRecord.PreviousOf(&ioName) = nullptr;
    ioRecord.NextOf(&ioName) = first;
    if (first != nullptr) first->PreviousOf(&ioName) = &ioRecord;
    first = &ioRecord;
}

void UnlinkConnection(SDS_Name& ioName, SDS_ConnectionRecord& ioRecord)
{
    SDS_ConnectionRecord* const next = ioRecord.NextOf(&ioName);
    SDS_ConnectionRecord* const previous = ioRecord.PreviousOf(&ioName);
    (previous != nullptr ? previous->NextOf(&ioName) : ioName.mAudience->mConnections) = next;
    if (next != nullptr) next->PreviousOf(&ioName) = previous;
}

} // namespace

ESDSError SDS_NameRegistry::Init()
{
    if (fRootNameId == nullptr) {
        if (!SDS_NameStore::Init()) return eSDSErr_OutOfMemory;
        fRootNameId = SDS_NameStore::CreateRoot();
    }
    // Again, where it failed before.
    return SDS_TokenDispatcher::Init();
}

ESDSError SDS_NameRegistry::GetNameId(SDS_Name* iBase, const char* const iPath, SDS_Name** oName)
{
    if (oName == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = iBase != nullptr ? iBase : fRootNameId;
    if (!Sys_ASSERT_INITIALIZED(name != nullptr)) return eSDSErr_OutOfMemory;
    if (iPath == nullptr || *iPath == '\0') {
        *oName = name;
        return eSDSErr_None;
    }
    const std::string_view text(iPath);
    if (text.size() >= cPathBytes) return eSDSErr_PathTooLong;
    SDS_Name* const found = SDS_NameStore::FindBelow(*name, SDS_WholePath(text));
    if (found == nullptr) [[unlikely]]
        return SDS_NameStore::FindEach(*name, text, *oName);
    if (!found->mIsLive) return eSDSErr_NameNotFound;
    *oName = found;
    return eSDSErr_None;
}

// The node found or made carries a reference, which is the caller's.
ESDSError SDS_NameRegistry::FindOrCreateName(SDS_Name* iBase, const char* const iPath, SDS_Name** oName)
{
    SDS_Name* name = iBase != nullptr ? iBase : fRootNameId;
    if (!Sys_ASSERT_INITIALIZED(name != nullptr)) return eSDSErr_OutOfMemory;
    const std::string_view given(iPath != nullptr ? iPath : "");
    if (given.size() >= cPathBytes) return eSDSErr_PathTooLong;
    SDS_PathReader path(given);
    if (!SDS_NameAddReference(*name)) return eSDSErr_OutOfMemory;
    std::string_view text;
    ESDSError result = eSDSErr_None;
    while (path.Next(text, result)) {
        SDS_Name* child = nullptr;
        if (result == eSDSErr_None) {
            const Cmn_UInt32 hash = SDS_PathHash::Of(name->mHashBelow, text.data(), text.size());
            child = SDS_NameStore::Find(*name, text, hash);
            if (child == nullptr || !child->mIsLive) child = SDS_NameStore::Create(*name, text, hash);
            if (child == nullptr || !SDS_NameAddReference(*child)) result = eSDSErr_OutOfMemory;
        }
        SDS_NameRelease(*name);
        if (result != eSDSErr_None) return result;
        name = child;
    }
    *oName = name;
    return eSDSErr_None;
}

ESDSError SDS_NameRegistry::ReserveName(SDS_Name* iBase, const char* const iPath, SDS_Name** oName)
{
    if (oName == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    ESDSError result = FindOrCreateName(iBase, iPath, &name);
    if (result != eSDSErr_None) return result;
    if (name->Links().mReserveCount < SDS_NameStore::cMaxCount) {
        ++name->Links().mReserveCount;
        *oName = name;
    } else {
        result = eSDSErr_OutOfMemory;
    }
    SDS_NameRelease(*name);
    return result;
}

ESDSError SDS_NameRegistry::FreeName(SDS_Name* iBase, const char* const iPath)
{
    SDS_Name* name = nullptr;
    if (const ESDSError result = GetNameId(iBase, iPath, &name); result != eSDSErr_None) return result;
    if (name->Links().mReserveCount < 1) return eSDSErr_NameNotFound;
    --name->Links().mReserveCount;
    SDS_NameStore::FreeUnlessHeld(name);
    return eSDSErr_None;
}

ESDSError SDS_NameRegistry::GetName(SDS_Name* iBase, const char* const iPath, char* const oName)
{
    if (oName == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    if (const ESDSError result = GetNameId(iBase, iPath, &name); result != eSDSErr_None) return result;
    std::memcpy(oName, name->GetText(), std::size_t{name->mLength} + 1);
    return eSDSErr_None;
}

ESDSError SDS_NameRegistry::GetPath(SDS_Name* iBase, const char* const iPath, char* const oPath)
{
    if (oPath == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    if (const ESDSError result = GetNameId(iBase, iPath, &name); result != eSDSErr_None) return result;
    const ESDSError result = GetPathInternal(*name, oPath);
    if (result != eSDSErr_None) std::memcpy(oPath, "...", 3);
    return result;
}

// Written from the end: a level has room for "/" and its name before its parents get what is left. The level
// that does not fit gives only its last bytes.
ESDSError SDS_NameRegistry::GetPathInternal(const SDS_Name& iName, char* const oPath)
{
    ESDSError result = eSDSErr_None;
    std::size_t room = cPathBytes - 1;
    for (const SDS_Name* name = &iName; name->mParent != nullptr && result == eSDSErr_None;
         name = name->mParent) {
        // With the slash before it.
        std::size_t length = std::size_t{name->mLength} + 1;
        const char* from = name->GetEnd() - length;
        if (length > room) {
            result = eSDSErr_PathTooLong;
            from += length - room;
            length = room;
        }
        room -= length;
        std::memcpy(oPath + room, from, length);
    }
    const std::size_t length = cPathBytes - 1 - room;
    std::memmove(oPath, oPath + room, length);
    oPath[length] = '\0';
    return result;
}

ESDSError SDS_NameRegistry::SetObject(SDS_Name* iBase, const char* const iPath, void* iObject)
{
    SDS_Name* name = nullptr;
    const ESDSError result = GetNameId(iBase, iPath, &name);
    if (result == eSDSErr_None) name->Links().mObject = iObject;
    return result;
}

ESDSError SDS_NameRegistry::GetObject(SDS_Name* iBase, const char* const iPath, void** oObject)
{
    if (oObject == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    const ESDSError result = GetNameId(iBase, iPath, &name);
    if (result == eSDSErr_None) *oObject = name->Links().mObject;
    return result;
}

ESDSError SDS_NameRegistry::ConnectNames(SDS_Name* iBaseA, const char* const iPathA, SDS_Name* iBaseB,
                                         const char* const iPathB)
{
    SDS_Name* a = nullptr;
    SDS_Name* b = nullptr;
    ESDSError result = FindOrCreateName(iBaseA, iPathA, &a);
    if (result != eSDSErr_None) return result;
    result = FindOrCreateName(iBaseB, iPathB, &b);
    if (result != eSDSErr_None) {
        SDS_NameRelease(*a);
        return result;
    }
    // A connection holds both its ends: their references are given back when it goes.
    SDS_ConnectionRecord* record = nullptr;
    if (a != b && FindConnection(*a, *b) == nullptr) {
        if (SDS_NameEnsureAudience(*a) && SDS_NameEnsureAudience(*b)) record = SDS_NameStore::CreateRecord();
        if (record == nullptr) result = eSDSErr_OutOfMemory;
    }
    if (record != nullptr) {
        *record = {a, nullptr, b, nullptr, nullptr, nullptr};
        LinkConnection(*a, *record);
        LinkConnection(*b, *record);
        // Deliberate: A's only; its closure holds B now. Test: ConnectedNodesHearEachOtherInBothDirections
        result = SDS_TokenDispatcher::RebuildActiveListenerList(a, false);
        if (result == eSDSErr_None) return result;
        UnlinkConnection(*a, *record);
        UnlinkConnection(*b, *record);
        SDS_NameStore::FreeRecord(record);
    }
    SDS_NameRelease(*a);
    SDS_NameRelease(*b);
    return result;
}

ESDSError SDS_NameRegistry::DisconnectNames(SDS_Name* iBaseA, const char* const iPathA, SDS_Name* iBaseB,
                                            const char* const iPathB)
{
    SDS_Name* a = nullptr;
    SDS_Name* b = nullptr;
    if (const ESDSError result = GetNameId(iBaseA, iPathA, &a); result != eSDSErr_None) return result;
    if (const ESDSError result = GetNameId(iBaseB, iPathB, &b); result != eSDSErr_None) return result;
    SDS_ConnectionRecord* const record = FindConnection(*a, *b);
    if (record == nullptr) return eSDSErr_None;
    UnlinkConnection(*a, *record);
    UnlinkConnection(*b, *record);
    const ESDSError resultA = SDS_TokenDispatcher::RebuildActiveListenerList(a, false);
    const ESDSError resultB = SDS_TokenDispatcher::RebuildActiveListenerList(b, false);
    SDS_NameRelease(*a);
    SDS_NameRelease(*b);
    SDS_NameStore::FreeRecord(record);
    return resultA != eSDSErr_None ? resultA : resultB;
}

template <class TIterator>
ESDSError SDS_NameRegistry::NewIterator(SDS_Name* iBase, const char* const iPath, TIterator** oIterator)
{
    if (oIterator == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    ESDSError result = GetNameId(iBase, iPath, &name);
    if (result != eSDSErr_None) return result;
    std::unique_ptr<TIterator> iterator(new (std::nothrow) TIterator);
    if (iterator == nullptr) return eSDSErr_OutOfMemory;
    result = iterator->Reset(name);
    if (result == eSDSErr_None) *oIterator = iterator.release();
    return result;
}

ESDSError SDS_NameRegistry::GetChildIterator(SDS_Name* iBase, const char* const iPath,
                                             SDS_ChildIterator** oIterator)
{
    return NewIterator(iBase, iPath, oIterator);
}

ESDSError SDS_NameRegistry::GetParentIterator(SDS_Name* iBase, const char* const iPath,
                                              SDS_ParentIterator** oIterator)
{
    return NewIterator(iBase, iPath, oIterator);
}

ESDSError SDS_NameRegistry::GetConnectionIterator(SDS_Name* iBase, const char* const iPath,
                                                  SDS_ConnectionIterator** oIterator)
{
    return NewIterator(iBase, iPath, oIterator);
}

ESDSError SDS_NameRegistry::GetConnectionClosureIterator(SDS_Name* iBase, const char* const iPath,
                                                         SDS_ConnectionClosureIterator** oIterator)
{
    return NewIterator(iBase, iPath, oIterator);
}

ESDSError SDS_NameRegistry::ResetNameIterator(SDS_Name* iBase, const char* const iPath,
                                              SDS_NameIterator* ioIterator)
{
    if (ioIterator == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    const ESDSError result = GetNameId(iBase, iPath, &name);
    return result == eSDSErr_None ? ioIterator->Reset(name) : result;
}

namespace {

std::string CountsText(SDS_Name& iName)
{
    const SDS_NameLinks& links = iName.Links();
    int references = links.mReferenceCount;
    for (SDS_Name* child = links.mLiveChildren; child != nullptr; child = child->Links().mNext)
        ++references;
    int connections = 0;
    SDS_ConnectionRecord* record = iName.Connections();
    for (; record != nullptr; record = record->NextOf(&iName))
        ++connections;
    const Cmn_Int32 listeners = iName.mAudience != nullptr ? iName.mAudience->mListenerCount : 0;
    return "  reserved " + std::to_string(links.mReserveCount) + ", referenced " +
           std::to_string(references) + ", connected " + std::to_string(connections) + ", listeners " +
           std::to_string(listeners) + '\n';
}

} // namespace

std::string SDS_NameRegistry::Dump(SDS_Name* iBase)
{
    constexpr std::size_t deepestIndent = 16; // levels
    SDS_Name* const base = iBase != nullptr ? iBase : fRootNameId;
    std::string text;
    std::size_t depth = 0;
    for (SDS_Name* name = base; name != nullptr;) {
        text.append(2 * std::min(depth, deepestIndent), ' ');
        if (depth > deepestIndent) text += '[' + std::to_string(depth) + "] ";
        text += (name->mParent != nullptr ? name->GetText() : "(root)") + CountsText(*name);
        if (SDS_Name* const child = name->Links().mLiveChildren) {
            name = child;
            ++depth;
            continue;
        }
        while (name != base && name->Links().mNext == nullptr) {
            name = name->mParent;
            --depth;
        }
        name = name != base ? name->Links().mNext : nullptr;
    }
    return text;
}
