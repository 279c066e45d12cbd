#include "Tool/Tool_Progress.h"

#include "tests/Tool/ToolFixture.h"

#include <random>

using ProgressTest = ToolFixture;

TEST_F(ProgressTest, TextsSayHowFarItIs)
{
    struct Row
    {
        const char* mWhat;
        Cmn_Int64 mWhole;
        const char* mUnit;
        Cmn_Int64 mDone;
        const char* mText;
    };
    constexpr Row cRows[] = {
        {"reading", 0, "", 5, "reading"},
        {"reading", 200, "", 0, "reading, 0 %"},
        {"reading", 200, "", 199, "reading, 99 %"},
        {"reading", 200, "bytes", 200, "reading, 100 %"},
        {"reading", 200, "", 201, "reading, 100 %"},
        {"reading", 200, "", -1, "reading, 0 %"},
        {"reading", 34359738367, "", 34359738366, "reading, 99 %"},
        {"converting", 0, "lines", 12, "converting, 12 lines"},
    };
    for (const Row& row : cRows)
        EXPECT_EQ(Tool_WorkText({row.mWhat, row.mWhole, row.mUnit}).At(row.mDone), row.mText);
}

// A terminal as a row of cells that understands a carriage return alone.
TEST_F(ProgressTest, ALineTakesThePlaceOfAnyOther)
{
    std::mt19937 random(11);
    Tool_ProgressLine line;
    std::vector<std::string> cells(100, " ");
    const auto play = [&](const std::string& iBytes) {
        std::size_t column = 0;
        for (std::size_t i = 0; i < iBytes.size();) {
            const std::size_t size = static_cast<unsigned char>(iBytes[i]) >= 0xE0 ? 3 : 1;
            if (iBytes[i] == '\r')
                column = 0;
            else
                cells.at(column++) = iBytes.substr(i, size);
            i += size;
        }
        return column;
    };
    for (int i = 0; i < 500; ++i) {
        std::string text;
        std::string seen;
        for (unsigned size = random() % 120, at = 0; at < size; ++at) {
            const std::string cell =
                random() % 4 == 0 ? "光" : std::string(1, static_cast<char>('a' + random() % 26));
            text += cell;
            if (at < 78) seen += cell;
        }
        play(line.Show(text));
        std::string row;
        for (const std::string& cell : cells)
            row += cell;
        EXPECT_EQ(row.substr(0, row.find_last_not_of(' ') + 1), seen);
        EXPECT_EQ(line.Show(text), "");
    }
    EXPECT_EQ(play(line.Remove()), 0u);
    EXPECT_EQ(std::count(cells.begin(), cells.end(), " "), 100);
}
