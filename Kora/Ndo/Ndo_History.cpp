#include "Kora/Ndo/Ndo_History.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Ndo/Ndo_HistoryListener.h"
#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"

#include <algorithm>
#include <utility>

struct Ndo_History::Step
{
    std::string mName;
    std::unique_ptr<Ndo_Operation> mOperation; // undoes before the position, redoes behind it
    std::size_t mNumBytes = 0;
};

// Nobody who is called meanwhile, be it a listener of an object or the destructor of a
// state, changes the history.
class Ndo_History::StBusy
{
public:
    explicit StBusy(Ndo_History& ioHistory)
        : mHistory(ioHistory)
        , mWasBusy(std::exchange(ioHistory.mIsBusy, true))
    {
    }
    ~StBusy() { mHistory.mIsBusy = mWasBusy; }
    StBusy(const StBusy&) = delete;
    StBusy& operator=(const StBusy&) = delete;

private:
    Ndo_History& mHistory;
    bool mWasBusy;
};

// A change of the history: ends with the limits kept and the listeners told, however it ends.
class Ndo_History::StChange
{
public:
    explicit StChange(Ndo_History& ioHistory)
        : mHistory(ioHistory)
    {
    }
    ~StChange()
    {
        mHistory.KeepLimits();
        mHistory.TellListeners();
    }
    StChange(const StChange&) = delete;
    StChange& operator=(const StChange&) = delete;

private:
    Ndo_History& mHistory;
};

Ndo_HistoryListener::~Ndo_HistoryListener() = default;

Ndo_History::Ndo_History() = default;

Ndo_History::~Ndo_History()
{
    CanChange();
    Cmn_ASSERT_TEXT(mTellingDepth == 0, "the history is not destroyed by its listener");
    EraseAll();
}

bool Ndo_History::CanChange() const { return Cmn_ASSERT(!mIsBusy); }

// --- Steps

bool Ndo_History::Add(std::unique_ptr<Ndo_Operation>&& ioOperation, const std::string& iName,
                      Cmn_Int64 iMergeID)
{
    if (!CanChange() || !Cmn_ASSERT(ioOperation != 0)) return false;
    if (ioOperation->IsEmpty()) {
        const StBusy busy(*this);
        ioOperation.reset();
        return true;
    }
    if (TryMerge(*ioOperation, iMergeID)) {
        const StChange change(*this);
        ioOperation.reset();
        return true;
    }
    // What can fail for want of memory comes before the first change.
    std::string name = iName;
    mSteps.emplace_back(); // at the end, where it disturbs no position
    const StChange change(*this);
    Step step{std::move(name), std::move(ioOperation), 0};
    step.mNumBytes = step.mOperation->GetByteCount();
    EraseSteps(mPosition, mSteps.size() - 1);
    mNumBytes += step.mNumBytes;
    mSteps.back() = std::move(step);
    ++mPosition;
    mMergeID = iMergeID;
    return true;
}

bool Ndo_History::TryMerge(Ndo_Operation& ioOperation, Cmn_Int64 iMergeID)
{
    const bool isMeant = iMergeID != cNeverMerge && iMergeID == mMergeID && mPosition > 0;
    if (!isMeant || mPosition != mSteps.size() || mSaved == mPosition) return false;
    const StBusy busy(*this);
    Step& step = mSteps.back();
    step.mOperation->Append(ioOperation);
    const std::size_t bytes = step.mOperation->GetByteCount();
    mNumBytes += bytes - std::exchange(step.mNumBytes, bytes);
    return true;
}

void Ndo_History::StopMerging() { mMergeID = cNeverMerge; }

void Ndo_History::Clear()
{
    if (!CanChange()) return;
    const StChange change(*this);
    const bool isSaved = IsSaved();
    EraseAll();
    mSaved = isSaved ? std::optional<std::size_t>(0) : std::nullopt;
}

bool Ndo_History::CanRedo() const { return !mIsBusy && mPosition < mSteps.size(); }

std::size_t Ndo_History::GetNumberOfSteps() const { return mSteps.size(); }

bool Ndo_History::Undo() { return CanUndo() && GoTo(mPosition - 1); }

bool Ndo_History::Redo() { return CanRedo() && GoTo(mPosition + 1); }

bool Ndo_History::GoTo(std::size_t iPosition)
{
    if (mIsBusy || iPosition > mSteps.size()) return false;
    if (!Cmn_ASSERT(!Ndo_gManager.IsRecording())) return false;
    if (iPosition == mPosition) return true;
    const StChange change(*this);
    mMergeID = cNeverMerge;
    while (mPosition != iPosition)
        Restore(iPosition < mPosition);
    return true;
}

void Ndo_History::Restore(bool iBack)
{
    Step& step = mSteps[iBack ? mPosition - 1 : mPosition];
    RestoreRecorded(step, iBack);
    const std::size_t bytes = step.mOperation->GetByteCount();
    mNumBytes += bytes - std::exchange(step.mNumBytes, bytes);
    mPosition = iBack ? mPosition - 1 : mPosition + 1;
}

void Ndo_History::RestoreRecorded(Step& ioStep, bool iBack)
{
    const StBusy busy(*this);
    const Ndo_Operation::Size before = ioStep.mOperation->GetSize();
    Ndo_StOperationRecorder recorder; // out of memory here leaves the step as it was
    try {
        ioStep.mOperation->Restore();
    } catch (...) {
        bool isDocumentKnown = true;
        try {
            recorder.OperationComplete()->Restore();
        } catch (...) {
            isDocumentKnown = false;
        }
        const bool isUsedUp = !(ioStep.mOperation->GetSize() == before);
        if (!isDocumentKnown || isUsedUp) DropFailed(iBack, isDocumentKnown);
        throw;
    }
    ioStep.mOperation = recorder.OperationComplete();
}

void Ndo_History::DropFailed(bool iBack, bool iIsDocumentKnown)
{
    if (!iIsDocumentKnown) {
        EraseAll();
        mSaved.reset();
    } else if (iBack) {
        EraseSteps(0, mPosition);
    } else {
        EraseSteps(mPosition, mSteps.size());
    }
}

std::string Ndo_History::GetStepName(std::size_t iStep) const
{
    return iStep < mSteps.size() ? mSteps[iStep].mName : std::string();
}

void Ndo_History::EraseAll()
{
    EraseSteps(mPosition, mSteps.size());
    EraseSteps(0, mPosition);
}

// Steps to one side of the position go: [0, iLast) or [iFirst, end), or those just behind it, which Add
// replaces. The positions between them and beyond them are lost.
void Ndo_History::EraseSteps(std::size_t iFirst, std::size_t iLast)
{
    const StBusy busy(*this);
    for (std::size_t i = iFirst; i < iLast; ++i)
        mNumBytes -= mSteps[i].mNumBytes;
    if (iFirst < iLast) {
        const std::size_t count = iLast - iFirst;
        const bool isBefore = iLast <= mPosition;
        if (mSaved && isBefore) mSaved = *mSaved < iLast ? std::nullopt : std::optional(*mSaved - count);
        if (mSaved && !isBefore && *mSaved > iFirst) mSaved.reset();
        if (isBefore) mPosition -= count;
    }
    mSteps.erase(mSteps.begin() + static_cast<std::ptrdiff_t>(iFirst),
                 mSteps.begin() + static_cast<std::ptrdiff_t>(iLast));
    if (mPosition == 0) mMergeID = cNeverMerge;
}

// --- Limits and the saved mark

void Ndo_History::SetLimits(std::size_t iMaxSteps, std::size_t iMaxBytes)
{
    if (!CanChange()) return;
    const StChange change(*this);
    mMaxSteps = iMaxSteps;
    mMaxBytes = iMaxBytes;
}

void Ndo_History::KeepLimits()
{
    while (mSteps.size() > mMaxSteps || (mNumBytes > mMaxBytes && mSteps.size() > 1)) {
        const std::size_t first = mPosition > 1 ? 0 : mSteps.size() - 1;
        EraseSteps(first, first + 1);
    }
}

void Ndo_History::MarkSaved()
{
    if (!CanChange()) return;
    const StChange change(*this);
    mSaved = mPosition;
}

void Ndo_History::MarkUnsaved()
{
    if (!CanChange()) return;
    const StChange change(*this);
    mSaved.reset();
}

// --- Listeners

void Ndo_History::AddListener(Ndo_HistoryListener* iListenerP)
{
    if (Cmn_ASSERT(iListenerP != 0)) mListeners.push_back(iListenerP);
}

void Ndo_History::RemoveListener(Ndo_HistoryListener* iListenerP)
{
    const auto found = std::find(mListeners.begin(), mListeners.end(), iListenerP);
    if (iListenerP == nullptr || found == mListeners.end()) return;
    if (mTellingDepth > 0)
        *found = nullptr;
    else
        mListeners.erase(found);
}

void Ndo_History::TellListeners()
{
    ++mTellingDepth;
    const std::size_t count = mListeners.size();
    for (std::size_t i = 0; i < count; ++i) {
        bool threw = false;
        try {
            if (mListeners[i] != nullptr) mListeners[i]->HistoryChanged(*this);
        } catch (...) {
            threw = true;
        }
        Cmn_ASSERT_TEXT(!threw, "a listener threw an exception");
    }
    if (--mTellingDepth == 0) std::erase(mListeners, nullptr);
}

std::string Ndo_History::Dump() const
{
    std::string text = "Ndo_History: " + std::to_string(mNumBytes) + " bytes\n";
    for (std::size_t i = 0; i <= mSteps.size(); ++i) {
        text += (i == mPosition ? "> " : "  ") + std::to_string(i) + (mSaved == i ? " saved\n" : "\n");
        if (i < mSteps.size())
            text += "  " + mSteps[i].mName + ", " + std::to_string(mSteps[i].mNumBytes) + " bytes\n";
    }
    return text;
}
