#include "Cnn/CnnFixture.h"
#include "Kora/Cnn/Msg_ObjBase.h"

namespace {

// Writes "a0 ".
struct Receiver : Scribe<Msg_Receiver>
{
    using Scribe::Scribe;
    void MsgReceive(Msg_EMessage iMessage) override { Write(std::to_string(iMessage) + ' '); }
};

} // namespace

TEST(Msg, AttachmentTellsTheNewOneAndDestructionTellsAll)
{
    std::string text;
    Receiver a(text, 'a');
    Receiver b(text, 'b');
    {
        Msg_ObjBase obj;
        obj.AddReceiver(&a);
        obj.AddReceiver(&b);
        {
            Receiver c(text, 'c');
            obj.AddReceiver(&c);
            EXPECT_EQ(obj.GetNumberOfReceivers(), 3);
        }
        EXPECT_EQ(obj.GetNumberOfReceivers(), 2);
        obj.BroadcastMessage(Msg_EMessage(5));
        EXPECT_EQ(a.GetMsgObj(), &obj);
        const Receiver copy = a;
        EXPECT_EQ(copy.GetMsgObj(), nullptr);
    }
    EXPECT_EQ(text, "a0 b0 c0 a5 b5 a1 b1 ");
    EXPECT_EQ(a.GetMsgObj(), nullptr);
    EXPECT_EQ(a.GetNext(), nullptr);
}

TEST(Msg, BrokenPreconditionsAssertAndLeaveTheListsWhole)
{
    const AssertRecorder recorder;
    std::string text;
    Msg_ObjBase first;
    Msg_ObjBase second;
    Receiver a(text, 'a');
    Receiver b(text, 'b');
    first.AddReceiver(&a);
    second.AddReceiver(&a);
    EXPECT_EQ(recorder.Take(), Reports{"iReceiverP->mObjP == 0@$^$@Cnn/Msg_ObjBase"});
    EXPECT_EQ(first.GetNumberOfReceivers(), 0);
    EXPECT_EQ(second.GetNumberOfReceivers(), 1);

    first.RemoveReceiver(&a);
    EXPECT_EQ(recorder.Take(), Reports{"iReceiverP->mObjP == this@$^$@Cnn/Msg_ObjBase"});
    first.AddReceiver(nullptr);
    EXPECT_EQ(recorder.Take(), Reports{"iReceiverP != 0@$^$@Cnn/Msg_ObjBase"});

    second.AddReceiver(&b);
    a.mThen = [] { throw std::runtime_error("a"); };
    text.clear();
    second.BroadcastMessage(Msg_EMessage(2));
    EXPECT_EQ(recorder.Take(), Reports{"a receiver threw an exception@$^$@Cnn/Msg_ObjBase"});
    EXPECT_EQ(text, "a2 b2 ");
}

TEST(Msg, AReceiverThatUnlinksItselfEndsTheBroadcast)
{
    const AssertRecorder recorder;
    std::string text;
    Msg_ObjBase obj;
    std::unique_ptr<Receiver> b;
    const auto unlink = [&] { obj.RemoveReceiver(b.get()); };
    const auto linkAgain = [&] { unlink(), obj.AddReceiver(b.get()); };
    const std::tuple<const char*, std::function<void()>, const char*> rows[] = {
        {"unlinked", unlink, "a3 b3 a4 c4 "},
        {"destroyed", [&] { b.reset(); }, "a3 b3 a4 c4 "},
        {"linked again, at the end", linkAgain, "a3 b3 b0 a4 c4 b4 "},
        {"in a broadcast inside it", [&] { b->mThen = unlink, obj.BroadcastMessage(Msg_EMessage(7)); },
         "a3 b3 a7 b7 a4 c4 "},
    };
    for (const auto& [what, change, told] : rows) {
        Receiver a(text, 'a');
        Receiver c(text, 'c');
        b = std::make_unique<Receiver>(text, 'b');
        for (Receiver* const receiver : {&a, b.get(), &c})
            obj.AddReceiver(receiver);
        text.clear();
        b->mThen = change;
        obj.BroadcastMessage(Msg_EMessage(3));
        const bool isNested = std::string(told).find('7') != std::string::npos;
        EXPECT_EQ(recorder.Take(), Reports(isNested ? 2 : 1,
                                           "a receiver stays linked during a broadcast@$^$@Cnn/Msg_ObjBase"));
        obj.BroadcastMessage(Msg_EMessage(4));
        EXPECT_EQ(text, told) << what;
    }
}

// Random linking and unlinking, by call and by destruction, against a vector.
TEST(Msg, ReceiversAreToldInOrderOfAddition)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string text;
    std::string expected;
    std::vector<std::unique_ptr<Receiver>> linked;
    Msg_ObjBase obj;
    for (int step = 0; step < 1000; ++step) {
        if (linked.empty() || random() % 2 == 0) {
            linked.push_back(std::make_unique<Receiver>(text, static_cast<char>('a' + step % 26)));
            obj.AddReceiver(linked.back().get());
        } else {
            const std::size_t at = random() % linked.size();
            if (random() % 2 == 0) obj.RemoveReceiver(linked[at].get());
            linked.erase(linked.begin() + static_cast<std::ptrdiff_t>(at));
        }
        text.clear();
        obj.BroadcastMessage(Msg_EMessage(9));
        expected.clear();
        for (const auto& receiver : linked)
            expected += receiver->mLetter + std::string("9 ");
        ASSERT_EQ(text, expected) << "step " << step;
        ASSERT_EQ(obj.GetNumberOfReceivers(), static_cast<Cmn_Int32>(linked.size()));
    }
}
