// What waits in a task's list while its listeners change, and tokens whose senders were overtaken on the way.
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "SDS/TokenFixture.h"

#include <algorithm>

namespace {

class TokenOrder : public TokenTest
{
protected:
    static void HandOutOne(SDS_ITokenTask& ioTask) { ioTask.ProcessTokens(-1, Time_Sample(0), 0); }

    void SendAll(const std::vector<int>& iTypes)
    {
        int sequence = 0;
        for (const int type : iTypes)
            static_cast<void>(Send(mA, {type, 0, ++sequence}));
    }

    SDS_IName mA{"order/a"};
    std::vector<int> mLog;
};

// Where a token for another latest listener waits, each look into the queue may drop what waits.
TEST_F(TokenOrder, AListenerThatBecomesALatestOneLosesWhatWaitsForItAndNothingElse)
{
    struct Row
    {
        std::vector<int> mTypes; // of tokens 1, 2 …; the listener in question hears type 7
        std::vector<int> mHeard; // when the first was handed out, then the flag set and 9 sent
    };
    const Row rows[] = {
        {{8, 7, 6}, {1, 3, 9}},
        {{8, 7, 8, 6}, {1, 3, 4, 9}},
        {{7, 8, 6}, {1, 2, 3, 9}},
        {{8, 8, 7, 6}, {1, 2, 4, 9}},
    };
    for (const Cmn_Int32 priority : {0, 16}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(testing::PrintToString(row.mTypes) + " at priority " + std::to_string(priority));
            RunningTask task(priority);
            Recorder changes(&task, mA, mLog, {7, 0, false});
            const Recorder stays(&task, mA, mLog, {8, 0, false});
            const Recorder latest(&task, mA, mLog, {6, 0, true});
            mLog.clear();
            SendAll(row.mTypes);
            HandOutOne(task);
            changes.GetSDSTokenListener()->SetLatestFlag(true);
            static_cast<void>(Send(mA, {7, 0, 9}));
            task.ProcessTokens(0, Time_Sample(0), 0);
            EXPECT_EQ(mLog, row.mHeard);
        }
    }
}

// A token in the mailbox is overtaken by one that was queued while its listener was no latest one.
TEST_F(TokenOrder, WhatOvertookAMailedTokenIsDroppedForTheNextOne)
{
    RunningTask task(0);
    Recorder changes(&task, mA, mLog, {7, 0, true});
    const Recorder stays(&task, mA, mLog, {8, 0, false});
    const Recorder latest(&task, mA, mLog, {6, 0, true});
    SendAll({7});
    changes.GetSDSTokenListener()->SetLatestFlag(false);
    for (const TestToken& token : {TestToken(8, 0, 2), TestToken(7, 0, 3), TestToken(6, 0, 4)})
        static_cast<void>(Send(mA, token));
    HandOutOne(task);
    changes.GetSDSTokenListener()->SetLatestFlag(true);
    static_cast<void>(Send(mA, {7, 0, 9}));
    task.ProcessTokens(0, Time_Sample(0), 0);
    EXPECT_EQ(mLog, std::vector<int>({2, 4, 9}));
}

TEST_F(TokenOrder, WhatWasHandedOutIsForgottenWhoeverGoesOrChanges)
{
    RunningTask task(16);
    const Recorder stays(&task, mA, mLog, {8, 0, false});
    {
        const Recorder goes(&task, mA, mLog, {7, 0, false});
        SendAll({8, 8, 7, 8});
        HandOutOne(task);
        HandOutOne(task);
    }
    task.ProcessTokens(0, Time_Sample(0), 0);
    EXPECT_EQ(mLog, std::vector<int>({1, 2, 4}));

    Recorder changes(&task, mA, mLog, {7, 0, false});
    SendAll({8, 7});
    EXPECT_EQ(Drained(task, mLog), std::vector<int>({1, 2}));
    changes.GetSDSTokenListener()->SetLatestFlag(true);
    SendAll({7, 8, 7});
    EXPECT_EQ(Drained(task, mLog), std::vector<int>({2, 3}));
}

// Another thread's tokens come in at each step of a dispatch that can be forced: one for a latest listener, 1, and then
// an ordinary one, 2.
TEST_F(TokenOrder, AnOvertakenTokenLeavesTheOthersInOrder)
{
    static SDS_IName* sNode = nullptr;
    static int sStepsToGo = 0;
    sNode = &mA;
    for (int steps = 0; steps < 10; ++steps) {
        RunningTask task(0);
        const Recorder latest(&task, mA, mLog, {7, 0, true});
        const Recorder ordinary(&task, mA, mLog, {8, 0, false});
        mLog.clear();
        sStepsToGo = steps;
        SDS_TokenDispatcher::SetInterleavingHook([] {
            if (--sStepsToGo != 0) return;
            static_cast<void>(Send(*sNode, {7, 0, 1}));
            static_cast<void>(Send(*sNode, {8, 0, 2}));
        });
        static_cast<void>(Send(mA, {8, 0, 3}));
        SDS_TokenDispatcher::SetInterleavingHook(nullptr);
        task.ProcessTokens(0, Time_Sample(0), 0);
        const auto placeOf = [&](int iToken) { return std::find(mLog.begin(), mLog.end(), iToken); };
        EXPECT_NE(placeOf(3), mLog.end());
        EXPECT_LE(placeOf(1), placeOf(2)) << "at step " << steps << ": " << testing::PrintToString(mLog);
    }
}

} // namespace
