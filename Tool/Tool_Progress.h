// Tool_Progress: a line on a terminal that says what takes long and how far it is, removed when it is done.
//
// Work says where it is whenever it likes to, which costs a store; a thread of its own, which runs only where somebody
// looks, reads that ten times a second and writes what changed. Nothing is shown of a command that takes no second.
//
// Threads: all but the line itself is for the thread that runs the command.
// Globals: one at a time is the process's, found by Tool_StWork wherever the work is done.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <atomic>
#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

// What is done, as it is shown: "reading song.mid, 45 %" of a known whole, "converting, 1200 lines" without one.
struct Tool_WorkText
{
    std::string mWhat;
    Cmn_Int64 mWhole = 0; // 0 where it is not known
    const char* mUnit = "";

    std::string At(Cmn_Int64 iDone) const;
};

// A line that takes the place of itself.
class Tool_ProgressLine
{
public:
    // What to write so that iText stands there, cut to what a terminal has in a line; empty where it does already.
    std::string Show(std::string_view iText);
    std::string Remove() { return Show({}); }

private:
    std::string mShown;
};

class Tool_Progress
{
public:
    // Null where nobody looks.
    explicit Tool_Progress(std::ostream* oTerminal);
    ~Tool_Progress();
    Tool_Progress(const Tool_Progress&) = delete;
    Tool_Progress& operator=(const Tool_Progress&) = delete;

    // The line goes, for good: before anything else is written where it stands.
    void Stop();
    // The same of the one that there is: before a user is asked to type.
    static void StopCurrent();
    bool IsShown() const { return mTerminal != nullptr; }

private:
    friend class Tool_StWork;

    void Run();

    std::ostream* mTerminal;
    std::atomic<Cmn_Int64> mDone = 0;  // stored by the command's thread
    std::atomic<Cmn_Int64> mWhole = 0; // the same: what a file turns out to have
    std::mutex mMutex;
    std::condition_variable mWake;
    Tool_WorkText mWork; // behind the mutex, as is whether it is over
    bool mIsOver = false;
    Tool_ProgressLine mLine;
    std::thread mThread;
};

// A piece of work, for as long as it lives; the one around it comes back afterwards.
class Tool_StWork
{
public:
    // "reading", with the file's name behind it where there is one.
    explicit Tool_StWork(const char* iWhat, const std::string& iFile = {}, Cmn_Int64 iWhole = 0,
                         const char* iUnit = "");
    ~Tool_StWork();
    Tool_StWork(const Tool_StWork&) = delete;
    Tool_StWork& operator=(const Tool_StWork&) = delete;

    void At(Cmn_Int64 iDone)
    {
        if (mProgress != nullptr) mProgress->mDone.store(iDone, std::memory_order_relaxed);
    }
    // Whatever work is going on, where it has no whole of its own.
    static void ReadTo(Cmn_Int64 iPosition, Cmn_Int64 iLength);

private:
    Tool_Progress* mProgress;
    Tool_WorkText mBefore;
    Cmn_Int64 mDoneBefore = 0;
};
