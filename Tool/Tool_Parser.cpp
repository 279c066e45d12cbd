#include "Tool/Tool_Parser.h"

#include "Tool/Tool_InputError.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace {

// Of an option with too few values or too many.
std::string WhatIsWrongWith(const CLI::Option& iOption)
{
    const std::size_t count = iOption.count();
    const bool isSingle = iOption.get_items_expected_max() == 1;
    return iOption.get_name() +
           (count == 0 ? " without a value"
            : isSingle ? std::string(" more than once")
                       : " with " + std::to_string(count) + (count == 1 ? " value" : " values")) +
           ", expected " + (count > 0 && isSingle ? "one " : "") + iOption.get_type_name();
}

// An option of many values takes a file that stands behind it for one of them.
std::string WhatItTook(const CLI::Option& iOption, const std::vector<const CLI::Option*>& iAll)
{
    const auto most = static_cast<std::size_t>(iOption.get_items_expected_max());
    if (most < 2 || iOption.count() <= most) return {};
    for (const CLI::Option* other : iAll)
        if (other->get_positional() && other->count() == 0)
            return "; " + other->get_type_name() + " stands before it";
    return {};
}

} // namespace

Tool_Parser::Tool_Parser(const char* iCommand)
    : mApp(std::make_unique<CLI::App>("", iCommand))
{
    mApp->allow_windows_style_options(false); // "/home/song.mid" is a file on every platform
    mApp->set_help_flag("-h,--help", "show this help");
}

Tool_Parser::~Tool_Parser() = default;

void Tool_Parser::Take(const char* iNames, std::string& oValue, const char* iValue, const std::string& iHelp)
{
    mApp->add_option(iNames, oValue, iHelp)->type_name(iValue);
}

void Tool_Parser::TakeFlag(const char* iNames, bool& oIsGiven, const char* iHelp)
{
    mApp->add_flag(iNames, oIsGiven, iHelp);
}

void Tool_Parser::Need(const char* iNames, std::string& oValue, const char* iValue, const char* iHelp)
{
    mApp->add_option(iNames, oValue, iHelp)->type_name(iValue)->required();
}

void Tool_Parser::Need(const char* iNames, std::vector<std::string>& oValues, const char* iValue,
                       const char* iHelp)
{
    mApp->add_option(iNames, oValues, iHelp)->type_name(iValue)->required();
}

void Tool_Parser::TakeRepeated(const Repeated& iOption, const char* iGroup,
                               std::function<void(const Values&)> iTake)
{
    mApp->add_option_function<Values>(iOption.mName, std::move(iTake), iOption.mHelp)
        ->expected(iOption.mLeast, iOption.mMost)
        ->type_name(iOption.mValues)
        ->group(iGroup)
        ->trigger_on_parse();
}

bool Tool_Parser::Parse(std::vector<std::string> iArguments)
try {
    std::reverse(iArguments.begin(), iArguments.end());
    mApp->parse(std::move(iArguments));
    return true;
} catch (const CLI::CallForHelp&) {
    return false;
} catch (const CLI::ParseError& error) {
    throw Tool_UsageError(WhatIsWrong(error.get_name(), error.what()));
}

// In the words of the command's help: the library behind it knows none of them.
std::string Tool_Parser::WhatIsWrong(const std::string& iKind, const std::string& iText) const
{
    if (const std::vector<std::string> extras = mApp->remaining(); !extras.empty()) {
        const bool isOption = extras.front().size() > 1 && extras.front().front() == '-';
        return Tool_Quoted(extras.front()) + (isOption ? " is no option of kora " + mApp->get_name()
                                                       : std::string(" is one argument too many"));
    }
    const auto options = std::as_const(*mApp).get_options();
    if (iKind == "ArgumentMismatch")
        for (const CLI::Option* option : options)
            if (iText.find(option->get_name()) != std::string::npos)
                return WhatIsWrongWith(*option) + WhatItTook(*option, options);
    for (const CLI::Option* option : options)
        if (option->get_required() && option->count() == 0)
            return (option->get_positional() ? "" : option->get_name() + ' ') + option->get_type_name() +
                   " is missing";
    return iText;
}

bool Tool_Parser::IsGiven(const char* iOption) const { return mApp->count(iOption) > 0; }

std::string Tool_HelpRow::Head() const
{
    std::string head;
    for (const std::string& spelling : mSpellings)
        head += (head.empty() ? "" : ", ") + spelling;
    return head + (head.empty() || mValue.empty() ? "" : " ") + mValue;
}

std::vector<Tool_HelpRow> Tool_Parser::GetRows() const
{
    std::vector<Tool_HelpRow> rows;
    for (const CLI::Option* option : std::as_const(*mApp).get_options()) {
        if (option == mApp->get_help_ptr()) continue;
        Tool_HelpRow row{{}, option->get_type_name(), option->get_description(), {}, option->get_required()};
        if (option->get_group() != "Options") row.mGroup = option->get_group();
        if (option->get_items_expected_max() == 0) row.mValue.clear(); // a flag
        for (const std::string& name : option->get_snames())
            row.mSpellings.push_back('-' + name);
        for (const std::string& name : option->get_lnames())
            row.mSpellings.push_back("--" + name);
        rows.push_back(std::move(row));
    }
    return rows;
}
