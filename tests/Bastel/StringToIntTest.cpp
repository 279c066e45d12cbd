#include "Bastel/Cmn/Cmn_StringToInt.h"

#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <variant>

namespace {

using Result = std::variant<Cmn_Int64, Cmn_EMessage>;
constexpr Result cNone = Cmn_eMessage_NotAnInteger, cOutside = Cmn_eMessage_IntegerOutOfRange;

template <class Integer>
Result Parse(Integer (*iParse)(std::string_view), std::string_view iText)
{
    Cmn_Int64 value = 0;
    const Cmn_EMessage message = Thrown([&] { value = iParse(iText); }).GetMessageID();
    return message == 0 ? Result(value) : Result(message);
}

} // namespace

TEST(StringToInt, IntegersAreReadWholeAndUpToTheirLimits)
{
    const struct
    {
        const char* mWhat;
        const char* mText;
        Result mAs64;
        Result mAs32;
    } cCases[] = {
        {"zero", "0", 0, 0},
        {"minus zero", "-0", 0, 0},
        {"plus", "+7", 7, 7},
        {"leading zeros", "-0007", -7, -7},
        {"all white space", " \t\n\v\f\r12 \t\n\v\f\r", 12, 12},
        {"largest of 32", "2147483647", 2147483647, 2147483647},
        {"one above", "2147483648", 2147483648, cOutside},
        {"smallest of 32", "-2147483648", -2147483648, -2147483648},
        {"one below", "-2147483649", -2147483649, cOutside},
        {"largest of 64", "9223372036854775807", 9223372036854775807, cOutside},
        {"one above", "9223372036854775808", cOutside, cOutside},
        {"smallest of 64", "-9223372036854775808", -9223372036854775807 - 1, cOutside},
        {"one below", "-9223372036854775809", cOutside, cOutside},
        {"far above", "+99999999999999999999999999", cOutside, cOutside},
        {"and then a letter", "99999999999999999999999999x", cNone, cNone},
    };
    for (const auto& c : cCases) {
        EXPECT_EQ(Parse(&Cmn_StringToInt64, c.mText), c.mAs64) << c.mWhat;
        EXPECT_EQ(Parse(&Cmn_StringToInt32, c.mText), c.mAs32) << c.mWhat;
    }
}

TEST(StringToInt, AnythingElseIsNoInteger)
{
    using namespace std::string_view_literals; // a zero inside, and a no-break space
    for (const std::string_view text :
         {""sv, " "sv, "-"sv, " + "sv, "--1"sv, "+-1"sv, "-+1"sv, "++1"sv, "- 1"sv, "1 2"sv, "1x"sv, "x1"sv,
          "0x10"sv, "1.0"sv, "1e3"sv, "1\0"sv, "\u00A01"sv})
        EXPECT_EQ(Parse(&Cmn_StringToInt64, text), cNone) << text;
}
