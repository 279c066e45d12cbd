// Tool_Parser: the arguments of one command: declared with their help, read from the command line, and told as rows.
//
// What it is told of an option is what the help, the manual pages and the shells' completions show. The library behind it
// is included in one source alone: it makes objects for itself at the start of the program, once for each that has it.
#pragma once

#include <functional>
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

// An argument or an option as its command declared it.
struct Tool_HelpRow
{
    std::vector<std::string> mSpellings; // "-o", "--output"; none for an argument
    std::string mValue;                  // "OUT", empty for a flag
    std::string mHelp;
    std::string mGroup; // what stands above it, empty for the first rows
    bool mIsRequired;

    bool IsArgument() const { return mSpellings.empty(); }
    std::string Head() const; // "-o, --output OUT"
};

class Tool_Parser
{
public:
    explicit Tool_Parser(const char* iCommand);
    ~Tool_Parser();
    Tool_Parser(const Tool_Parser&) = delete;
    Tool_Parser& operator=(const Tool_Parser&) = delete;

    // Declares an option or, without dashes, an argument; iValue is what its help calls its value: "HZ", "35|16".
    // Variables must outlive Parse.
    void Take(const char* iNames, std::string& oValue, const char* iValue, const std::string& iHelp);
    void TakeFlag(const char* iNames, bool& oIsGiven, const char* iHelp);
    // The same of one that must be there.
    void Need(const char* iNames, std::string& oValue, const char* iValue, const char* iHelp);
    void Need(const char* iNames, std::vector<std::string>& oValues, const char* iValue, const char* iHelp);
    // Options that may come again and again: iTake is called with the values of each as it is met.
    struct Repeated
    {
        const char* mName;
        const char* mValues;
        int mLeast, mMost; // values
        const char* mHelp;
    };
    using Values = std::vector<std::string>;
    void TakeRepeated(const Repeated& iOption, const char* iGroup, std::function<void(const Values&)> iTake);

    // False where the help is asked for instead. Throws Tool_UsageError.
    bool Parse(std::vector<std::string> iArguments);
    // In what was parsed.
    bool IsGiven(const char* iOption) const;

    // In the order of their declaration.
    std::vector<Tool_HelpRow> GetRows() const;

private:
    std::string WhatIsWrong(const std::string& iKind, const std::string& iText) const;

    std::unique_ptr<CLI::App> mApp;
};
