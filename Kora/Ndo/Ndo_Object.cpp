#include "Kora/Ndo/Ndo_Object.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Ndo/Ndo_Manager.h"

Ndo_Object::Ndo_Object(EUndoFlag iUndoFlag)
{
    if (iUndoFlag == kUndoable) mID = Ndo_gManager.RegisterObject(this);
}

Ndo_Object::Ndo_Object(const Ndo_Object&) = default;

Ndo_Object& Ndo_Object::operator=(const Ndo_Object&) = default;

Ndo_Object::~Ndo_Object() = default;

void Ndo_Object::NdoDelete()
{
    if (NdoIsUndoable() == kNoUndo) {
        delete this;
        return;
    }
    Cmn_ASSERT(!mDeleteWasCalled);
    if (!Ndo_gManager.AboutToDeleteObject(this)) return;
    mDeleteWasCalled = true;
    delete this;
}

void Ndo_Object::NdoCleanup() {}

void Ndo_Object::NdoMakeUndoable()
{
    if (NdoIsUndoable() == kNoUndo) mID = Ndo_gManager.RegisterObject(this);
}

void Ndo_Object::NdoRestoreUndoable(Cmn_Int64 iID)
{
    Cmn_ASSERT(!this->NdoIsUndoable());
    mID = iID;
    Ndo_gManager.RegisterObjectWithID(this, iID);
}

void Ndo_Object::NdoAboutToModify()
{
    if (NdoIsUndoable() == kUndoable) Ndo_gManager.AboutToModifyObject(this);
}
