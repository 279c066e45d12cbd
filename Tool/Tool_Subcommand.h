// Tool_Subcommand: one subcommand of kora: its arguments as text, and what it makes of them.
//
// A new one is a class in the file of its group, one line in that group's Tool_Add…
// function, and a help text.
#pragma once

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
    // Takes the argument "file" first.
    Tool_Subcommand(CLI::App& ioApp, const char* iName, const char* iHelp);
    virtual ~Tool_Subcommand();
    Tool_Subcommand(const Tool_Subcommand&) = delete;
    Tool_Subcommand& operator=(const Tool_Subcommand&) = delete;

    std::string Name() const;
    bool IsChosen() const;
    const char* Help() const { return mHelp; }

    // Throws Tool_UsageError, Tool_InputError, and what the library throws for bad documents.
    virtual Tool_Outcome Run(std::istream& iIn) const = 0;

protected:
    CLI::App& App() { return *mApp; }
    const CLI::App& App() const { return *mApp; }
    const std::string& FileName() const { return mFile; }
    Tool_Input Input(std::istream& iIn) const { return {FileName(), iIn}; }

private:
    const char* mHelp;
    CLI::App* mApp;
    std::string mFile;
};

using Tool_Subcommands = std::vector<std::unique_ptr<const Tool_Subcommand>>;

// The options --rate and --timecode.
class Tool_SettingsOptions
{
public:
    explicit Tool_SettingsOptions(CLI::App& ioApp);
    // What was given; throws Tool_UsageError where it is no rate or no format.
    Tool_AskedSettings Asked() const;

private:
    const CLI::App& mApp;
    std::string mRate;
    std::string mTimecode;
};

// The groups, each in a file of its own.
void Tool_AddSongCommands(CLI::App& ioApp, Tool_Subcommands& ioCommands);
void Tool_AddGridCommands(CLI::App& ioApp, Tool_Subcommands& ioCommands);
void Tool_AddEditCommand(CLI::App& ioApp, Tool_Subcommands& ioCommands);
void Tool_AddDocumentCommands(CLI::App& ioApp, Tool_Subcommands& ioCommands);
