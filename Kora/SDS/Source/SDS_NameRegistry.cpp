#include "Kora/SDS/Source/SDS_NameRegistry.h"

#include "Kora/SDS/Source/SDS_ChildIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionClosureIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_NameStore_p.h"
#include "Kora/SDS/Source/SDS_ParentIterator.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/Sys/Sys_AssertInitialized.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

SDS_Name* SDS_NameRegistry::fRootNameId = nullptr;

namespace {

constexpr std::size_t cPathBytes = 1024; // with the closing zero

// The eight bytes of a word that are slashes, as their highest bits; exact up to the first one.
constexpr Cmn_UInt64 SlashesIn(Cmn_UInt64 iWord)
{
    constexpr Cmn_UInt64 ones = 0x0101010101010101u;
    const Cmn_UInt64 zeros = iWord ^ (ones * '/');
    return (zeros - ones) & ~zeros & (ones << 7);
}

// The names of a path, one after the other, and the hash down to each. It reads from a copy that ends with a
// slash and room for a word, so that it can take eight bytes at a time.
class PathReader
{
public:
    PathReader(const char* iPath, const SDS_Name& iBase)
        : mHash(iBase.mHash)
    {
        const std::size_t length = iPath != nullptr ? std::strlen(iPath) : 0;
        mTooLong = length >= cPathBytes;
        if (mTooLong) return;
        if (length > 0) std::memcpy(mCopy, iPath, length);
        std::memset(mCopy + length, '/', sizeof(Cmn_UInt64));
        mNext = mCopy;
        mEnd = mCopy + length;
    }
    PathReader(const PathReader&) = delete;
    PathReader& operator=(const PathReader&) = delete;

    bool IsTooLong() const { return mTooLong; }

    // False at the end. A name that is too long gives eSDSErr_NameTooLong in oResult.
    bool Next(SDS_NameText& oText, ESDSError& oResult)
    {
        while (mNext < mEnd && *mNext == '/')
            ++mNext;
        if (mNext >= mEnd) return false;
        oText = SDS_NameText();
        bool ended = false;
        // Unrolled by hand, so that the words stay in registers.
        ended = ended || TakeWord(oText.mWords[0]);
        ended = ended || TakeWord(oText.mWords[1]);
        ended = ended || TakeWord(oText.mWords[2]);
        ended = ended || TakeWord(oText.mWords[3]);
        if (ended) {
            mHash = SDS_NameStore::HashBelow(mHash, oText);
            return true;
        }
        oResult = eSDSErr_NameTooLong; // 32 bytes without a slash
        return true;
    }
    Cmn_UInt32 GetHash() const { return mHash; }

private:
    // Takes up to eight bytes of the name; true when it ends there.
    bool TakeWord(Cmn_UInt64& oWord)
    {
        Cmn_UInt64 word = 0;
        std::memcpy(&word, mNext, sizeof(word));
        const Cmn_UInt64 slashes = SlashesIn(word);
        // The first bytes are the low ones: these processors are little-endian.
        const int bytes = slashes != 0 ? std::countr_zero(slashes) / 8 : 8;
        oWord = slashes != 0 ? word & ((Cmn_UInt64{1} << (8 * bytes)) - 1) : word;
        mNext += bytes;
        return slashes != 0;
    }

    const char* mNext = nullptr;
    const char* mEnd = nullptr;
    Cmn_UInt32 mHash;
    bool mTooLong;
    char mCopy[cPathBytes + sizeof(Cmn_UInt64)];
};

// Looks in both lists by turns, and so takes no more steps than the shorter one has: a hub has many
// connections, each of its leaves has few.
SDS_ConnectionRecord* FindConnection(const SDS_Name& iA, const SDS_Name& iB)
{
    SDS_ConnectionRecord* ofA = iA.mConnections;
    SDS_ConnectionRecord* ofB = iB.mConnections;
    while (ofA != nullptr && ofB != nullptr) {
        if (ofA->OtherThan(&iA) == &iB) return ofA;
        if (ofB->OtherThan(&iB) == &iA) return ofB;
        ofA = ofA->NextOf(&iA);
        ofB = ofB->NextOf(&iB);
    }
    return nullptr;
}

void LinkConnection(SDS_Name& ioName, SDS_ConnectionRecord& ioRecord)
{
    ioRecord.PreviousOf(&ioName) = nullptr;
    ioRecord.NextOf(&ioName) = ioName.mConnections;
    if (ioName.mConnections != nullptr) ioName.mConnections->PreviousOf(&ioName) = &ioRecord;
    ioName.mConnections = &ioRecord;
}

void UnlinkConnection(SDS_Name& ioName, SDS_ConnectionRecord& ioRecord)
{
    SDS_ConnectionRecord* const next = ioRecord.NextOf(&ioName);
    SDS_ConnectionRecord* const previous = ioRecord.PreviousOf(&ioName);
    (previous != nullptr ? previous->NextOf(&ioName) : ioName.mConnections) = next;
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
    PathReader path(iPath, *name);
    if (path.IsTooLong()) return eSDSErr_PathTooLong;
    SDS_NameText text;
    ESDSError result = eSDSErr_None;
    while (path.Next(text, result)) {
        if (result != eSDSErr_None) return result;
        name = SDS_NameStore::Find(*name, text, path.GetHash());
        if (name == nullptr || !name->mIsLive) return eSDSErr_NameNotFound;
    }
    *oName = name;
    return eSDSErr_None;
}

// The node found or made carries a reference, which is the caller's.
ESDSError SDS_NameRegistry::FindOrCreateName(SDS_Name* iBase, const char* const iPath, SDS_Name** oName)
{
    SDS_Name* name = iBase != nullptr ? iBase : fRootNameId;
    if (!Sys_ASSERT_INITIALIZED(name != nullptr)) return eSDSErr_OutOfMemory;
    PathReader path(iPath, *name);
    if (path.IsTooLong()) return eSDSErr_PathTooLong;
    if (!SDS_NameAddReference(*name)) return eSDSErr_OutOfMemory;
    SDS_NameText text;
    ESDSError result = eSDSErr_None;
    while (path.Next(text, result)) {
        SDS_Name* child = nullptr;
        if (result == eSDSErr_None) {
            child = SDS_NameStore::Find(*name, text, path.GetHash());
            if (child == nullptr || !child->mIsLive)
                child = SDS_NameStore::Create(*name, text, path.GetHash());
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
    if (name->mReserveCount < SDS_NameStore::cMaxCount) {
        ++name->mReserveCount;
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
    if (name->mReserveCount < 1) return eSDSErr_NameNotFound;
    --name->mReserveCount;
    SDS_NameStore::FreeUnlessHeld(name);
    return eSDSErr_None;
}

ESDSError SDS_NameRegistry::GetName(SDS_Name* iBase, const char* const iPath, char* const oName)
{
    if (oName == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    if (const ESDSError result = GetNameId(iBase, iPath, &name); result != eSDSErr_None) return result;
    std::memcpy(oName, name->mText.Text(), std::strlen(name->mText.Text()) + 1);
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
        char level[SDS_NameText::cMaxLength + 2] = "/";
        std::size_t length = std::strlen(name->mText.Text()) + 1;
        std::memcpy(level + 1, name->mText.Text(), length);
        const char* from = level;
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
    if (result == eSDSErr_None) name->mObject = iObject;
    return result;
}

ESDSError SDS_NameRegistry::GetObject(SDS_Name* iBase, const char* const iPath, void** oObject)
{
    if (oObject == nullptr) return eSDSErr_OutOfMemory;
    SDS_Name* name = nullptr;
    const ESDSError result = GetNameId(iBase, iPath, &name);
    if (result == eSDSErr_None) *oObject = name->mObject;
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
        record = SDS_NameStore::CreateRecord();
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

std::string SDS_NameRegistry::Dump(SDS_Name* iBase)
{
    constexpr std::size_t deepestIndent = 16; // levels
    const SDS_Name* const base = iBase != nullptr ? iBase : fRootNameId;
    std::string text;
    std::size_t depth = 0;
    for (const SDS_Name* name = base; name != nullptr;) {
        int connections = 0;
        for (SDS_ConnectionRecord* record = name->mConnections; record != nullptr;
             record = record->NextOf(name)) {
            ++connections;
        }
        text.append(2 * std::min(depth, deepestIndent), ' ');
        if (depth > deepestIndent) text += '[' + std::to_string(depth) + "] ";
        text += std::string(name->mParent != nullptr ? name->mText.Text() : "(root)") + "  reserved " +
                std::to_string(name->mReserveCount) + ", referenced " +
                std::to_string(name->mReferenceCount) + ", connected " + std::to_string(connections) +
                ", listeners " + std::to_string(name->mListenerCount) + '\n';
        if (name->mLiveChildren != nullptr) {
            name = name->mLiveChildren;
            ++depth;
            continue;
        }
        while (name != base && name->mNext == nullptr) {
            name = name->mParent;
            --depth;
        }
        name = name != base ? name->mNext : nullptr;
    }
    return text;
}
