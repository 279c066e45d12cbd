// UndoHistory: edits of an object, each undone and redone to the byte.
#pragma once

#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Support/StreamBytes.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

template <class T>
class UndoHistory
{
public:
    using Snapshot = std::function<Bytes(const T&)>;

    // iSnapshot gives the bytes that undo shall bring back, where the object's own may differ.
    explicit UndoHistory(T& ioObject, Snapshot iSnapshot = &Streamed<T>)
        : mObject(ioObject)
        , mSnapshot(std::move(iSnapshot))
        , mStates{mSnapshot(ioObject)}
    {
    }
    // Whether something was logged.
    bool Record(const std::function<void()>& iEdit)
    {
        Move(mUndo, iEdit);
        mStates.push_back(mSnapshot(mObject));
        return !mUndo.back()->IsEmpty();
    }
    // All the way back, and forward again.
    void ExpectEveryState()
    {
        for (const bool back : {true, false})
            for (auto &from = back ? mUndo : mRedo, &into = back ? mRedo : mUndo; !from.empty();) {
                Move(into, [&] { from.back()->Restore(); });
                from.pop_back();
                ASSERT_EQ(mSnapshot(mObject), mStates[mUndo.size()]) << "state " << mUndo.size();
            }
    }

private:
    using Operations = std::vector<std::unique_ptr<Ndo_Operation>>;

    static void Move(Operations& ioInto, const std::function<void()>& iEdit)
    {
        Ndo_StOperationRecorder recorder;
        iEdit();
        ioInto.push_back(recorder.OperationComplete());
    }

    T& mObject;
    Snapshot mSnapshot;
    std::vector<Bytes> mStates;
    Operations mUndo;
    Operations mRedo;
};
