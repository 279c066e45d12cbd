// What the tests of names share. Whatever a test does, the tree is in the end as it was, to the last count.
#pragma once

#include "Kora/SDS/FicInterface/SDS_IName.h"
#include "Kora/SDS/Source/SDS_NameIterator.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_Name_p.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Names = std::vector<SDS_Name*>;

class NameTest : public testing::Test
{
protected:
    NameTest() { static_cast<void>(SDS_NameRegistry::Init()); }
    ~NameTest() override { EXPECT_EQ(SDS_NameRegistry::Dump(), mBefore); }

    static SDS_Name* Find(SDS_Name* iBase, const std::string& iPath)
    {
        SDS_Name* name = nullptr;
        static_cast<void>(SDS_NameRegistry::GetNameId(iBase, iPath.c_str(), &name));
        return name;
    }
    static Names Rest(SDS_NameIterator& ioIterator)
    {
        Names names;
        for (; ioIterator.Valid(); static_cast<void>(ioIterator.Next()))
            names.push_back(static_cast<SDS_Name*>(ioIterator.Item()));
        return names;
    }
    template <class TIterator>
    static Names Walked(SDS_Name* iName)
    {
        TIterator iterator;
        EXPECT_EQ(iterator.Reset(iName), eSDSErr_None);
        return Rest(iterator);
    }
    static std::string PathOf(SDS_Name* iName)
    {
        char path[1024];
        EXPECT_EQ(SDS_NameRegistry::GetPath(iName, nullptr, path), eSDSErr_None);
        return path;
    }

private:
    const std::string mBefore = (static_cast<void>(SDS_NameRegistry::Init()), SDS_NameRegistry::Dump());
};
