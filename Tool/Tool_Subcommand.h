// Tool_Subcommand: one subcommand of kora: its arguments as text, and what it makes of them.
//
// A new one is a class in the file of its group, one line in Tool_Commands, and a text in Tool_Help.h.
#pragma once

#include "Tool/Tool_Console.h"
#include "Tool/Tool_Input.h"
#include "Tool/Tool_Parser.h"
#include "Tool/Tool_Settings.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// What a subcommand has to say once it is through.
struct Tool_Outcome
{
    std::string mText;                    // for the output
    std::vector<std::string> mComplaints; // each a line for the error stream: what is bad in the input
    std::string mReport;                  // what there is to tell beside an output that is no text
    // Where it is given, writes the output in place of mText: rows that are not kept. What it throws is told
    // as what Run throws; what it wrote before stands.
    std::function<void(std::ostream&)> mWrite = nullptr;
};

// "-" as the name of an output.
inline constexpr char Tool_cStandardOutput[] = "-";

class Tool_Subcommand
{
public:
    virtual ~Tool_Subcommand();
    Tool_Subcommand(const Tool_Subcommand&) = delete;
    Tool_Subcommand& operator=(const Tool_Subcommand&) = delete;

    // Throws Tool_UsageError, Tool_InputError, and what the library throws for bad documents.
    virtual Tool_Outcome Run(const Tool_Console& iConsole) const = 0;

protected:
    explicit Tool_Subcommand(Tool_Parser& ioParser)
        : mParser(ioParser)
    {
    }

    Tool_Parser& Parser() { return mParser; }
    const Tool_Parser& Parser() const { return mParser; }
    bool IsGiven(const char* iOption) const { return mParser.IsGiven(iOption); }

    // The argument that nearly all have first.
    void TakeFile(const char* iValue, const char* iHelp) { mParser.Need("file", mFile, iValue, iHelp); }
    void TakeSong() { TakeFile("FILE", "the song, as for \"kora song\""); }

    const std::string& FileName() const { return mFile; }
    Tool_Input Input(const Tool_Console& iConsole) const { return {FileName(), iConsole.mIn}; }

private:
    Tool_Parser& mParser;
    std::string mFile;
};

// The options --rate and --timecode.
class Tool_SettingsOptions
{
public:
    enum ETold { eTold_Briefly, eTold_InFull, eTold_AsKept };
    // The parser must outlive it.
    void AddTo(Tool_Parser& ioParser, ETold iTold = eTold_Briefly);
    // What was given; throws Tool_UsageError where it is no rate or no format.
    Tool_AskedSettings Asked() const;

private:
    const Tool_Parser* mParser = nullptr;
    std::string mRate;
    std::string mTimecode;
};
