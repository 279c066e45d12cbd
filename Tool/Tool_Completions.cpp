#include "Tool/Tool_Completions.h"

#include "Tool/Tool_HelpPage.h"
#include "Tool/Tool_Settings.h"
#include "Tool/Tool_Unit.h"

#include <algorithm>

namespace {

// What may stand for a value, as its name in the help tells: "FILE", "35|16", "UNIT,...".
struct Values
{
    enum EKind { eKind_Any, eKind_File, eKind_Words, eKind_List };
    EKind mKind = eKind_Any;
    std::string mWords{}; // with blanks between them
};

// "24, 25" or "35|16" with blanks.
std::string WithBlanks(std::string iWords)
{
    iWords.erase(std::remove(iWords.begin(), iWords.end(), ' '), iWords.end());
    std::replace_if(
        iWords.begin(), iWords.end(), [](char c) { return c == ',' || c == '|'; }, ' ');
    return iWords;
}

std::string CommandNames()
{
    std::string names;
    for (const Tool_CommandEntry& command : Tool_Commands())
        names.append(names.empty() ? "" : " ").append(command.mName);
    return names;
}

Values ValuesOf(const std::string& iValue)
{
    if (iValue == "NAME") return {Values::eKind_Words, WithBlanks(Tool_TimeCodeFormatNames())};
    if (iValue == "UNIT") return {Values::eKind_Words, WithBlanks(Tool_UnitNames())};
    if (iValue == "UNIT,...") return {Values::eKind_List, WithBlanks(Tool_UnitNames())};
    if (iValue == "COMMAND") return {Values::eKind_Words, CommandNames()};
    if (iValue.find('|') != std::string::npos) return {Values::eKind_Words, WithBlanks(iValue)};
    for (const char* file : {"FILE", "OUT", "FOLDER"})
        if (iValue.starts_with(file)) return {Values::eKind_File};
    return {};
}

// The beginning of a row's text, up to where it goes into detail.
std::string Brief(const std::string& iHelp)
{
    return iHelp.substr(0, std::min({iHelp.find(';'), iHelp.find(" ("), iHelp.find(". "), iHelp.find(": ")}));
}

std::string Replaced(std::string iText, std::string_view iCharacters, const char* iBefore)
{
    for (std::size_t at = 0; (at = iText.find_first_of(iCharacters, at)) != std::string::npos; at += 2)
        iText.insert(at, iBefore);
    return iText;
}

// Inside single quotes of a shell.
std::string Quoted(const std::string& iText, const char* iQuote)
{
    std::string text = "'";
    for (const char c : iText)
        text += c == '\'' ? std::string(iQuote) : std::string(1, c);
    return text + '\'';
}

std::string Joined(const std::vector<std::string>& iTexts, const char* iBetween)
{
    std::string text;
    for (const std::string& each : iTexts)
        text.append(text.empty() ? "" : iBetween).append(each);
    return text;
}

// --- bash

constexpr char cBashTop[] = R"(# Completes the arguments of kora in bash.
_kora_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur")
}
_kora_list() {
    local before=""
    [[ $cur == *,* ]] && before="${cur%,*},"
    mapfile -t COMPREPLY < <(compgen -P "$before" -W "$1" -- "${cur##*,}")
    compopt -o nospace 2>/dev/null
}
_kora_files() {
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    compopt -o filenames 2>/dev/null
}
_kora() {
    local cur="${COMP_WORDS[COMP_CWORD]}" prev="${COMP_WORDS[COMP_CWORD - 1]}" command="${COMP_WORDS[1]}"
    COMPREPLY=()
    # bash takes --rate=1 apart at the "=".
    if [[ $cur == "=" ]]; then
        cur=""
    elif [[ $prev == "=" ]]; then
        prev="${COMP_WORDS[COMP_CWORD - 2]}"
    fi
)";

std::string BashCall(const Values& iValues)
{
    switch (iValues.mKind) {
    case Values::eKind_File:
        return "_kora_files";
    case Values::eKind_Words:
        return "_kora_words \"" + iValues.mWords + '"';
    case Values::eKind_List:
        return "_kora_list \"" + iValues.mWords + '"';
    case Values::eKind_Any:
        break;
    }
    return ":";
}

std::string Bash()
{
    std::string values;    // of options
    std::string arguments; // anything else
    for (const Tool_CommandEntry& command : Tool_Commands()) {
        const std::string name = command.mName;
        std::string options = "--help";
        Values argument;
        for (const Tool_HelpRow& row : Tool_HelpRows(command)) {
            if (row.IsArgument()) {
                if (argument.mKind == Values::eKind_Any) argument = ValuesOf(row.mValue);
                continue;
            }
            options += ' ' + row.mSpellings.back();
            if (row.mValue.empty()) continue;
            std::vector<std::string> spellings;
            for (const std::string& spelling : row.mSpellings)
                spellings.push_back('"' + name + ' ' + spelling + '"');
            values +=
                "    " + Joined(spellings, " | ") + ") " + BashCall(ValuesOf(row.mValue)) + "; return ;;\n";
        }
        arguments += "    \"" + name + " -\"*) _kora_words \"" + options + "\" ;;\n    \"" + name + " \"*) " +
                     BashCall(argument) + " ;;\n";
    }
    return std::string(cBashTop) + "    if ((COMP_CWORD == 1)); then\n        _kora_words \"" +
           CommandNames() + " --help --version\"\n        return\n    fi\n    case \"$command $prev\" in\n" +
           values + "    esac\n    case \"$command $cur\" in\n" + arguments +
           "    esac\n}\ncomplete -F _kora kora\n";
}

// --- zsh

// ":POS: :BPM: ", "::FROM: " where it may be left out, ":NAME:(24 25)".
std::string ZshValues(const std::string& iValue, bool iIsOptional = false)
{
    const Values values = ValuesOf(iValue);
    std::string text;
    for (std::size_t start = 0; start < iValue.size();) {
        const std::size_t end = std::min(iValue.find(' ', start), iValue.size());
        std::string word = iValue.substr(start, end - start);
        start = end + 1;
        iIsOptional = iIsOptional || word.starts_with('[');
        std::erase_if(word, [](char c) { return c == '[' || c == ']'; });
        text += (iIsOptional ? "::" : ":") + word + ':' +
                (values.mKind == Values::eKind_File    ? "_files"
                 : values.mKind == Values::eKind_Words ? '(' + values.mWords + ')'
                 : values.mKind == Values::eKind_List  ? "_values -s , " + word + ' ' + values.mWords
                                                       : std::string(" "));
    }
    return text;
}

std::string ZshSpec(const Tool_HelpRow& iRow)
{
    const auto quoted = [](const std::string& i) { return Quoted(i, "'\\''"); };
    if (iRow.IsArgument())
        return quoted((iRow.mValue.ends_with("...") ? "*" : "") + ZshValues(iRow.mValue, !iRow.mIsRequired));
    const std::string detail = '[' + Replaced(Brief(iRow.mHelp), "[]\\", "\\") + ']' + ZshValues(iRow.mValue);
    // "--rate=" takes its value behind a "=" or as the next word.
    std::vector<std::string> spellings = iRow.mSpellings;
    for (std::string& spelling : spellings)
        if (spelling.starts_with("--") && !iRow.mValue.empty()) spelling += '=';
    const char* const isRepeated = iRow.mGroup.empty() ? "" : "*";
    if (spellings.size() == 1) return quoted(isRepeated + spellings.front() + detail);
    return quoted('(' + Joined(iRow.mSpellings, " ") + ')') + '{' + Joined(spellings, ",") + '}' +
           quoted(detail);
}

std::string Zsh()
{
    std::string names;
    std::string cases;
    for (const Tool_CommandEntry& command : Tool_Commands()) {
        names += "        " +
                 Quoted(std::string(command.mName) + ':' + Replaced(command.mBrief, ":", "\\"), "'\\''") +
                 '\n';
        cases +=
            std::string("    ") + command.mName + ")\n        _arguments '(- *)'{-h,--help}'[show the help]'";
        for (const Tool_HelpRow& row : Tool_HelpRows(command))
            cases += " \\\n            " + ZshSpec(row);
        cases += "\n        ;;\n";
    }
    return R"(#compdef kora
# Completes the arguments of kora in zsh.
_kora() {
    local curcontext="$curcontext" state line
    local -a commands
    commands=(
)" + names +
           R"(    )
    _arguments -C '(- *)'{-h,--help}'[show the help]' '(- *)'{-V,--version}'[print the version]' \
        '1: :->command' '*:: :->argument' && return
    if [[ $state == command ]]; then
        _describe command commands
        return
    fi
    case $words[1] in
)" + cases +
           "    esac\n}\nif [[ $funcstack[1] == _kora ]]; then\n    _kora \"$@\"\nelse\n    compdef _kora "
           "kora\nfi\n";
}

// --- fish

std::string Fish()
{
    const auto quoted = [](const std::string& i) { return Quoted(i, "\\'"); };
    std::string text =
        "# Completes the arguments of kora in fish.\n"
        "complete -c kora -n __fish_use_subcommand -f -s h -l help -d 'show the help'\n"
        "complete -c kora -n __fish_use_subcommand -f -s V -l version -d 'print the version'\n";
    for (const Tool_CommandEntry& command : Tool_Commands()) {
        text += std::string("complete -c kora -n __fish_use_subcommand -f -a ") + command.mName + " -d " +
                quoted(command.mBrief) + '\n';
        const std::string behind =
            std::string("complete -c kora -n '__fish_seen_subcommand_from ") + command.mName + '\'';
        text += behind + " -s h -l help -d 'show the help'\n";
        for (const Tool_HelpRow& row : Tool_HelpRows(command)) {
            const Values values = ValuesOf(row.mValue);
            const bool isChoice = !values.mWords.empty();
            if (row.IsArgument() && !isChoice) continue; // files, as without this script
            text += behind;
            for (const std::string& spelling : row.mSpellings)
                text +=
                    spelling.starts_with("--") ? " -l " + spelling.substr(2) : " -s " + spelling.substr(1);
            if (!row.mValue.empty())
                text += row.IsArgument() ? " -f" : values.mKind == Values::eKind_File ? " -r" : " -x";
            const bool isList = values.mKind == Values::eKind_List;
            if (isChoice)
                text += " -a " + quoted(isList ? "(__fish_append , " + values.mWords + ')' : values.mWords);
            text += " -d " + quoted(Brief(row.mHelp)) + '\n';
        }
    }
    return text;
}

} // namespace

std::string Tool_Completions(std::string_view iShell)
{
    if (iShell == "bash") return Bash();
    if (iShell == "zsh") return Zsh();
    if (iShell == "fish") return Fish();
    return {};
}
