#include "Bastel/Cmn/Cmn_PolyVector.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <memory>

TEST(PolyVector, ABadIndexAssertsAndTouchesNoElement)
{
    const AssertRecorder recorder;
    const std::vector<std::string> report = {"iIndex < size()@$^$@Cmn/Cmn_PolyVector"};
    Cmn_PolyVector<int> vector = {1, 2, 3};
    for (const std::size_t index : {std::size_t{3}, std::size_t{4}, ~std::size_t{0}}) {
        vector.at(index) = 99;
        EXPECT_EQ(recorder.Take(), report) << index;
        EXPECT_EQ(std::as_const(vector).at(index), 0) << "what was written there is lost";
        EXPECT_EQ(recorder.Take(), report) << index;
    }
    EXPECT_EQ(vector, (Cmn_PolyVector<int>{1, 2, 3}));

    Cmn_PolyVector<int> empty;
    empty.pop_back();
    EXPECT_EQ(recorder.Take(), report);
    EXPECT_EQ(empty.front() + empty.back(), 0);
    EXPECT_EQ(recorder.Take().size(), 2u);
    EXPECT_TRUE(empty.empty());

    vector.pop_back();
    vector.at(1) = vector.front();
    EXPECT_EQ(vector, (Cmn_PolyVector<int>{1, 1}));
    EXPECT_TRUE(recorder.Take().empty()) << "good indices report nothing";
}

TEST(PolyVector, ElementsNeedNoCopyAndMayBeItsOwn)
{
    Cmn_PolyVector<std::unique_ptr<int>> vector;
    vector.push_back(std::make_unique<int>(1));
    vector.insert(vector.begin(), std::make_unique<int>(0));
    vector.erase(vector.begin());
    EXPECT_EQ(*vector.emplace_back(std::make_unique<int>(7)), 7);
    EXPECT_EQ(*vector.front(), 1);
    Cmn_PolyVector<int> copies = {5};
    copies.push_back(copies.front()); // as the storage grows
    EXPECT_EQ(copies, (Cmn_PolyVector<int>{5, 5}));
}
