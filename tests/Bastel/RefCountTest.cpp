#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

// Tells its owner what was written to it when it goes.
struct Probe : Cmn_RefCountObject
{
    explicit Probe(std::vector<int>& iLastWords)
        : mLastWords(&iLastWords)
    {
    }
    ~Probe() override { *mLastWords = std::move(mWritten); }

    std::vector<int>* mLastWords;
    std::vector<int> mWritten; // plain: only the count orders the threads' last writes before the end
};

using Pointer = Cmn_RefCountPtr<Probe>;

} // namespace

TEST(RefCount, TheLastReferenceDeletes)
{
    std::vector<int> lastWords;
    Pointer first(new Probe(lastWords));
    first->mWritten = {1};
    EXPECT_EQ(first->GetRefCount(), 1);
    {
        Pointer second = first;
        const Cmn_RefCountPtr<Cmn_RefCountObject> base = second;
        EXPECT_EQ(first->GetRefCount(), 3);
        const Pointer moved = std::move(second);
        EXPECT_TRUE(!second && moved == first && first->GetRefCount() == 3);
    }
    first = *&first; // to itself
    const Pointer copy(new Probe(*first));
    *copy = *first;
    EXPECT_EQ(first->GetRefCount(), 1);
    EXPECT_EQ(copy->GetRefCount(), 1) << "nobody referred to the copy";
    first = nullptr;
    EXPECT_EQ(lastWords, std::vector{1});
}

TEST(RefCount, AReferenceToAPartKeepsTheWholeAlive)
{
    std::vector<int> lastWords;
    Pointer whole(new Probe(lastWords));
    whole->mWritten = {5};
    Cmn_AliasedRefCountPtr<const std::vector<int>> part(whole, &whole->mWritten);
    Cmn_AliasedRefCountPtr<Cmn_RefCountObject> base = whole;
    EXPECT_EQ(whole->GetRefCount(), 3);
    EXPECT_EQ(base.get(), whole.get());
    whole = nullptr;
    base = nullptr;
    EXPECT_TRUE(lastWords.empty() && !base && part->size() == 1);
    part = nullptr;
    EXPECT_EQ(lastWords, std::vector{5});
}

TEST(RefCount, ReleasingWhatNobodyHeldIsReportedAndChangesNothing)
{
    const AssertRecorder recorder;
    std::vector<int> lastWords;
    auto* const probe = new Probe(lastWords);
    probe->Release();
    EXPECT_EQ(recorder.Take(), std::vector<std::string>{"mCount > 0@$^$@Cmn/Cmn_RefCount"});
    EXPECT_EQ(probe->GetRefCount(), 0);
    const Pointer holder(probe);
}

TEST(RefCount, WhoeverIsLastSeesWhatTheOthersWrote)
{
    const std::size_t threads = std::thread::hardware_concurrency() * 2 + 2;
    for (int round = 0; round < 50; ++round) {
        std::vector<int> lastWords;
        std::vector<std::thread> running;
        Pointer shared(new Probe(lastWords));
        shared->mWritten.resize(threads);
        for (std::size_t i = 0; i < threads; ++i)
            running.emplace_back([i, mine = shared]() mutable {
                for (int copies = 0; copies < 100; ++copies)
                    const Pointer copy = mine;
                mine->mWritten[i] = 1;
                mine = nullptr;
            });
        shared = nullptr;
        for (std::thread& thread : running)
            thread.join();
        EXPECT_EQ(lastWords, std::vector<int>(threads, 1));
    }
}
