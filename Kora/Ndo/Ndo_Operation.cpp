#include "Kora/Ndo/Ndo_Operation.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Ndo/Ndo_Action.h"
#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/Ndo/Ndo_Manager_StRestoreWrapper.h"
#include "Kora/Ndo/Ndo_Object.h"
#include "Kora/Ndo/Ndo_State.h"

#include <utility>

// Has the content while it is restored, where nobody who is called meanwhile reaches it, and
// gives back what is left.
class Ndo_Operation::StRestoring
{
public:
    explicit StRestoring(Ndo_Operation& ioOwner)
        : mOwner(&ioOwner)
    {
        mOwner->mRestoring = this;
        mContent.Take(ioOwner);
    }
    ~StRestoring()
    {
        if (mOwner == nullptr) return;
        mOwner->mRestoring = nullptr;
        mOwner->Take(mContent);
    }
    StRestoring(const StRestoring&) = delete;
    StRestoring& operator=(const StRestoring&) = delete;

    Ndo_Operation mContent;
    Ndo_Operation* mOwner; // null once it is destroyed
};

bool Ndo_Operation::sDisableLog[3] = {false, false, false};

Ndo_Operation::Ndo_Operation() = default;

Ndo_Operation::Ndo_Operation(const Ndo_Operation& iOther) { Cmn_ASSERT(iOther.IsEmpty()); }

Ndo_Operation& Ndo_Operation::operator=(const Ndo_Operation& iOther)
{
    if (this == &iOther) return *this;
    Cmn_ASSERT(iOther.IsEmpty());
    mModifiedStates.clear();
    mDeletedStates.clear();
    FreeActions(mActions);
    return *this;
}

Ndo_Operation::~Ndo_Operation()
{
    if (mRestoring != nullptr) mRestoring->mOwner = nullptr;
    Ndo_gManager.Forget(this);
    mDeletedStates.clear();
    mModifiedStates.clear();
    FreeActions(mActions);
}

void Ndo_Operation::Restore()
{
    if (!Cmn_ASSERT(!IsRestoring())) return;
    Ndo_Manager_StRestoreWrapper mode;
    StRestoring restoring(*this);
    restoring.mContent.RestoreContent(mode);
}

void Ndo_Operation::RestoreContent(Ndo_Manager_StRestoreWrapper& ioMode)
{
    BringDeletedObjectsBack();
    PutStatesBack();
    CleanUpAndRemoveCreatedObjects(ioMode);
    UndoActions();
}

// What this one has logged meanwhile stays.
void Ndo_Operation::Take(Ndo_Operation& ioOther)
{
    mModifiedStates.merge(ioOther.mModifiedStates);
    mDeletedStates.merge(ioOther.mDeletedStates);
    if (mActions.empty()) mActions.swap(ioOther.mActions);
}

void Ndo_Operation::Append(Ndo_Operation& ioLater)
{
    const bool isFree = this != &ioLater && !IsRestoring() && !ioLater.IsRestoring();
    if (!Cmn_ASSERT_TEXT(isFree, "!IsRestoring()")) return;
    mActions.reserve(mActions.size() + ioLater.mActions.size()); // from here on nothing throws
    for (auto& action : ioLater.mActions)
        mActions.push_back(std::move(action));
    ioLater.mActions.clear();

    // An object that both know is led back to where the earlier one found it: as
    // LogCreate and LogDelete have it.
    while (!ioLater.mModifiedStates.empty()) {
        States::node_type later = ioLater.mModifiedStates.extract(ioLater.mModifiedStates.begin());
        States::node_type deleted = mDeletedStates.extract(later.key());
        mModifiedStates.insert(std::move(deleted.empty() ? later : deleted));
    }
    while (!ioLater.mDeletedStates.empty()) {
        States::node_type later = ioLater.mDeletedStates.extract(ioLater.mDeletedStates.begin());
        States::node_type modified = mModifiedStates.extract(later.key());
        if (modified.empty())
            mDeletedStates.insert(std::move(later));
        else if (modified.mapped() != nullptr)
            mDeletedStates.insert(std::move(modified));
    }
}

bool Ndo_Operation::IsEmpty() const
{
    return mModifiedStates.empty() && mDeletedStates.empty() && mActions.empty();
}

std::size_t Ndo_Operation::GetByteCount() const
{
    std::size_t bytes = 0;
    for (const States* const states : {&mModifiedStates, &mDeletedStates})
        for (const auto& [id, state] : *states)
            bytes += state != nullptr ? state->NdoGetByteCount() : 0;
    for (const auto& action : mActions)
        bytes += action->GetByteCount();
    return bytes;
}

std::string Ndo_Operation::Dump() const
{
    std::string text = "Ndo_Operation: " + std::to_string(mActions.size()) + " actions\n";
    for (const auto& [id, state] : mModifiedStates)
        text += "  " + std::to_string(id) + (state != nullptr ? " modified\n" : " created\n");
    for (const auto& [id, state] : mDeletedStates)
        text += "  " + std::to_string(id) + " deleted\n";
    return text;
}

// --- Logging

void Ndo_Operation::LogModify(Ndo_Object* iObjP)
{
    if (sDisableLog[0]) return;
    const Cmn_Int64 id = iObjP->NdoGetID();
    const auto [mark, inserted] = mModifiedStates.try_emplace(id);
    if (!inserted) return;
    // A null that stays would mark a creation, and restoring would delete the object.
    std::unique_ptr<Ndo_State> state;
    try {
        state.reset(iObjP->NdoGetState());
    } catch (...) {
        mModifiedStates.erase(mark);
        throw;
    }
    if (Cmn_ASSERT_TEXT(state != nullptr, "state != 0"))
        mark->second = std::move(state);
    else
        mModifiedStates.erase(mark);
}

void Ndo_Operation::LogCreate(Cmn_Int64 iID)
{
    if (sDisableLog[1]) return;
    // An object deleted earlier in this operation is back: what happened to it is a modification.
    if (States::node_type deleted = mDeletedStates.extract(iID))
        mModifiedStates.insert(std::move(deleted));
    else
        mModifiedStates.try_emplace(iID);
}

void Ndo_Operation::LogDelete(Ndo_Object* iObjP)
{
    if (sDisableLog[2]) return;
    const Cmn_Int64 id = iObjP->NdoGetID();
    if (States::node_type modified = mModifiedStates.extract(id)) {
        // Created and deleted here: nothing of the object remains.
        if (modified.mapped() != nullptr) mDeletedStates.insert(std::move(modified));
        return;
    }
    std::unique_ptr<Ndo_State> state(iObjP->NdoGetState());
    if (Cmn_ASSERT_TEXT(state != nullptr, "state != 0")) mDeletedStates.try_emplace(id, std::move(state));
}

void Ndo_Operation::LogAction(Ndo_Action* iAction)
{
    mActions.push_back(std::unique_ptr<Ndo_Action>(iAction));
}

// --- Restoring: at every moment each state is in one map, and a fresh object is its holder's or registered

void Ndo_Operation::BringDeletedObjectsBack()
{
    while (!mDeletedStates.empty()) {
        const auto& [id, state] = *mDeletedStates.begin();
        std::unique_ptr<Ndo_Object> obj(state->NdoCreateObject());
        if (!Cmn_ASSERT_TEXT(obj != nullptr, "obj != 0")) {
            mDeletedStates.erase(mDeletedStates.begin());
            continue;
        }
        const Cmn_Int64 restoredID = id;
        obj->NdoRestoreUndoable(restoredID);
        obj.release();
        mModifiedStates.insert(mDeletedStates.extract(restoredID));
    }
}

void Ndo_Operation::PutStatesBack()
{
    for (const auto& [id, state] : mModifiedStates) {
        if (state == nullptr) continue;
        Ndo_Object* const objP = Ndo_gManager.LookupObject(id);
        Ndo_gManager.AboutToModifyObject(objP);
        if (objP != nullptr) objP->NdoRestoreState(state.get());
    }
}

void Ndo_Operation::CleanUpAndRemoveCreatedObjects(Ndo_Manager_StRestoreWrapper& ioMode)
{
    // An entry goes when it is done: a null left behind by a half-finished restore would read as a creation.
    while (!mModifiedStates.empty()) {
        const States::iterator entry = mModifiedStates.begin();
        Ndo_Object* const objP = Ndo_gManager.LookupObject(entry->first);
        if (objP != nullptr && entry->second != nullptr) {
            objP->NdoCleanup();
        } else if (objP != nullptr) {
            ioMode.SetDeleteObject(objP);
            objP->NdoDelete();
            ioMode.SetDeleteObject(nullptr);
        }
        mModifiedStates.erase(entry);
    }
}

void Ndo_Operation::UndoActions()
{
    // Last to first even when an Undo throws.
    struct Taken
    {
        ~Taken() { FreeActions(mActions); }
        Actions mActions;
    } taken{std::exchange(mActions, {})};
    for (auto action = taken.mActions.rbegin(); action != taken.mActions.rend(); ++action)
        (*action)->Undo();
}

void Ndo_Operation::FreeActions(Actions& ioActions)
{
    while (!ioActions.empty())
        ioActions.pop_back();
}
