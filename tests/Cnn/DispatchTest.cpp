#include "Cnn/CnnFixture.h"
#include "Kora/Cnn/Cnn_DispatchTableRegistry.h"
#include "Kora/Cnn/Cnn_ListenerList.h"
#include "Kora/Cnn/Cnn_ListenerMessage.h"
#include "Kora/Cnn/Cnn_Receiver.h"

#include <list>

namespace {

struct Weather : Cnn_ListenerMessage
{
    std::type_index GetMessageClassInfo() const override { return typeid(Weather); }
};

// The padding base moves the message away from the address of its Cnn_ListenerMessage.
struct Padding
{
    virtual ~Padding() = default;
    int mPadding = 0;
};

template <Cmn_Int32 ID>
struct WeatherMessage : Padding, Weather
{
    static constexpr Cmn_Int32 cID = ID;
    explicit WeatherMessage(int iDegrees)
        : mDegrees(iDegrees)
    {
    }
    const void* GetDerivedPtr() const override { return this; }
    Cmn_Int32 GetID() const override { return ID; }
    int mDegrees;
};
using Sun = WeatherMessage<0>;
using Rain = WeatherMessage<1>;
using Snow = WeatherMessage<2>;
using Below = WeatherMessage<-1>;

class Diary
{
public:
    std::string mText;

private:
    void OnSnow(const Snow& iSnow) { mText += "snow " + std::to_string(iSnow.mDegrees) + "; "; }
    void OnSun(const Sun& iSun) noexcept { mText += "sun " + std::to_string(iSun.mDegrees) + "; "; }
    void OnSunOtherwise(const Sun&) { mText += "sun again; "; }

public:
    Cnn_Receiver<Diary, Weather, &Diary::OnSnow, &Diary::OnSun> mReceiver{*this};
    Cnn_Receiver<Diary, Weather, &Diary::OnSunOtherwise> mOther{*this};
};

// A dispatcher whose handlers are letters, which the invoker appends to the receiver.
struct Letters : Cnn_Dispatcher
{
    explicit Letters(std::string& ioText)
        : Cnn_Dispatcher(&ioText, Cnn_DispatchTableRegistry::FindOrCreate(typeid(Weather), ++sKind))
    {
    }
    void Add(Cmn_Int32 iID, std::string iLetter)
    {
        AddFunction(iID, &mLetters.emplace_back(std::move(iLetter)), &Invoke, typeid(Weather));
    }
    static void Invoke(void* iReceiverP, const void*, void* iHandler)
    {
        *static_cast<std::string*>(iReceiverP) += *static_cast<std::string*>(iHandler);
    }
    static inline Cmn_UInt64 sKind = 0;
    std::list<std::string> mLetters;
};

} // namespace

TEST(Dispatch, EachMessageReachesItsHandlerWhateverTheOrderOfHandlers)
{
    const AssertRecorder recorder;
    Diary first;
    Diary second;
    EXPECT_FALSE(second.mReceiver.NeedsInit());
    Cnn_ListenerList<Weather> list;
    list.Add(&first.mReceiver);
    list.Add(&second.mReceiver);
    list.Add(&second.mOther);
    list.Broadcast(Sun(20));
    list.Remove(&second.mOther);
    list.Broadcast(Snow(-3));
    EXPECT_EQ(first.mText, "sun 20; snow -3; ");
    EXPECT_EQ(second.mText, "sun 20; sun again; snow -3; ") << "handler lists of one class have a table each";
    EXPECT_EQ(recorder.Take(), Reports{}) << "a receiver reports its message class";
}

TEST(Dispatch, AnIdWithoutAHandlerAssertsAndCallsNothing)
{
    const AssertRecorder recorder;
    Diary diary;
    diary.mReceiver.ReceiveMessage(Rain(7));
    EXPECT_EQ(recorder.Take(), Reports{"mDispatchTable[msgID] != 0@$^$@Cnn/Cnn_DispatchTable"});
    diary.mOther.ReceiveMessage(Rain(7));
    EXPECT_EQ(recorder.Take(), Reports{"msgID < (Cmn_Int32)mDispatchTable.size()@$^$@Cnn/Cnn_DispatchTable"});
    diary.mReceiver.ReceiveMessage(Below(7));
    EXPECT_EQ(recorder.Take(), Reports{"msgID >= 0@$^$@Cnn/Cnn_DispatchTable"});
    EXPECT_EQ(diary.mText, "");
}

TEST(Dispatch, IdsBelowTheHighestCanNoLongerBeFilled)
{
    const AssertRecorder recorder;
    std::string text;
    Letters letters(text);
    EXPECT_TRUE(letters.NeedsInit());
    EXPECT_EQ(letters.GetMessageClassInfo(), typeid(void));
    letters.Add(-1, "x");
    EXPECT_EQ(recorder.Take(), Reports{"iMessageID >= 0@$^$@Cnn/Cnn_DispatchTable"});
    EXPECT_FALSE(letters.NeedsInit());
    for (const auto& [id, letter] :
         {std::pair(0, "a"), std::pair(2, "c"), std::pair(1, "b"), std::pair(2, "C")})
        letters.Add(id, letter);
    letters.ReceiveMessage(Snow(0));
    letters.ReceiveMessage(Sun(0));
    EXPECT_EQ(recorder.Take(), Reports{});
    letters.ReceiveMessage(Rain(0));
    EXPECT_EQ(recorder.Take().size(), 1u);
    EXPECT_EQ(text, "ca") << "the first handler of an ID stays";
}
