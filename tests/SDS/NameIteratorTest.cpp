#include "Kora/SDS/Source/SDS_ChildIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionClosureIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_ParentIterator.h"
#include "SDS/NameFixture.h"

#include <memory>

namespace {

class NameIterator : public NameTest
{
};

template <class TIterator>
std::unique_ptr<SDS_NameIterator> Got(ESDSError (*iGet)(SDS_Name*, const char*, TIterator**))
{
    TIterator* iterator = nullptr;
    EXPECT_EQ(iGet(nullptr, "it/no such", &iterator), eSDSErr_NameNotFound);
    EXPECT_EQ(iGet(nullptr, "it", nullptr), eSDSErr_OutOfMemory);
    EXPECT_EQ(iGet(nullptr, "it", &iterator), eSDSErr_None);
    return std::unique_ptr<SDS_NameIterator>(iterator);
}

TEST_F(NameIterator, EachKindMovesForwardAndPastItsEndOnce)
{
    SDS_IName name("it");
    SDS_IName peer("peer");
    const SDS_IName child1("it/1");
    const SDS_IName child2("it/2");
    static_cast<void>(name.ConnectTo(&peer));
    SDS_Name* const root = Find(nullptr, "/");
    struct Row
    {
        std::unique_ptr<SDS_NameIterator> mIterator;
        Names mItems;
        ESDSError mFirst;
    };
    using R = SDS_NameRegistry;
    Row rows[] = {
        {Got(&R::GetChildIterator), {child2.GetID(), child1.GetID()}, eSDSErr_NotSupported},
        {Got(&R::GetParentIterator), {name.GetID(), root}, eSDSErr_NotSupported},
        {Got(&R::GetConnectionIterator), {peer.GetID()}, eSDSErr_None},
        {Got(&R::GetConnectionClosureIterator), {peer.GetID(), name.GetID()}, eSDSErr_None},
    };
    EXPECT_EQ(SDS_NameRegistry::ResetNameIterator(nullptr, "it", nullptr), eSDSErr_OutOfMemory);
    for (Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        SDS_NameIterator& it = *row.mIterator;
        EXPECT_EQ(it.Item(), row.mItems[0]);
        EXPECT_EQ(it.Previous(), eSDSErr_NotSupported);
        EXPECT_EQ(it.Last(), eSDSErr_NotSupported);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(Rest(it), row.mItems);
            EXPECT_EQ(it.Next(), eSDSErr_IteratorDone);
            EXPECT_EQ(it.Item(), nullptr);
            EXPECT_EQ(it.First(), row.mFirst);
            EXPECT_EQ(it.Valid(), row.mFirst == eSDSErr_None);
            EXPECT_EQ(SDS_NameRegistry::ResetNameIterator(nullptr, "it", &it), eSDSErr_None);
        }
        it.Invalidate();
        EXPECT_EQ(it.Item(), nullptr);
        EXPECT_EQ(it.Next(), eSDSErr_IteratorDone);
        EXPECT_EQ(it.Reset(nullptr), eSDSErr_None);
        EXPECT_FALSE(it.Valid());
    }
    static_cast<void>(name.BreakAllConnections());
}

TEST_F(NameIterator, WhereAnIteratorStandsTheNodeLives)
{
    SDS_ChildIterator children;
    SDS_ParentIterator parents;
    SDS_ConnectionIterator peers;
    {
        SDS_IName a("it/a");
        SDS_IName b("it/b");
        SDS_IName peer("peer");
        static_cast<void>(a.ConnectTo(&peer));
        static_cast<void>(children.Reset(Find(nullptr, "it")));
        static_cast<void>(parents.Reset(a.GetID()));
        static_cast<void>(peers.Reset(a.GetID()));
        static_cast<void>(a.BreakAllConnections());
    }
    EXPECT_EQ(children.Item(), Find(nullptr, "it/b"));
    EXPECT_EQ(parents.Item(), Find(nullptr, "it/a"));
    EXPECT_EQ(peers.Item(), Find(nullptr, "peer"));
    const SDS_IName later("it/later");
    EXPECT_EQ(children.Next(), eSDSErr_None);
    EXPECT_EQ(children.Item(), parents.Item()) << "the newer child is not seen";
    EXPECT_EQ(Find(nullptr, "it/b"), nullptr) << "left, and held by nobody";
    EXPECT_EQ(peers.Next(), eSDSErr_None);
    EXPECT_NE(Find(nullptr, "peer"), nullptr) << "a gathered list holds all of it until it is reset";
    EXPECT_EQ(peers.Reset(nullptr), eSDSErr_None);
    EXPECT_EQ(Find(nullptr, "peer"), nullptr);
    static_cast<void>(children.Reset(SDS_IName("it/alone").GetID()));
    EXPECT_FALSE(children.Valid());
    EXPECT_NE(Find(nullptr, "it/alone"), nullptr) << "a node without children is held too";
    static_cast<void>(children.Reset(nullptr));
    EXPECT_EQ(Find(nullptr, "it/alone"), nullptr);
    EXPECT_EQ(parents.Reset(static_cast<SDS_Name*>(parents.Item())), eSDSErr_None) << "its last hold, anew";
    EXPECT_EQ(parents.Item(), Find(nullptr, "it/a"));
    static_cast<void>(parents.Reset(nullptr));
}

} // namespace
