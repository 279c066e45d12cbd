#include "Cnn/CnnFixture.h"
#include "Kora/Cnn/Cnn_ListenerList.h"
#include "Kora/Cnn/Cnn_ListenerMessageReceiver.h"
#include "Kora/Cnn/Cnn_ListenerRegistry.h"
#include "Kora/Cnn/Mdl_SimpleValMessage.h"

using Priority = Cnn_ListenerListBase::EPriority;

namespace {

struct Listener : Scribe<Cnn_ListenerMessageReceiver>
{
    using Scribe::Scribe;
    void ReceiveMessage(const Cnn_ListenerMessage&) override { Write(""); }
    std::type_index GetMessageClassInfo() const override { return mClass; }

    std::type_index mClass = typeid(Mdl_SimpleValMessage);
};

class ListenerTest : public testing::Test
{
protected:
    // Who is told, in order.
    std::string Broadcast(const Cnn_ListenerList<Mdl_SimpleValMessage>& iList)
    {
        mText.clear();
        iList.Broadcast(Mdl_SimpleValMessage_ValChanged());
        return mText;
    }

    AssertRecorder mRecorder;
    std::string mText;
    Cnn_ListenerList<Mdl_SimpleValMessage> mList;
    Listener a{mText, 'a'};
    Listener b{mText, 'b'};
    Listener c{mText, 'c'};
    Cnn_ListenerRegistry& mRegistry = Cnn_ListenerRegistry::Singleton();
};

} // namespace

TEST_F(ListenerTest, HighPriorityGoesToTheFrontAndEverythingElseToTheEnd)
{
    mList.Add(&a);
    mList.Add(&b, Priority(7));
    mList.Add(&c, Priority::kPriorityHigh);
    EXPECT_EQ(Broadcast(mList), "cab");
    mList.Add(&b, Priority::kPriorityHigh);
    EXPECT_EQ(Broadcast(mList), "bcab") << "added twice is told twice";
    mList.Remove(&b);
    EXPECT_EQ(Broadcast(mList), "cab") << "the first occurrence goes";
    const auto copy = mList;
    mList.Remove(&b);
    mList.Remove(&b);
    EXPECT_EQ(Broadcast(mList), "ca");
    EXPECT_EQ(Broadcast(copy), "cab");
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

TEST_F(ListenerTest, AReceiverOfAnotherClassAssertsAndIsAdded)
{
    Listener stranger(mText, 's');
    stranger.mClass = typeid(Mdl_SimpleValMessage_ValChanged);
    mList.Add(&stranger);
    EXPECT_EQ(mRecorder.Take(),
              Reports{"iListenerP->GetMessageClassInfo() == mMessageClassInfo@$^$@Cnn/Cnn_ListenerList"});
    EXPECT_EQ(Broadcast(mList), "s");
    mList.Add(nullptr);
    EXPECT_EQ(mRecorder.Take().size(), 1u);
    EXPECT_EQ(mList.GetNumberOfListeners(), 1u);
}

TEST_F(ListenerTest, AReceiverThatThrowsIsAssertedAndTheOthersAreTold)
{
    for (Listener* const listener : {&a, &b, &c})
        mList.Add(listener);
    b.mThen = [] { throw std::runtime_error("b"); };
    EXPECT_EQ(Broadcast(mList), "abc");
    EXPECT_EQ(mRecorder.Take(), Reports{"a receiver threw an exception@$^$@Cnn/Cnn_ListenerList"});
}

TEST_F(ListenerTest, AListThatChangesDuringABroadcastStaysInBounds)
{
    const std::pair<std::function<void()>, const char*> changesByB[] = {
        // one added at the end waits for the next broadcast
        {[&] { mList.Add(&a); }, "abc"},
        // removing one not told yet skips only it
        {[&] { mList.Remove(&c); }, "ab"},
        // removing itself leaves out the one behind
        {[&] { mList.Remove(&b); }, "ab"},
        {[&] { mList = {}; }, "ab"},
        // of equal size, but another list
        {[&] { mList.Remove(&b), mList.Add(&a); }, "aba"},
        {[&] { mList = Cnn_ListenerList<Mdl_SimpleValMessage>(mList); }, "abc"},
    };
    for (const auto& [change, told] : changesByB) {
        mList = {};
        for (Listener* const listener : {&a, &b, &c})
            mList.Add(listener);
        b.mThen = change;
        EXPECT_EQ(Broadcast(mList), told);
        EXPECT_EQ(mRecorder.Take(),
                  Reports{"listeners unchanged during a broadcast@$^$@Cnn/Cnn_ListenerList"});
    }
}

TEST_F(ListenerTest, ReceiversWaitForTheirListAndKeepTheirOrder)
{
    mRegistry.AddListener("late", &a);
    mRegistry.AddListener("late", &b);
    mRegistry.AddListener("late", &a);
    mRegistry.AddListener("late", &c);
    mRegistry.RemoveListener("late", &a);
    EXPECT_EQ(Broadcast(mList), "");
    mList.Add(&c);
    mRegistry.PublishListenerList("late", &mList);
    EXPECT_EQ(mRecorder.Take(), Reports{"insertResult.second@$^$@Cnn/Cnn_ListenerRegistry"});
    EXPECT_EQ(Broadcast(mList), "cbac") << "behind those that were in the list";
    mRegistry.RemoveListener("late", &c);
    mRegistry.AddListener("late", &c);
    EXPECT_EQ(Broadcast(mList), "bacc");

    Cnn_ListenerList<Mdl_SimpleValMessage> second;
    mRegistry.PublishListenerList("late", &second);
    EXPECT_EQ(Broadcast(second), "") << "those who waited went to the first list only";
    mRegistry.AddListener("late", &b);
    EXPECT_EQ(Broadcast(second), "b");
    EXPECT_EQ(mRecorder.Take().size(), 1u);
    mRegistry.PublishListenerList("early", &mList);
    mRegistry.AddListener("early", &a);
    EXPECT_EQ(mRecorder.Take(), Reports{}) << "a new name";
    mRegistry.RemoveListener("never heard of", &a);
    EXPECT_EQ(mRecorder.Take(), Reports{"entryIter != mMap.end()@$^$@Cnn/Cnn_ListenerRegistry"});
}
