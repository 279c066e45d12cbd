#include "Kora/Ndo/Ndo_Manager.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Ndo/Ndo_Action.h"
#include "Kora/Ndo/Ndo_Manager_StRestoreWrapper.h"
#include "Kora/Ndo/Ndo_Object.h"
#include "Kora/Ndo/Ndo_Operation.h"

#include <memory>
#include <new>

constinit Ndo_Manager Ndo_gManager;

Cmn_Int64 Ndo_Manager::RegisterObject(Ndo_Object* iObjP)
{
    if (!Cmn_ASSERT(iObjP != 0)) return 0;
    const Cmn_Int64 id = mNextID++;
    RegisterObjectWithID(iObjP, id);
    return id;
}

void Ndo_Manager::RegisterObjectWithID(Ndo_Object* iObjP, Cmn_Int64 iID)
{
    if (!Cmn_ASSERT(iObjP != 0)) return;
    const ObjDict::iterator entry = Dict().try_emplace(iID).first;
    Ndo_Object* const before = entry->second.mObjP;
    entry->second.mObjP = iObjP;
    ++entry->second.mRefCount;
    if (!IsRecording()) return;
    try {
        mRecordingOpP->LogCreate(iID);
    } catch (...) {
        // An object that could not be logged is not registered: its constructor is about to fail.
        entry->second.mObjP = before;
        DecrementEntryRefCount(entry);
        throw;
    }
}

void Ndo_Manager::AboutToModifyObject(Ndo_Object* iObjP)
{
    if (!Cmn_ASSERT(iObjP != 0)) return;
    if (IsRecording()) mRecordingOpP->LogModify(iObjP);
}

bool Ndo_Manager::AboutToDeleteObject(Ndo_Object* iObjP)
{
    if (!Cmn_ASSERT(iObjP != 0)) return false;
    if (mRestoring && iObjP != mRestoreDeleteObjP) return false;
    const ObjDict::iterator entry = LookupIter(iObjP);
    if (entry == Dict().end()) return false;
    if (IsRecording()) mRecordingOpP->LogDelete(iObjP);
    entry->second.mObjP = nullptr;
    DecrementEntryRefCount(entry);
    return true;
}

Ndo_Object* Ndo_Manager::LookupObject(Cmn_Int64 iID)
{
    const ObjDict::iterator iter = Dict().find(iID);
    return Cmn_ASSERT_TEXT(iter != Dict().end(), "iter != mObjDict.end()") ? iter->second.mObjP : nullptr;
}

void Ndo_Manager::SetRecordingOperation(Ndo_Operation* iOp)
{
    if (iOp != nullptr) Cmn_ASSERT(mRecordingOpP == 0);
    mRecordingOpP = iOp;
}

void Ndo_Manager::LogAction(Ndo_Action* iAction)
{
    if (!Cmn_ASSERT(iAction != 0)) return;
    if (IsRecording())
        mRecordingOpP->LogAction(iAction);
    else
        // Deliberate: the memory goes, the destructor does not run (Ndo_Action::LogAction tells its callers);
        // its size is not known here. Test: AnActionsOwnerDependsOnItsOutcome
        ::operator delete(dynamic_cast<void*>(iAction));
}

std::string Ndo_Manager::Dump() const
{
    std::string text = "Ndo_Manager: next ID " + std::to_string(mNextID) +
                       (IsRecording() ? ", recording" : "") + (mRestoring ? ", restoring" : "") + "\n";
    if (mObjDict == nullptr) return text;
    for (const auto& [id, entry] : *mObjDict)
        text += "  " + std::to_string(id) + (entry.mObjP != nullptr ? " live" : " deleted") + ", count " +
                std::to_string(entry.mRefCount) + "\n";
    return text;
}

Ndo_Manager::ObjDict& Ndo_Manager::Dict()
{
    if (mObjDict == nullptr) mObjDict = new ObjDict;
    return *mObjDict;
}

Ndo_Manager::ObjDict::iterator Ndo_Manager::LookupIter(Ndo_Object* iObjP)
{
    const ObjDict::iterator iter = Dict().find(iObjP->NdoGetID());
    Cmn_ASSERT_TEXT(iter != Dict().end(), "iter != mObjDict.end()");
    return iter;
}

void Ndo_Manager::DecrementEntryRefCount(ObjDict::iterator iEntry)
{
    if (--iEntry->second.mRefCount == 0) Dict().erase(iEntry);
}

void Ndo_Manager::Forget(const Ndo_Operation* iOp)
{
    if (mRecordingOpP == iOp) mRecordingOpP = nullptr;
    for (Ndo_Manager_StRestoreWrapper* restoreP = mRestore; restoreP != nullptr; restoreP = restoreP->mOuter)
        if (restoreP->mRecordingOpP == iOp) restoreP->mRecordingOpP = nullptr;
}

void Ndo_Manager::EndRecording(const Ndo_Operation* iOp, Ndo_Operation* iDisplacedOp)
{
    Forget(iOp);
    // What a restore does not know may be gone by now.
    const bool isKnown = mRestore != nullptr && mRestore->mRecordingOpP == iDisplacedOp;
    mRecordingOpP = isKnown ? iDisplacedOp : nullptr;
}
