// Tool_SongReport: a song's tempo, meter and key changes and its end, as a table for
// people or JSON for programs.
//
// Both forms show the rows of Tool_SongWalk, written as they are made.
#pragma once

#include "Tool/Tool_Console.h"
#include "Tool/Tool_PositionText.h"
#include "Tool/Tool_SongRows.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

class Tool_JsonWriter;

class Tool_SongReport
{
public:
    // iFile is the name that the report shows. The song must outlive it.
    Tool_SongReport(const Tool_Song& iSong, std::string iFile);

    // At most 100 columns: a header, then a row for each change in time order, of those at one tick tempo
    // first, then meter, then key; the end last. Positions in display ticks, 960 to a quarter note.
    void WriteTable(std::ostream& oOut, Tool_Style iStyle = {}) const;
    std::string Table() const;
    // One object, indented by 2, with a newline at its end. Positions in internal ticks.
    void WriteJson(std::ostream& oOut) const;
    std::string Json() const;

    // The parts of the table: what stands above its rows, and each of them.
    struct Line
    {
        Time_Tick mTick;
        std::string mChange; // "tempo   84.000 bpm"
        std::string mText;   // the whole row, without an end of line
    };
    std::string Heading() const;
    static std::string ColumnNames(Tool_Style iStyle);
    std::vector<Line> Lines() const;

private:
    void ForEachLine(const std::function<void(const Line&)>& iTake) const;
    void MakeLine(const Tool_SongRows::Place& iPlace, Line& oLine) const;
    void AddPlace(const Tool_SongRows::Place& iPlace, int iIndent, Tool_JsonWriter& ioJson) const;
    std::string TimecodeOf(const Tool_SongRows::Place& iPlace) const;

    const Tool_Song& mSong;
    std::string mFile;
    Tool_PositionText mPositions;
};
