// Tool_RangeOptions: the options --from and --to of the subcommands that show a part of a song.
#pragma once

#include "Tool/Tool_Song.h"

#include <optional>
#include <string>

class Tool_Parser;

class Tool_RangeOptions
{
public:
    // The parser must outlive it; the texts are the options' help.
    void AddTo(Tool_Parser& ioParser, const char* iFrom, const char* iTo);

    // What was asked for, where something was, in positions of "kora edit". Throws Tool_UsageError for what is
    // no position, and Tool_InputError, in which iName stands for the song, for places that a song cannot have.
    std::optional<Time_Tick> From(const Tool_Song& iSong, const std::string& iName) const;
    std::optional<Time_Tick> To(const Tool_Song& iSong, const std::string& iName) const;

    // The range, by default the song. Throws Tool_InputError for an empty one, too.
    struct Range
    {
        Time_Tick mFrom;
        Time_Tick mTo;
    };
    Range Get(const Tool_Song& iSong, const std::string& iName) const;

private:
    std::optional<Time_Tick> Position(const char* iOption, const std::string& iText, const Tool_Song& iSong,
                                      const std::string& iName) const;

    const Tool_Parser* mParser = nullptr;
    std::string mFrom;
    std::string mTo;
};
