// What the tests of tokens share: a token that tells where it comes from, and listeners that remember.
#pragma once

#include "Kora/SDS/FicInterface/SDS_IName.h"
#include "Kora/SDS/FicInterface/SDS_ITokenListener.h"
#include "Kora/SDS/FicInterface/SDS_ITokenTask.h"
#include "Kora/SDS/FicInterface/SDS_Token.h"
#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

struct TestToken
{
    SDS_Token mHeader{};
    Cmn_Int32 mProducer = 0;
    Cmn_Int32 mSequence = 0;
    Cmn_UInt64 mCheck = 0;

    TestToken(Cmn_Int32 iType, Cmn_Int32 iSubType, Cmn_Int32 iSequence = 0, Cmn_Int32 iProducer = 0)
    {
        mHeader.size = sizeof(TestToken);
        mHeader.type = iType;
        mHeader.subtype = iSubType;
        mProducer = iProducer;
        mSequence = iSequence;
        mCheck = Check();
    }
    // Of what the sender wrote.
    Cmn_UInt64 Check() const
    {
        const auto a = static_cast<Cmn_UInt64>(mProducer);
        const auto b = static_cast<Cmn_UInt64>(mSequence);
        return (a * 0x9E3779B97F4A7C15u) ^ (b * 0xC2B2AE3D27D4EB4Fu) ^ static_cast<Cmn_UInt64>(mHeader.type);
    }
    static const TestToken& Of(const SDS_Token* iToken)
    {
        return *reinterpret_cast<const TestToken*>(iToken);
    }
};

// The size of cells that test tokens take.
constexpr unsigned cTestTokenClass = 1;

// What a recorder listens to; 0 is any.
struct Hears
{
    Cmn_Int32 mType = 0;
    Cmn_Int32 mSubtype = 0;
    bool mLatest = false;
};

// Calls back with each token that it hears.
class Listener : public SDS_ITokenListener
{
public:
    using Call = std::function<void(const TestToken&)>;
    Listener(SDS_ITokenTask* iTask, SDS_IName& iName, Hears iWhat, Call iCall)
        : SDS_ITokenListener(nullptr, &iName, iWhat.mType, iWhat.mSubtype, 0, 0,
                             static_cast<SDS_ITokenListener*>(this), false, iWhat.mLatest, 0)
        , mCall(std::move(iCall))
    {
        SetTask(iTask);
    }
    void HandleToken(SDS_Token* iToken) override { mCall(TestToken::Of(iToken)); }

private:
    const Call mCall;
};

// Remembers the sequence numbers that it is told, in a log that several may share.
class Recorder : public Listener
{
public:
    Recorder(SDS_ITokenTask* iTask, SDS_IName& iName, std::vector<int>& ioLog, Hears iWhat = {})
        : Listener(iTask, iName, iWhat, [&ioLog](const TestToken& iToken) {
            EXPECT_EQ(iToken.mCheck, iToken.Check());
            ioLog.push_back(iToken.mSequence);
        })
    {
    }
};

struct RunningTask : SDS_ITokenTask
{
    explicit RunningTask(Cmn_Int32 iPriority)
        : SDS_ITokenTask(iPriority)
    {
        ResumeProcessing();
    }
};

class TokenTest : public testing::Test
{
protected:
    // Whatever a test did, every cell is back and no list is in use.
    ~TokenTest() override
    {
        EXPECT_EQ(CellsInUse(), mInUseBefore) << SDS_TokenDispatcher::Dump();
        EXPECT_EQ(SDS_TokenDispatcher::Dump().find("retired"), std::string::npos)
            << SDS_TokenDispatcher::Dump();
        EXPECT_FALSE(SDS_TokenDispatcher::GetTokensPaused());
    }

    static ESDSError Send(SDS_IName& iName, TestToken iToken) { return iName.HandleToken(iToken.mHeader); }
    static std::vector<int> Drained(SDS_ITokenTask& ioTask, std::vector<int>& ioLog)
    {
        ioLog.clear();
        ioTask.ProcessTokens(0, Time_Sample(0), 0);
        return ioLog;
    }
    static std::size_t CellsInUse()
    {
        std::size_t sum = 0;
        const SDS_TokenPool& pool = SDS_TokenDispatcher::GetTokenPool();
        for (unsigned i = 0; i < pool.GetClassCount(); ++i)
            sum += pool.GetCellCount(i) - pool.GetFreeCount(i);
        return sum;
    }

private:
    const std::size_t mInUseBefore = (static_cast<void>(SDS_NameRegistry::Init()), CellsInUse());
};
