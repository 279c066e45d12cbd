#include "Kora/SDS/Source/SDS_ChildIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionClosureIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_ParentIterator.h"
#include "SDS/NameFixture.h"

#include <algorithm>
#include <memory>
#include <random>

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
    SDS_IName name("it"), peer("peer");
    const SDS_IName child1("it/1"), child2("it/2");
    name.ConnectTo(&peer);
    SDS_Name* const root = Find(nullptr, "/");
    struct Row
    {
        std::unique_ptr<SDS_NameIterator> iterator;
        Names items;
        ESDSError first;
    };
    using R = SDS_NameRegistry;
    Row rows[] = {
        {Got(&R::GetChildIterator),             {child2.GetID(), child1.GetID()}, eSDSErr_NotSupported},
        {Got(&R::GetParentIterator),            {name.GetID(), root},             eSDSErr_NotSupported},
        {Got(&R::GetConnectionIterator),        {peer.GetID()},                   eSDSErr_None        },
        {Got(&R::GetConnectionClosureIterator), {peer.GetID(), name.GetID()},     eSDSErr_None        },
    };
    EXPECT_EQ(SDS_NameRegistry::ResetNameIterator(nullptr, "it", nullptr), eSDSErr_OutOfMemory);
    for (Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        SDS_NameIterator& it = *row.iterator;
        EXPECT_EQ(it.Item(), row.items[0]);
        EXPECT_EQ(it.Previous(), eSDSErr_NotSupported);
        EXPECT_EQ(it.Last(), eSDSErr_NotSupported);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(Rest(it), row.items);
            EXPECT_EQ(it.Next(), eSDSErr_IteratorDone);
            EXPECT_EQ(it.Item(), nullptr);
            EXPECT_EQ(it.First(), row.first);
            EXPECT_EQ(it.Valid(), row.first == eSDSErr_None);
            EXPECT_EQ(SDS_NameRegistry::ResetNameIterator(nullptr, "it", &it), eSDSErr_None);
        }
        it.Invalidate();
        EXPECT_EQ(it.Item(), nullptr);
        EXPECT_EQ(it.Next(), eSDSErr_IteratorDone);
        EXPECT_EQ(it.Reset(nullptr), eSDSErr_None);
        EXPECT_FALSE(it.Valid());
    }
    name.BreakAllConnections();
}

TEST_F(NameIterator, WhereAnIteratorStandsTheNodeLives)
{
    SDS_ChildIterator children;
    SDS_ParentIterator parents;
    SDS_ConnectionIterator peers;
    {
        SDS_IName a("it/a"), b("it/b"), peer("peer");
        a.ConnectTo(&peer);
        children.Reset(Find(nullptr, "it"));
        parents.Reset(a.GetID());
        peers.Reset(a.GetID());
        a.BreakAllConnections();
    }
    EXPECT_EQ(children.Item(), Find(nullptr, "it/b"));
    EXPECT_EQ(parents.Item(), Find(nullptr, "it/a"));
    EXPECT_EQ(peers.Item(), Find(nullptr, "peer"));
    const SDS_IName later("it/later");
    EXPECT_EQ(children.Next(), eSDSErr_None);
    EXPECT_EQ(children.Item(), parents.Item()) << "the newer child is not seen";
    EXPECT_EQ(Find(nullptr, "it/b"), nullptr) << "left, and held by nobody";
    EXPECT_EQ(parents.Reset(static_cast<SDS_Name*>(parents.Item())), eSDSErr_None) << "its last hold, anew";
    EXPECT_EQ(PathOf(static_cast<SDS_Name*>(parents.Item())), "/it/a");
    EXPECT_EQ(peers.Next(), eSDSErr_None);
    EXPECT_NE(Find(nullptr, "peer"), nullptr) << "a gathered list holds all of it until it is reset";
    EXPECT_EQ(peers.Reset(nullptr), eSDSErr_None);
    EXPECT_EQ(Find(nullptr, "peer"), nullptr);
    parents.Reset(nullptr);
    children.Reset(nullptr);
}

TEST_F(NameIterator, ANodeWithoutChildrenIsHeldToo)
{
    SDS_ChildIterator children;
    children.Reset(SDS_IName("it/alone").GetID());
    EXPECT_FALSE(children.Valid());
    EXPECT_NE(Find(nullptr, "it/alone"), nullptr);
    children.Reset(nullptr);
    EXPECT_EQ(Find(nullptr, "it/alone"), nullptr);
}

// Nodes by index, each with its peers, the newest connection first.
using Graph = std::vector<std::vector<std::size_t>>;

void Discover(const Graph& iGraph, std::size_t iFrom, std::vector<std::size_t>& ioFound)
{
    if (std::find(ioFound.begin(), ioFound.end(), iFrom) != ioFound.end()) return;
    ioFound.push_back(iFrom);
    for (const std::size_t peer : iGraph[iFrom])
        Discover(iGraph, peer, ioFound);
}

TEST_F(NameIterator, ConnectionsAndClosuresOfDrawnGraphsComeInTheModelsOrder)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (std::size_t size = 2; size <= 9; ++size) {
        std::vector<std::unique_ptr<SDS_IName>> names;
        for (std::size_t i = 0; i < size; ++i)
            names.push_back(std::make_unique<SDS_IName>(("it/" + std::to_string(i)).c_str()));
        const auto idsReversed = [&](const std::vector<std::size_t>& iNodes) {
            Names ids;
            for (auto node = iNodes.rbegin(); node != iNodes.rend(); ++node)
                ids.push_back(names[*node]->GetID());
            return ids;
        };
        Graph graph(size);
        for (int step = 0; step < 300; ++step) {
            const std::size_t a = random() % size, b = random() % size;
            const bool connected = std::count(graph[a].begin(), graph[a].end(), b) != 0;
            if (random() % 5 < 3) {
                ASSERT_EQ(names[a]->ConnectTo(names[b].get()), eSDSErr_None);
                if (a != b && !connected) {
                    graph[a].insert(graph[a].begin(), b);
                    graph[b].insert(graph[b].begin(), a);
                }
            } else {
                ASSERT_EQ(names[a]->DisconnectFrom(names[b].get()), eSDSErr_None);
                std::erase(graph[a], b);
                std::erase(graph[b], a);
            }
            for (std::size_t node = 0; node < size; ++node) {
                std::vector<std::size_t> found;
                Discover(graph, node, found);
                SDS_Name* const id = names[node]->GetID();
                ASSERT_EQ(Walked<SDS_ConnectionIterator>(id), idsReversed(graph[node])) << step;
                ASSERT_EQ(Walked<SDS_ConnectionClosureIterator>(id), idsReversed(found)) << step;
                ASSERT_EQ(id->mVisited, 0);
            }
        }
        for (const auto& name : names)
            name->BreakAllConnections();
    }
}

} // namespace
