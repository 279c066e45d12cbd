// Tool_Console: what a run of the command stands on beside its arguments: its input, and how it may show things.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

// Emphasis for people: escape sequences on a terminal that takes them, nothing anywhere else.
class Tool_Style
{
public:
    Tool_Style() = default;
    explicit Tool_Style(bool iHasColours)
        : mHasColours(iHasColours)
    {
    }

    bool HasColours() const { return mHasColours; }
    // A heading, which must be one line.
    std::string Heading(std::string_view iText) const { return In("1", iText); }
    // What announces an error.
    std::string Alarm(std::string_view iText) const { return In("1;31", iText); }

private:
    std::string In(const char* iCode, std::string_view iText) const
    {
        if (!mHasColours) return std::string(iText);
        return std::string("\x1b[").append(iCode).append("m").append(iText).append("\x1b[0m");
    }

    bool mHasColours = false;
};

struct Tool_Console
{
    std::istream& mIn;
    Tool_Style mOut;       // of the output
    bool mIsTyped = false; // the input comes from a terminal
};
