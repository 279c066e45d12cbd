// Tool_EditReport: what a run of "kora edit" did, or would do, as a table for people or JSON for programs.
//
// Tempi, meters and keys are compared by their ticks and values: one that lies at another time only, because
// of one before it, has not changed; one that lies at another tick went and came.
#pragma once

#include "Tool/Tool_SongEditor.h"
#include "Tool/Tool_SongReport.h"

class Tool_EditReport
{
public:
    // Takes the song as it is before the edits. iFile is the name that the report shows.
    Tool_EditReport(const Tool_Song& iBefore, std::string iFile);

    void Add(const Tool_EditOperation& iOperation, const Tool_EditEffect& iEffect);
    bool IsChanged() const;

    // What the user might not expect: "; the first beat's time …" for each.
    std::string Notes() const;
    // A line for each operation and one for what it came to.
    std::string Operations() const;
    // The operations, then what went (-) and what came (+).
    std::string Table(const Tool_Song& iAfter, const std::string& iNotes, Tool_Style iStyle) const;
    // iOutput is empty where nothing was written.
    std::string Json(const Tool_Song& iAfter, const std::string& iOutput, const std::string& iNotes) const;

private:
    struct Done
    {
        Tool_EditOperation mOperation;
        Tool_EditEffect mEffect;
    };
    using Lines = std::vector<Tool_SongReport::Line>;

    static std::string EffectText(const Tool_EditEffect& iEffect);
    // Of iA what is not in iB.
    static Lines Missing(const Lines& iA, const Lines& iB);

    std::string mFile;
    Lines mBefore;
    std::string mBeforeJson;
    std::vector<Done> mDone;
};
