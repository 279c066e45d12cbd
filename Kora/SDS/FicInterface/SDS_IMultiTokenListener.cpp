#include "Kora/SDS/FicInterface/SDS_IMultiTokenListener.h"

#include "Kora/SDS/FicInterface/SDS_ITokenListener.h"

class SDS_IMultiTokenListener::Listener final : public SDS_ITokenListener
{
public:
    Listener(SDS_IMultiTokenListener& iOwner, SDS_ITokenTask* iTask, SDS_IName* iName, Cmn_Int32 iType,
             Cmn_Int32 iSubType, Cmn_Int32 iManufacturer, Cmn_Int32 iProtocol, bool iCriticalFlag,
             bool iLatestFlag, Cmn_UInt32 iGoal)
        : SDS_ITokenListener(nullptr, iName, iType, iSubType, iManufacturer, iProtocol,
                             static_cast<SDS_ITokenListener*>(this), iCriticalFlag, iLatestFlag, iGoal)
        , mOwner(iOwner)
    {
        // Only now: a token may come as soon as there is a task.
        SetTask(iTask);
    }

    void HandleToken(SDS_Token* iToken) override { mOwner.HandleToken(iToken); }

private:
    SDS_IMultiTokenListener& mOwner;
};

SDS_IMultiTokenListener::SDS_IMultiTokenListener(SDS_ITokenTask* iTask, SDS_IName* iName, Cmn_Int32 iSubType,
                                                 const Cmn_PolyVector<Cmn_Int32>& iTypes,
                                                 Cmn_Int32 iManufacturer, Cmn_Int32 iProtocol, void* iTaskVal,
                                                 bool iCriticalFlag, bool iLatestFlag, Cmn_UInt32 iGoal)
    : mTaskVal(iTaskVal)
{
    mListeners.reserve(iTypes.size());
    for (const Cmn_Int32 type : iTypes) {
        mListeners.push_back(std::make_unique<Listener>(*this, iTask, iName, type, iSubType, iManufacturer,
                                                        iProtocol, iCriticalFlag, iLatestFlag, iGoal));
    }
}

SDS_IMultiTokenListener::~SDS_IMultiTokenListener() = default;

void SDS_IMultiTokenListener::HandleToken(SDS_Token* iToken)
{
    if (mTaskVal != nullptr) static_cast<SDS_ITokenListener*>(mTaskVal)->HandleToken(iToken);
}

void SDS_IMultiTokenListener::SetTask(SDS_ITokenTask* iTask)
{
    for (const auto& listener : mListeners)
        listener->SetTask(iTask);
}

void SDS_IMultiTokenListener::StopListening()
{
    for (const auto& listener : mListeners)
        listener->StopListening();
}
