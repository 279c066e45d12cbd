// Tool_Subcommand: one subcommand of kora: its arguments as text, and what it makes of them.
//
// A new one is a class in the file of its group, one line in Tool_Commands, and a text in Tool_Help.h. What it tells the
// argument parser of its options is what its help, its manual page and the shells' completions show.
#pragma once

#include "Tool/Tool_Console.h"
#include "Tool/Tool_Input.h"
#include "Tool/Tool_Settings.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
}

// Arguments that make no sense: exit code 2. what() says which, and what was expected.
struct Tool_UsageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

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
    // The parser must outlive it, and reads arguments into it.
    explicit Tool_Subcommand(CLI::App& ioApp)
        : mApp(ioApp)
    {
    }

    CLI::App& App() { return mApp; }
    const CLI::App& App() const { return mApp; }

    // Declares an option or, without dashes, an argument; iValue is what its help calls its value: "HZ", "35|16".
    template <class Value>
    void Take(const char* iNames, Value& oValue, const char* iValue, const char* iHelp);
    template <class Value>
    void Need(const char* iNames, Value& oValue, const char* iValue, const char* iHelp);
    void TakeFlag(const char* iNames, bool& oIsGiven, const char* iHelp);
    // The argument that nearly all have first.
    void TakeFile(const char* iValue, const char* iHelp);
    void TakeSong() { TakeFile("FILE", "the song, as for \"kora song\""); }

    bool IsGiven(const char* iOption) const;
    const std::string& FileName() const { return mFile; }
    Tool_Input Input(const Tool_Console& iConsole) const { return {FileName(), iConsole.mIn}; }

private:
    CLI::App& mApp;
    std::string mFile;
};

// The options --rate and --timecode.
class Tool_SettingsOptions
{
public:
    enum ETold { eTold_Briefly, eTold_InFull, eTold_AsKept };
    // ioApp must outlive it.
    void AddTo(CLI::App& ioApp, ETold iTold = eTold_Briefly);
    // What was given; throws Tool_UsageError where it is no rate or no format.
    Tool_AskedSettings Asked() const;

private:
    const CLI::App* mApp = nullptr;
    std::string mRate;
    std::string mTimecode;
};
