#include "SDS/NameFixture.h"
#include "SDS/TokenFixture.h"
#include "Support/Thrown.h"

#include <memory>

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
