#include "Kora/Ndo/Ndo_StOperationRecorder.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/Ndo/Ndo_Operation.h"

#include <utility>

Ndo_StOperationRecorder::Ndo_StOperationRecorder()
    : mOpP(std::make_unique<Ndo_Operation>())
    , mDisplacedOp(Ndo_gManager.GetRecordingOperation())
{
    Ndo_gManager.SetRecordingOperation(mOpP.get());
}

Ndo_StOperationRecorder::~Ndo_StOperationRecorder()
{
    if (mOpP == nullptr) return;
    Ndo_gManager.SetRecordingOperation(nullptr);
    bool threw = false;
    try {
        mOpP->Restore();
    } catch (...) {
        threw = true;
    }
    Ndo_gManager.EndRecording(mOpP.get(), mDisplacedOp);
    Cmn_ASSERT_TEXT(!threw, "Restore threw an exception");
}

std::unique_ptr<Ndo_Operation> Ndo_StOperationRecorder::OperationComplete()
{
    if (!Cmn_ASSERT(mOpP != 0)) return nullptr;
    Ndo_gManager.EndRecording(mOpP.get(), mDisplacedOp);
    return std::move(mOpP);
}

void Ndo_StOperationRecorder::Resume(std::unique_ptr<Ndo_Operation> iOperation)
{
    if (!Cmn_ASSERT(iOperation != 0) || !Cmn_ASSERT(mOpP == 0)) return;
    mOpP = std::move(iOperation);
    Ndo_gManager.SetRecordingOperation(nullptr); // what it displaced once more
    Ndo_gManager.SetRecordingOperation(mOpP.get());
}
