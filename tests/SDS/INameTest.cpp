#include "SDS/NameFixture.h"
#include "SDS/TokenFixture.h"

#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Support/Thrown.h"

#include <memory>
#include <sstream>

namespace {

class IName : public NameTest
{
};

SDS_Name* const cNoName = nullptr;
const SDS_IName* const cNoParent = nullptr;

TEST_F(IName, EveryConstructorFindsItsNodeAndOnlyTheReservingOnesHoldIt)
{
    const SDS_IName root("");
    EXPECT_EQ(PathOf(root.GetID()), "");
    auto base = std::make_unique<SDS_IName>("iname/base");
    SDS_Name* const baseID = base->GetID();
    {
        const SDS_IName byPath("/iname//base/x");
        const SDS_IName byParent(base.get(), "x");
        const SDS_IName byID(baseID, "x/");
        const SDS_IName fromRoot(cNoParent, "iname/base/x");
        const SDS_IName fromRootToo(cNoName, "iname/base/x");
        const SDS_IName wrapped(byPath.GetID());
        for (const SDS_IName* name : {&byParent, &byID, &fromRoot, &fromRootToo, &wrapped})
            EXPECT_EQ(name->GetID(), byPath.GetID());
        EXPECT_EQ(byPath.GetID()->Links().mReserveCount, 5);
        base.reset();
        EXPECT_EQ(PathOf(byID.GetID()), "/iname/base/x") << "a parent name may go before";
    }
    EXPECT_EQ(Find(nullptr, "iname"), nullptr);
}

TEST_F(IName, AConstructorThatFailsThrowsTheErrorAndHoldsNothing)
{
    const SDS_IName base("iname");
    const std::string before = SDS_NameRegistry::Dump();
    const std::string longName(32, 'n');
    const std::string longPath(1024, '/');
    EXPECT_EQ(Thrown([&] { SDS_IName(("a/" + longName).c_str()); }).GetOSError(), eSDSErr_NameTooLong);
    EXPECT_EQ(Thrown([&] { SDS_IName(&base, longName.c_str()); }).GetOSError(), eSDSErr_NameTooLong);
    EXPECT_EQ(Thrown([&] { SDS_IName(base.GetID(), longPath.c_str()); }).GetOSError(), eSDSErr_PathTooLong);
    EXPECT_EQ(SDS_NameRegistry::Dump(), before);
}

TEST_F(IName, TheObjectIsSharedSetWhenItDiffersFromTheHandlesLastAndForgottenWithTheNode)
{
    int one = 0;
    int two = 0;
    SDS_Name* id = nullptr;
    {
        SDS_IName a("iname/data");
        SDS_IName b("iname/data");
        id = a.GetID();
        EXPECT_EQ(a.GetDataRef(), nullptr);
        a.SetDataRef(&one);
        EXPECT_EQ(b.GetDataRef(), &one);
        b.SetDataRef(&two);
        a.SetDataRef(&one);
        EXPECT_EQ(a.GetDataRef(), &two) << "what a handle has set already, it does not set again";
        a.SetDataRef(nullptr);
        EXPECT_EQ(b.GetDataRef(), nullptr);
        b.SetDataRef(&one);
    }
    const SDS_IName again("iname/data");
    EXPECT_EQ(again.GetID(), id);
    EXPECT_EQ(again.GetDataRef(), nullptr);
    SDS_IName none(cNoName);
    none.SetDataRef(&one);
    EXPECT_EQ(none.GetDataRef(), nullptr);
    EXPECT_EQ(none.BreakAllConnections(), eSDSErr_None);
}

TEST_F(IName, AHandleWithoutANodeNeverMeansTheRoot)
{
    SDS_IName none(cNoName);
    SDS_IName name("iname");
    SDS_IName root("");
    const std::string before = SDS_NameRegistry::Dump();
    EXPECT_EQ(name.ConnectTo(&none), eSDSErr_InvalidName);
    EXPECT_EQ(none.ConnectTo(&name), eSDSErr_InvalidName);
    EXPECT_EQ(none.ConnectTo(&none), eSDSErr_InvalidName);
    EXPECT_EQ(name.ConnectTo(nullptr), eSDSErr_None);
    EXPECT_EQ(name.DisconnectFrom(nullptr), eSDSErr_None);
    static_cast<void>(name.ConnectTo(&root));
    EXPECT_EQ(name.DisconnectFrom(&none), eSDSErr_InvalidName);
    EXPECT_EQ(none.DisconnectFrom(&name), eSDSErr_InvalidName);
    EXPECT_EQ(name.DisconnectFrom(&root), eSDSErr_None);
    EXPECT_EQ(Thrown([&] { SDS_IName(&none, "child"); }).GetOSError(), eSDSErr_InvalidName);
    EXPECT_EQ(Thrown([&] {
                  SDS_ITokenListener(nullptr, &none, 0, 0, 0, 0, nullptr, false, false, 0);
              }).GetOSError(),
              eSDSErr_InvalidName);
    EXPECT_EQ(SDS_NameRegistry::Dump(), before);
}

// A listener that is told four tokens: 1 is of type 1 and subtype 1, 2 of 1 and 2, 3 of 2 and 1, 4 of 2 and 2.
class ListenerOptions : public TokenTest
{
protected:
    struct Ear : SDS_ITokenListener
    {
        using SDS_ITokenListener::SDS_ITokenListener;
        void HandleToken(SDS_Token* iToken) override
        {
            mHeard += std::to_string(TestToken::Of(iToken).mSequence);
        }
        std::string mHeard;
    };
    // What it hears, what the other one hears in its place, and what it keeps.
    std::string Told(Ear& ioEar)
    {
        for (const int number : {1, 2, 3, 4})
            EXPECT_EQ(Send(mNode, {(number + 1) / 2, 2 - number % 2, number}), eSDSErr_None);
        mTask.ProcessTokens(0, Time_Sample(0), 0);
        const SDS_TokenListener& kept = *ioEar.GetSDSTokenListener();
        std::ostringstream text;
        text << ioEar.mHeard << '|' << std::exchange(mOther.mHeard, {}) << '|' << kept.GetManufacturer()
             << ' ' << kept.GetProtocol() << ' ' << kept.GetCriticalFlag() << ' ' << kept.GetGoal();
        return text.str();
    }

    SDS_IName mNode{"iname/options"};
    RunningTask mTask{0};
    Ear mOther{nullptr};
};

TEST_F(ListenerOptions, EachOneSaysWhatItsNameSays)
{
    // clang-format off
    const struct { const char* mName; SDS_TokenListenerOptions mOptions; const char* mTold; } rows[] = {
        {"nothing said, so no task",  {},                                         "||0 0 0 0"},
        {"a task",                    {.mTask = &mTask},                          "1234||0 0 0 0"},
        {"a type",                    {.mTask = &mTask, .mType = 1},              "12||0 0 0 0"},
        {"a subtype",                 {.mTask = &mTask, .mSubType = 2},           "24||0 0 0 0"},
        {"the latest",                {.mTask = &mTask, .mLatestFlag = true},     "4||0 0 0 0"},
        {"another one hears",         {.mTask = &mTask, .mReceiver = &mOther},    "|1234|0 0 0 0"},
        {"nobody hears",              {.mTask = &mTask, .mReceiver = nullptr},    "||0 0 0 0"},
        {"what takes no part",        {.mTask = &mTask, .mManufacturer = 5, .mProtocol = 6, .mCriticalFlag = true,
                                       .mGoal = 7},                               "1234||5 6 1 7"},
        {"all of them",               {&mTask, 2, 1, 5, 6, &mOther, true, true, 7}, "|3|5 6 1 7"},
    };
    // clang-format on
    for (const auto& row : rows) {
        Ear ear(&mNode, row.mOptions);
        EXPECT_EQ(Told(ear), row.mTold) << row.mName;
    }
    Ear spelt(&mTask, &mNode, 2, 1, 5, 6, static_cast<SDS_ITokenListener*>(&mOther), true, true, 7);
    EXPECT_EQ(Told(spelt), "|3|5 6 1 7") << "by the long constructor";
}

TEST_F(IName, ATokenIsStampedWithTheHandlesNode)
{
    const SDS_IName other("iname/other");
    SDS_IName name("iname/token");
    TestToken token(1, 1);
    token.mHeader.name = other.GetID();
    EXPECT_EQ(name.HandleToken(token.mHeader), eSDSErr_None);
    EXPECT_EQ(token.mHeader.name, name.GetID());
    EXPECT_EQ(SDS_IName(cNoName).HandleToken(token.mHeader), eSDSErr_InvalidName);
}

} // namespace
