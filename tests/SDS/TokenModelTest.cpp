// The protocols of dispatch in every order that their steps can have, two or three threads at a time.
#include "Kora/SDS/Source/SDS_ListGate_p.h"
#include "Kora/SDS/Source/SDS_Mailbox_p.h"
#include "OstrelPlatformSupport/PSAtomicStructures.h"
#include "Support/Interleaving.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using ModelSemaphore = PSBasicAtomic_UInt32Semaphore<ModelAtomic>;

struct ModelList
{
    SDS_BasicListGate<ModelSemaphore> mGate;
    int mWalkers = 0; // what the uses stand for
    int mNode = 0;    // whose tokens its listeners hear; another one's after it has been recycled
    int mLeft = 0;    // the change after which no pointer of node 0 led here
};

// Producers, who pay for each walk or for many at once, walk the list of node 0, twice each, while its list is replaced by another, built in vain,
// recycled for node 1, and, where it could be closed, put in force at node 0 again.
struct GateScene
{
    ModelAtomic<ModelList*> mNode0{&mLists[0]};
    ModelAtomic<ModelList*> mNode1{nullptr};
    ModelList mLists[2];
    ModelList* mInForce = &mLists[0]; // at node 0
    int mChanges = 0;
    bool mIsWhole = true;
    int mWalks = 0;
    bool mClosed = false;
    bool mRunsOutOfMemory = false;
    bool mPaysAhead = false;
    SDS_PaidUses<ModelList> mPaid[3]; // the producers'

    void Walk(int iProducer)
    {
        SDS_PaidUses<ModelList>& paid = mPaid[iProducer];
        const int begin = mChanges;
        ModelList* const list =
            mPaysAhead ? paid.Enter(mNode0) : decltype(ModelList::mGate)::Enter<ModelList>(mNode0);
        if (list == nullptr) return;
        mIsWhole = mIsWhole && (list == mInForce || list->mLeft > begin); // none that had gone before
        ++list->mWalkers;
        mIsWhole = mIsWhole && list->mNode == 0;
        mNode1.load(); // others may come in between
        mIsWhole = mIsWhole && list->mNode == 0;
        --list->mWalkers;
        ++mWalks;
        if (mPaysAhead)
            paid.Return(1);
        else
            list->mGate.mUse.Subtract();
    }

    void Produce(int iProducer, int iWalks)
    {
        for (int walk = 0; walk < iWalks; ++walk)
            Walk(iProducer);
        mPaid[iProducer].GiveBack();
    }

    void PutInForce(ModelList& ioList)
    {
        mInForce->mLeft = ++mChanges;
        mInForce = &ioList;
    }

    void Replace()
    {
        ModelList& old = mLists[0];
        mNode0.exchange(&mLists[1]);
        PutInForce(mLists[1]);
        if (!old.mGate.TryToClose()) return;
        mClosed = true;
        mIsWhole = mIsWhole && old.mWalkers == 0;
        if (mRunsOutOfMemory) {
            // Taken for a rebuild that is given up.
            old.mGate.Reopen();
            old.mGate.Close();
            mIsWhole = mIsWhole && old.mGate.mBlock.Get() == 1;
            if (!mIsWhole) return; // producers would go round for ever
        }
        old.mNode = 1;
        old.mGate.Reopen();
        mNode1.exchange(&old);
        mNode1.exchange(nullptr);
        if (!old.mGate.TryToClose()) return;
        old.mNode = 0;
        old.mGate.Reopen();
        mNode0.exchange(&old);
        PutInForce(old);
    }
};

TEST(TokenModel, AListIsNeverRecycledWhileItIsWalked)
{
    constexpr struct
    {
        int mThreads;
        bool mPaysAhead;
    } cases[] = {{2, false}, {3, false}, {2, true}};
    for (const auto& [threads, paysAhead] : cases) {
        SCOPED_TRACE(testing::Message() << threads << (paysAhead ? " threads, paid ahead" : " threads"));
        const int walks = threads == 2 ? 2 : 1;
        std::unique_ptr<GateScene> scene;
        const bool pays = paysAhead; // captured
        bool closed = false;
        bool keptOpen = false;
        const long schedules = Interleaving::ExploreAll(
            threads,
            [&] {
                scene = std::make_unique<GateScene>();
                scene->mRunsOutOfMemory = walks == 2;
                scene->mPaysAhead = pays;
            },
            [&](int i) {
                if (i == 0)
                    scene->Replace();
                else
                    scene->Produce(i, walks);
            },
            [&] {
                EXPECT_TRUE(scene->mIsWhole);
                EXPECT_EQ(scene->mWalks, 2) << "a producer always gets a list";
                for (const ModelList& list : scene->mLists)
                    EXPECT_EQ(list.mGate.mUse.Get(), 0u);
                (scene->mClosed ? closed : keptOpen) = true;
            });
        EXPECT_GT(schedules, 50);
        EXPECT_TRUE(closed);
        EXPECT_TRUE(keptOpen) << "no schedule had a walk under way";
    }
}

struct Token
{
    int mTaken = 0;    // by the consumer
    int mReturned = 0; // to a producer, that had it replaced or refused
};

// Threads 1 and 2 post to one latest listener, thread 1 twice; thread 0 looks for notices, and closes the
// queue in the end where the task goes.
struct MailScene
{
    SDS_BasicMailbox<ModelAtomic, Token> mMailbox;
    PSBasicAtomicQueue<ModelAtomic> mQueue;
    PSAtomicQueueLink mNotice;
    Token mTokens[3];
    std::vector<std::ptrdiff_t> mTaken;
    bool mIsWhole = true;

    void Post(int iWhich)
    {
        bool queueNotice = false;
        if (Token* const before = mMailbox.Post(&mTokens[iWhich], queueNotice)) ++before->mReturned;
        if (!queueNotice || mQueue.Push(mNotice)) return;
        if (Token* const refused = mMailbox.Take()) ++refused->mReturned;
    }

    void Look(PSAtomicQueueLink* iNotices)
    {
        if (iNotices == nullptr) return;
        // A notice that was queued twice would have cut the chain or closed it to a ring.
        mIsWhole = mIsWhole && iNotices == &mNotice && mNotice.mNext == nullptr;
        Token* const token = mMailbox.Take();
        if (token == nullptr) return;
        ++token->mTaken;
        mTaken.push_back(token - mTokens);
    }

    bool IsWhole(bool iClosed)
    {
        if (!iClosed) Look(mQueue.Drain());
        for (const Token& token : mTokens)
            mIsWhole = mIsWhole && token.mTaken + token.mReturned == 1;
        // The first producer's two are taken in their order, and its last one was not lost to the one before.
        const auto first = std::find(mTaken.begin(), mTaken.end(), 0);
        mIsWhole = mIsWhole && (first == mTaken.end() || std::find(mTaken.begin(), first, 1) == first);
        if (!iClosed) mIsWhole = mIsWhole && !mTaken.empty() && mTaken.back() != 0;
        return mIsWhole && mMailbox.IsEmpty();
    }
};

TEST(TokenModel, ALatestListenerGetsTheNewestAndNothingIsLeftBehind)
{
    for (const bool closes : {false, true}) {
        std::unique_ptr<MailScene> scene;
        const long schedules = Interleaving::ExploreAll(
            3, [&] { scene = std::make_unique<MailScene>(); },
            [&](int i) {
                if (i == 0) {
                    scene->Look(scene->mQueue.Drain());
                    scene->Look(closes ? scene->mQueue.Close() : scene->mQueue.Drain());
                } else if (i == 1) {
                    scene->Post(0);
                    scene->Post(1);
                } else {
                    scene->Post(2);
                }
            },
            [&] { EXPECT_TRUE(scene->IsWhole(closes)) << (closes ? "closed" : "open"); });
        EXPECT_GT(schedules, 100);
    }
}

} // namespace
