#include "Kora/SDS/Source/SDS_TokenTracker.h"

#include "SDS/TokenFixture.h"
#include "Support/AssertRecorder.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr Cmn_Int32 cMeter = 0x4D545220, cPeak = 0x7065616B, cOther = 0x6F746872; // "MTR ", "peak", "othr"

void Print(SDS_Token* iToken, char* oText, Cmn_UInt32 iSize)
{
    std::snprintf(oText, iSize, "sequence %d", TestToken::Of(iToken).mSequence);
}
void FillWithoutEnd(SDS_Token*, char* oText, Cmn_UInt32 iSize) { std::fill_n(oText, iSize, 'x'); }

struct OpenTracker : SDS_TokenTracker
{
    using SDS_TokenTracker::PrettyPrint;
    using SDS_TokenTracker::RegisterTokenPrettyPrinterX;
    using SDS_TokenTracker::TrackInDebugger;
    using SDS_TokenTracker::TrackTokenDroppedX;
    using SDS_TokenTracker::TrackTokenLifecycleX;
    using SDS_TokenTracker::TrackTokenReceivedX;
};

class TokenTracker : public TokenTest
{
protected:
    TokenTracker()
    {
        mToken.mHeader.name = mName.GetID();
        mToken.mHeader.size = SDS_Token::cHeaderSize;
    }
    SDS_IName mName{"tracker/Bus 1"};
    TestToken mToken{cMeter, cPeak, 7};
};

TEST_F(TokenTracker, APairIsKeptOnceAndInTheOrderOfRegistration)
{
    for (int i = 0; i < 2; ++i) {
        for (const Cmn_Int32 subtype : {cPeak, 0, cOther})
            EXPECT_EQ(SDS_TokenTracker::TrackTokenLifecycle(cMeter, subtype), eSDSErr_None);
    }
    const std::vector<SDS_TokenTracker::TokenKind> expected = {
        {cMeter, cPeak}, {cMeter, 0}, {cMeter, cOther}};
    EXPECT_EQ(SDS_TokenTracker::GetTokensToTrack(), expected);
    EXPECT_FALSE(SDS_TokenTracker::IsEnabled());
}

TEST_F(TokenTracker, ATokenIsDescribedByItsOwnPrinterOrElseByCodesPathAndBytes)
{
    const std::string plain = "MTR /peak at /tracker/Bus 1";
    EXPECT_EQ(SDS_TokenTracker::Describe(mToken.mHeader), plain);
    mToken.mHeader.size = SDS_Token::cHeaderSize + 2;
    Cmn_UInt8* const data = reinterpret_cast<Cmn_UInt8*>(&mToken) + SDS_Token::cHeaderSize;
    data[0] = 0x0f;
    data[1] = 0xa0;
    EXPECT_EQ(SDS_TokenTracker::Describe(mToken.mHeader), plain + ": 0fa0");
    const auto describedBy = [&](SDS_TokenTracker::PrettyPrinter iPrinter) {
        static_cast<void>(SDS_TokenTracker::RegisterTokenPrettyPrinter(cMeter, cPeak, iPrinter));
        return SDS_TokenTracker::Describe(mToken.mHeader);
    };
    EXPECT_EQ(describedBy(&FillWithoutEnd), std::string(1023, 'x'));
    EXPECT_EQ(describedBy(&Print), "sequence 7");
    TestToken other(cMeter, cOther);
    other.mHeader.size = SDS_Token::cHeaderSize;
    EXPECT_EQ(SDS_TokenTracker::Describe(other.mHeader), "MTR /othr at ")
        << "another kind, and without a node";
    EXPECT_EQ(describedBy(nullptr), plain + ": 0fa0");
}

TEST_F(TokenTracker, WorkingFormsGuardTheirArgumentsAndCutTexts)
{
    OpenTracker tracker;
    EXPECT_FALSE(tracker.TrackInDebugger(&mToken.mHeader));
    static_cast<void>(tracker.TrackTokenLifecycleX(cMeter, cPeak));
    EXPECT_TRUE(tracker.TrackInDebugger(&mToken.mHeader));
    char text[12];
    tracker.PrettyPrint(&mToken.mHeader, text, sizeof(text));
    EXPECT_STREQ(text, "MTR /peak a");
    static_cast<void>(tracker.RegisterTokenPrettyPrinterX(cMeter, cPeak, &Print));
    tracker.PrettyPrint(&mToken.mHeader, text, 4);
    EXPECT_STREQ(text, "seq");
    const AssertRecorder asserts;
    SDS_Token* const token = &mToken.mHeader;
    EXPECT_EQ(tracker.TrackTokenDroppedX(token, nullptr, token, false), eSDSErr_None);
    EXPECT_EQ(tracker.TrackTokenReceivedX(nullptr), eSDSErr_None);
    EXPECT_EQ(tracker.TrackTokenDroppedX(nullptr, nullptr, token, false), eSDSErr_None);
    EXPECT_EQ(tracker.TrackTokenDroppedX(token, nullptr, nullptr, false), eSDSErr_None);
    const std::vector<std::string> reports = asserts.Take();
    const char* const expected[] = {"theToken@", "inNewToken@", "inOldToken@"};
    ASSERT_EQ(reports.size(), std::size(expected));
    for (std::size_t i = 0; i < reports.size(); ++i)
        EXPECT_EQ(reports[i].find(expected[i]), 0u);
}

} // namespace
