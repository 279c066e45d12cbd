#include "Kora/SDS/Source/SDS_ChildIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionClosureIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "SDS/NameFixture.h"
#include "Support/AllocationCounter.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <random>

namespace {

using Registry = SDS_NameRegistry;

class NameRegistry : public NameTest
{
};

TEST_F(NameRegistry, PathsAreTakenToTheirLimitsAndRefusedBeyondWithoutATrace)
{
    const std::string n31(31, 'n');
    const std::string n32(32, 'n');
    const std::string behind = "a/b/" + n32;
    const std::string s1023(1023, '/');
    const std::string s1024(1024, '/');
    std::string p1023 = n31;
    while (p1023.size() < 1023)
        p1023 += "/" + n31;
    const std::string p1024 = p1023 + "/";
    struct Row
    {
        std::string mPath;
        ESDSError mResult;
        std::string mPlain; // what it means
    };
    const Row rows[] = {
        {"", eSDSErr_None, ""},
        {"///", eSDSErr_None, ""},
        {s1023, eSDSErr_None, ""},
        {s1024, eSDSErr_PathTooLong, ""},
        {"//a///b//", eSDSErr_None, "a/b"},
        {"A/b", eSDSErr_None, "A/b"},
        {"\xc3\xa4/\xff", eSDSErr_None, "\xc3\xa4/\xff"},
        {n31, eSDSErr_None, n31},
        {n32, eSDSErr_NameTooLong, ""},
        {behind, eSDSErr_NameTooLong, ""},
        {p1023, eSDSErr_None, p1023},
        {p1024, eSDSErr_PathTooLong, ""},
    };
    for (const char* const base : {"", "registry"}) {
        const SDS_IName holder(base);
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(base) + ": " + row.mPath);
            const std::string before = Registry::Dump();
            SDS_Name* id = nullptr;
            EXPECT_EQ(Registry::ReserveName(holder.GetID(), row.mPath.c_str(), &id), row.mResult);
            if (row.mResult == eSDSErr_None) {
                EXPECT_EQ(Find(holder.GetID(), row.mPath), id);
                EXPECT_EQ(Find(holder.GetID(), row.mPlain), id);
                char name[33];
                std::fill_n(name, 33, '!');
                EXPECT_EQ(Registry::GetName(id, nullptr, name), eSDSErr_None);
                const std::string whole = row.mPlain.empty() ? base : row.mPlain;
                EXPECT_EQ(name, whole.substr(whole.rfind('/') + 1));
                EXPECT_EQ(name[32], '!');
                EXPECT_EQ(Registry::FreeName(holder.GetID(), row.mPath.c_str()), eSDSErr_None);
            } else {
                EXPECT_EQ(id, nullptr);
                EXPECT_EQ(Registry::ConnectNames(nullptr, "made/first", holder.GetID(), row.mPath.c_str()),
                          row.mResult);
                EXPECT_EQ(Registry::ConnectNames(holder.GetID(), row.mPath.c_str(), nullptr, "a"),
                          row.mResult);
            }
            EXPECT_EQ(Registry::Dump(), before);
        }
    }
}

TEST_F(NameRegistry, APathOfAnyLengthKeepsItsLastBytesWithinTheBuffer)
{
    std::vector<std::unique_ptr<SDS_IName>> chain;
    std::string whole;
    for (int depth = 0; depth < 35; ++depth) {
        for (std::size_t length = 1; length <= 31; ++length) {
            const std::string name(length, static_cast<char>('a' + length % 26));
            const SDS_IName leaf(depth > 0 ? chain.back().get() : nullptr, name.c_str());
            const std::string path = whole + '/' + name;
            const bool fits = path.size() <= 1023;
            std::string text(1025, '!');
            ASSERT_EQ(Registry::GetPath(leaf.GetID(), nullptr, text.data()),
                      fits ? eSDSErr_None : eSDSErr_PathTooLong);
            ASSERT_STREQ(text.c_str(), (fits ? path : "..." + path.substr(path.size() - 1020)).c_str());
            ASSERT_EQ(text[1024], '!');
        }
        const std::string name = std::to_string(1000 + depth) + std::string(27, '-');
        chain.push_back(std::make_unique<SDS_IName>(depth > 0 ? chain.back().get() : nullptr, name.c_str()));
        whole += '/' + name;
    }
    while (!chain.empty())
        chain.pop_back();
}

TEST_F(NameRegistry, CountsStopAt32767AndARefusalChangesNothing)
{
    constexpr int cLimit = 32767;
    SDS_IName full("registry/full");
    SDS_IName other("registry/other");
    SDS_Name* id = nullptr;
    for (int i = 1; i < cLimit; ++i)
        ASSERT_EQ(Registry::ReserveName(full.GetID(), "", &id), eSDSErr_None);
    std::string before = Registry::Dump();
    EXPECT_EQ(Registry::ReserveName(full.GetID(), "", &id), eSDSErr_OutOfMemory);
    EXPECT_EQ(Registry::Dump(), before);
    for (int i = 1; i < cLimit; ++i)
        ASSERT_EQ(Registry::FreeName(full.GetID(), ""), eSDSErr_None);

    // A connection holds both of its nodes, an iterator the one that it stands on, a call its own
    // for as long as it lasts.
    std::vector<SDS_ChildIterator> holders(cLimit);
    const auto hold = [&](std::size_t i) { return holders[i].Reset(full.GetID()); };
    for (std::size_t i = 0; i < cLimit - 2; ++i)
        ASSERT_EQ(hold(i), eSDSErr_None);
    for (const char* const last : {"registry/other", "registry/third"})
        EXPECT_EQ(Registry::ConnectNames(full.GetID(), "", nullptr, last), eSDSErr_None);
    before = Registry::Dump();
    EXPECT_EQ(Registry::ConnectNames(full.GetID(), "", nullptr, "registry/fourth"), eSDSErr_OutOfMemory);
    EXPECT_EQ(Registry::ConnectNames(nullptr, "a/b", full.GetID(), ""), eSDSErr_OutOfMemory);
    EXPECT_EQ(Registry::Dump(), before);
    EXPECT_EQ(full.DisconnectFrom(&other), eSDSErr_None) << "a rebuild holds nothing";
    EXPECT_EQ(Registry::DisconnectNames(nullptr, "registry/third", full.GetID(), ""), eSDSErr_None);
    EXPECT_EQ(hold(cLimit - 2), eSDSErr_None);
    before = Registry::Dump();
    SDS_ConnectionClosureIterator closure;
    EXPECT_EQ(closure.Reset(full.GetID()), eSDSErr_OutOfMemory);
    SDS_ChildIterator children;
    SDS_ChildIterator more;
    EXPECT_EQ(children.Reset(full.GetID()), eSDSErr_None);
    EXPECT_EQ(more.Reset(full.GetID()), eSDSErr_OutOfMemory);
    EXPECT_EQ(more.Valid(), false);
    EXPECT_EQ(Registry::ReserveName(full.GetID(), "child", &id), eSDSErr_OutOfMemory);
    static_cast<void>(children.Reset(nullptr));
    EXPECT_EQ(Registry::Dump(), before);
}

// Joined and parted one by one in a pause: were each to walk its closure, or the hub's connections,
// nobody would see the end.
TEST_F(NameRegistry, AHundredThousandNodesAreJoinedInOnePauseAndWalkedWithoutRecursion)
{
    constexpr std::size_t cCount = 100000;
    constexpr std::size_t cLeaves = 30000;
    Names names(cCount);
    for (std::size_t i = 0; i < cCount; ++i) {
        const std::string path = "chain/" + std::to_string(i % 100) + '/' + std::to_string(i);
        ASSERT_EQ(Registry::ReserveName(nullptr, path.c_str(), &names[i]), eSDSErr_None);
    }
    const auto inAPause = [&](auto iCall, SDS_Name* iHub, std::size_t iCount) {
        SDS_TokenDispatcher::SetTokensPaused(true);
        for (std::size_t i = 1; i < iCount; ++i) {
            SDS_Name* const from = iHub != nullptr ? iHub : names[i - 1];
            ASSERT_EQ(iCall(from, nullptr, names[i], nullptr), eSDSErr_None);
        }
        SDS_TokenDispatcher::SetTokensPaused(false);
    };
    inAPause(&Registry::ConnectNames, nullptr, cCount);
    Names found = Walked<SDS_ConnectionClosureIterator>(names[0]);
    std::reverse(found.begin(), found.end());
    EXPECT_EQ(found == names, true) << "from one end to the other, the start last";
    inAPause(&Registry::ConnectNames, names.back(), cLeaves); // a star on top
    inAPause(&Registry::DisconnectNames, nullptr, cCount);
    EXPECT_EQ(Walked<SDS_ConnectionClosureIterator>(names[1]).size(), cLeaves);
    inAPause(&Registry::DisconnectNames, names.back(), cLeaves);
    for (SDS_Name* const name : names)
        ASSERT_EQ(Registry::FreeName(name, nullptr), eSDSErr_None);
}

TEST_F(NameRegistry, ADeepTreeIsDumpedWithAnIndentThatEnds)
{
    constexpr std::size_t cDepth = 20000;
    const std::size_t before = Registry::Dump().size();
    Names names(cDepth + 1);
    for (std::size_t i = 1; i <= cDepth; ++i)
        ASSERT_EQ(Registry::ReserveName(names[i - 1], "n", &names[i]), eSDSErr_None);
    const std::string text = Registry::Dump();
    EXPECT_LT(text.size() - before, cDepth * 100);
    for (const std::string& line : {"\n" + std::string(32, ' ') + "n  reserved 1, referenced 1, ",
                                    "\n" + std::string(32, ' ') + "[17] n  reserved 1, referenced 1, ",
                                    "\n" + std::string(32, ' ') + "[20000] n  reserved 1, referenced 0, "})
        EXPECT_NE(text.find(line), std::string::npos) << line;
    for (std::size_t i = cDepth; i > 0; --i)
        ASSERT_EQ(Registry::FreeName(names[i], nullptr), eSDSErr_None);
}

TEST_F(NameRegistry, NamesComeAndGoWithoutAllocationOnceTheCellsAreThere)
{
    const auto round = [](int iRound) {
        SDS_Name* names[2500];
        for (int i = 0; i < 2500; ++i) {
            char path[32];
            std::snprintf(path, sizeof(path), "steady/%d/%d", iRound, i);
            static_cast<void>(Registry::ReserveName(nullptr, path, &names[i]));
        }
        for (SDS_Name* const name : names)
            static_cast<void>(Registry::FreeName(name, nullptr));
    };
    round(0);
    const AllocationCounter allocations;
    for (int i = 0; i < 8; ++i)
        round(i);
    EXPECT_EQ(allocations.Count(), 0);
}

using Path = std::vector<std::string>;

// The registry as it would be with maps. What holds a node: reservations, children,
// connections, and calls in progress.
class Model
{
public:
    struct Node
    {
        SDS_Name* mParent = nullptr;
        std::string mName;
        std::size_t mReserved = 0;
        std::size_t mHeld = 0;
        // newest first
        Names mChildren = {};
        Names mConnected = {};
        void* mObject = nullptr;
    };

    Model(SDS_Name* iBase, SDS_Name* iNewestFree)
    {
        mLive[iBase].mHeld = 1;
        for (SDS_Name* name = iNewestFree; name != nullptr; name = name->Links().mPrevious)
            mFree.push_front(name);
    }
    SDS_Name* Find(SDS_Name* iFrom, const Path& iPath) const
    {
        for (const std::string& name : iPath) {
            const auto found = mByName.find({iFrom, name});
            if (found == mByName.end() || mLive.count(found->second) == 0) return nullptr;
            iFrom = found->second;
        }
        return iFrom;
    }
    // Held once; null for a path that is refused.
    SDS_Name* FindOrMake(SDS_Name* iFrom, const Path& iPath)
    {
        ++mLive.at(iFrom).mHeld;
        for (const std::string& name : iPath) {
            SDS_Name* const child = name.size() <= 31 ? FindOrMakeChild(iFrom, name) : nullptr;
            if (child != nullptr) ++mLive.at(child).mHeld;
            LetGo(iFrom);
            if (child == nullptr) return nullptr;
            iFrom = child;
        }
        return iFrom;
    }
    void LetGo(SDS_Name* iName)
    {
        --mLive.at(iName).mHeld;
        FreeUnlessHeld(iName);
    }
    void FreeUnlessHeld(SDS_Name* iName)
    {
        const auto found = mLive.find(iName);
        if (found == mLive.end()) return;
        const Node node = found->second;
        if (node.mReserved + node.mHeld + node.mChildren.size() + node.mConnected.size() > 0) return;
        mFree.push_back(iName);
        mLive.erase(iName);
        std::erase(mLive.at(node.mParent).mChildren, iName);
        FreeUnlessHeld(node.mParent);
    }
    void Connect(SDS_Name* iA, SDS_Name* iB)
    {
        Node& a = mLive.at(iA);
        Node& b = mLive.at(iB);
        if (iA == iB || std::count(a.mConnected.begin(), a.mConnected.end(), iB) != 0) return;
        a.mConnected.insert(a.mConnected.begin(), iB);
        b.mConnected.insert(b.mConnected.begin(), iA);
    }
    void Disconnect(SDS_Name* iA, SDS_Name* iB)
    {
        if (std::erase(mLive.at(iA).mConnected, iB) == 0) return;
        std::erase(mLive.at(iB).mConnected, iA);
        FreeUnlessHeld(iA);
        FreeUnlessHeld(iB);
    }

    // Depth first, and the newest connections first.
    void Discover(SDS_Name* iFrom, Names& ioFound) const
    {
        if (std::find(ioFound.begin(), ioFound.end(), iFrom) != ioFound.end()) return;
        ioFound.push_back(iFrom);
        for (SDS_Name* const peer : mLive.at(iFrom).mConnected)
            Discover(peer, ioFound);
    }

    std::map<SDS_Name*, Node> mLive;

private:
    SDS_Name* FindOrMakeChild(SDS_Name* iParent, const std::string& iName)
    {
        SDS_Name*& child = mByName[{iParent, iName}];
        if (child != nullptr && mLive.count(child) != 0) return child;
        if (child != nullptr) {
            std::erase(mFree, child);
        } else {
            child = mFree.front();
            mFree.pop_front();
            // Its old name leads nowhere now. None is left below it: children are freed,
            // and so recycled, before.
            std::erase_if(mByName, [key = std::pair(iParent, iName), oldest = child](const auto& iEntry) {
                return iEntry.second == oldest && iEntry.first != key;
            });
        }
        SDS_Name* const made = mByName.at({iParent, iName});
        mLive[made] = {iParent, iName};
        Names& siblings = mLive.at(iParent).mChildren;
        siblings.insert(siblings.begin(), made);
        return made;
    }

    std::map<std::pair<SDS_Name*, std::string>, SDS_Name*> mByName; // live and dormant
    std::deque<SDS_Name*> mFree;                                    // oldest first
};

// Random calls, of the registry and of the model, below a node of the script's own.
class NameScript : public NameTest
{
protected:
    // A node by the way to it, which may lead nowhere.
    struct Place
    {
        SDS_Name* mFrom;
        std::string mText;
        Path mPath;
        SDS_Name* mNode; // null where there is none
    };
    SDS_Name* DrawNode()
    {
        const bool isElsewhere = mRandom() % 4 == 0 && mModel.mLive.size() <= 300;
        return isElsewhere ? std::next(mModel.mLive.begin(), mRandom() % mModel.mLive.size())->first : mBase;
    }
    Place DrawPlace()
    {
        Place place = {DrawNode(), mRandom() % 2 != 0 ? "/" : "", Path(mRandom() % 4), nullptr};
        for (std::string& name : place.mPath) {
            name = mRandom() % 100 != 0 ? std::string(1, "abcd"[mRandom() % 4]) : std::string(32, 'x');
            place.mText += name + (mRandom() % 8 != 0 ? "/" : "//");
        }
        place.mNode = mModel.Find(place.mFrom, place.mPath);
        return place;
    }

    void Reserve(const Place& iPlace)
    {
        if (iPlace.mNode == mBase) return; // nobody frees it, and its count has a limit
        SDS_Name* id = nullptr;
        const ESDSError result = Registry::ReserveName(iPlace.mFrom, iPlace.mText.c_str(), &id);
        SDS_Name* const made = mModel.FindOrMake(iPlace.mFrom, iPlace.mPath);
        ASSERT_EQ(result == eSDSErr_None, made != nullptr);
        ASSERT_EQ(id, made);
        if (made == nullptr) return;
        ++mModel.mLive.at(made).mReserved;
        mModel.LetGo(made);
    }
    void Free(const Place& iPlace)
    {
        if (iPlace.mNode == mBase) return; // the holder's
        const ESDSError result = Registry::FreeName(iPlace.mFrom, iPlace.mText.c_str());
        const bool isReserved = iPlace.mNode != nullptr && mModel.mLive.at(iPlace.mNode).mReserved > 0;
        ASSERT_EQ(result == eSDSErr_None, isReserved);
        if (!isReserved) return;
        --mModel.mLive.at(iPlace.mNode).mReserved;
        mModel.FreeUnlessHeld(iPlace.mNode);
    }
    void Connect(const Place& iA, const Place& iB)
    {
        const ESDSError result =
            Registry::ConnectNames(iA.mFrom, iA.mText.c_str(), iB.mFrom, iB.mText.c_str());
        SDS_Name* const a = mModel.FindOrMake(iA.mFrom, iA.mPath);
        SDS_Name* const b = a != nullptr ? mModel.FindOrMake(iB.mFrom, iB.mPath) : nullptr;
        ASSERT_EQ(result == eSDSErr_None, b != nullptr);
        if (b != nullptr) mModel.Connect(a, b);
        for (SDS_Name* const made : {a, b})
            if (made != nullptr) mModel.LetGo(made);
    }
    void Disconnect(const Place& iA, const Place& iB)
    {
        // Drawn pairs are hardly ever connected.
        const bool isPeer =
            iA.mNode != nullptr && mRandom() % 8 != 0 && !mModel.mLive.at(iA.mNode).mConnected.empty();
        SDS_Name* const b = isPeer ? mModel.mLive.at(iA.mNode).mConnected.back() : iB.mNode;
        const ESDSError result = Registry::DisconnectNames(iA.mFrom, iA.mText.c_str(), isPeer ? b : iB.mFrom,
                                                           isPeer ? "" : iB.mText.c_str());
        ASSERT_EQ(result == eSDSErr_None, iA.mNode != nullptr && b != nullptr);
        if (result == eSDSErr_None) mModel.Disconnect(iA.mNode, b);
    }
    void BreakConnections(const Place& iPlace)
    {
        if (iPlace.mNode == nullptr) return;
        Names peers = mModel.mLive.at(iPlace.mNode).mConnected;
        std::reverse(peers.begin(), peers.end());
        ASSERT_EQ(SDS_IName(iPlace.mNode).BreakAllConnections(), eSDSErr_None);
        for (SDS_Name* const peer : peers)
            ++mModel.mLive.at(peer).mHeld; // until all are parted
        for (SDS_Name* const peer : peers)
            mModel.Disconnect(iPlace.mNode, peer);
        for (SDS_Name* const peer : peers)
            mModel.LetGo(peer);
    }
    void SetObject(const Place& iPlace)
    {
        const ESDSError result = Registry::SetObject(iPlace.mFrom, iPlace.mText.c_str(), this);
        ASSERT_EQ(result == eSDSErr_None, iPlace.mNode != nullptr);
        if (iPlace.mNode != nullptr) mModel.mLive.at(iPlace.mNode).mObject = this;
    }

    void CheckCounts() const
    {
        for (const auto& [name, node] : mModel.mLive) {
            const SDS_NameLinks& links = name->Links();
            ASSERT_TRUE(name->mIsLive);
            ASSERT_EQ(links.mReserveCount, static_cast<int>(node.mReserved) + (name == mBase ? 1 : 0));
            ASSERT_EQ(links.mReferenceCount, static_cast<int>(node.mConnected.size()));
            ASSERT_EQ(links.mObject, node.mObject);
        }
    }
    void CheckIterators(SDS_Name* iName) const
    {
        Names connected = mModel.mLive.at(iName).mConnected;
        Names closure;
        mModel.Discover(iName, closure);
        std::reverse(connected.begin(), connected.end());
        std::reverse(closure.begin(), closure.end());
        ASSERT_EQ(Walked<SDS_ChildIterator>(iName), mModel.mLive.at(iName).mChildren);
        ASSERT_EQ(Walked<SDS_ConnectionIterator>(iName), connected);
        ASSERT_EQ(Walked<SDS_ConnectionClosureIterator>(iName), closure);
        ASSERT_EQ(iName->Links().mVisited, 0);
    }

    // So many are free that no cell is ever carved, whose identity nobody could foretell. The newest of them.
    static SDS_Name* FreeSpareNames(SDS_Name* iBase)
    {
        Names spare(450);
        for (std::size_t i = 0; i < spare.size(); ++i)
            static_cast<void>(Registry::ReserveName(iBase, std::to_string(i).c_str(), &spare[i]));
        for (SDS_Name* const name : spare)
            static_cast<void>(Registry::FreeName(name, nullptr));
        return spare.back();
    }

    std::mt19937 mRandom;
    const SDS_IName mHolder{"registry/model"};
    SDS_Name* const mBase = mHolder.GetID();
    Model mModel{mBase, FreeSpareNames(mBase)};
};

TEST_F(NameScript, ARandomScriptGivesTheModelsNodesIdentitiesAndCounts)
{
#ifdef NDEBUG
    constexpr int cSteps = 1000000;
#else
    constexpr int cSteps = 100000;
#endif
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    mRandom.seed(seed);
    for (int step = 0; step < cSteps; ++step) {
        const Place a = DrawPlace();
        const Place b = DrawPlace();
        const char call = "RRRRRRFFFFFFCCDDDDOB"[mRandom() % 20];
        if (call == 'R') Reserve(a);
        if (call == 'F') Free(a);
        if (call == 'C') Connect(a, b);
        if (call == 'D') Disconnect(a, b);
        if (call == 'B') BreakConnections(a);
        if (call == 'O') SetObject(a);
        if (step % 16 == 0) {
            CheckCounts();
            CheckIterators(DrawNode());
        }
        ASSERT_FALSE(HasFailure()) << "step " << step;
    }
    // Held once more by their identities, they are taken apart in any order.
    SDS_Name* held = nullptr;
    for (const auto& entry : mModel.mLive)
        ASSERT_EQ(Registry::ReserveName(entry.first, "", &held), eSDSErr_None);
    for (const auto& entry : mModel.mLive)
        ASSERT_EQ(SDS_IName(entry.first).BreakAllConnections(), eSDSErr_None);
    for (const auto& [name, node] : mModel.mLive) {
        for (std::size_t i = 0; i <= node.mReserved; ++i)
            ASSERT_EQ(Registry::FreeName(name, ""), eSDSErr_None);
    }
}

} // namespace
