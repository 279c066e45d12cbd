// CnnFixture: receivers that write down what they were told.
#pragma once

#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <stdexcept>

using Reports = std::vector<std::string>;

// Writes its letter into a text that it shares with others, and what it is told; then does what it shall.
template <class Base>
struct Scribe : Base
{
    Scribe(std::string& ioText, char iLetter)
        : mText(ioText)
        , mLetter(iLetter)
    {
    }
    void Write(const std::string& iWhat)
    {
        mText += mLetter + iWhat;
        if (mThen) std::exchange(mThen, nullptr)();
    }

    std::string& mText;
    char mLetter;
    std::function<void()> mThen; // called once
};
