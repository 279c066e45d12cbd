// Session: what the host's commands work on, and what they did as lines of text.
#pragma once

#include <functional>
#include <string>
#include <vector>

class Session
{
public:
    // Hears each line that is said; none: nobody listens.
    std::function<void(const std::string&)> mListener;

    void Say(const std::string& iLine)
    {
        if (mListener) mListener(iLine);
    }

    void Open(const std::string& iTitle)
    {
        mTitle = iTitle;
        std::erase(mRecent, iTitle);
        mRecent.insert(mRecent.begin(), iTitle);
        if (mRecent.size() > cMostRecent) mRecent.resize(cMostRecent);
        mModified = false;
        Say("opened " + iTitle);
    }

    static constexpr std::size_t cMostRecent = 5;

    std::string mTitle = "Untitled";
    std::vector<std::string> mRecent{"Morgenröte", "Песня без слов", "Take 3 ♪"}; // newest first
    int mSongs = 0;                                                               // made by New
    bool mModified = false;
    bool mLoops = false;
    int mGridSteps = 0; // where the cursor stands, in grid steps of a quarter of a beat
};
