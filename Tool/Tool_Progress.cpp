#include "Tool/Tool_Progress.h"

#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"

#include <algorithm>
#include <chrono>
#include <ostream>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto cBeforeTheFirst = 1s;
constexpr auto cBetween = 100ms;
constexpr std::size_t cMostColumns = 78;

Tool_Progress* sCurrent = nullptr;

bool IsLead(char iByte) { return (static_cast<unsigned char>(iByte) & 0xC0) != 0x80; }

std::size_t ColumnsOf(std::string_view iText)
{
    return static_cast<std::size_t>(std::count_if(iText.begin(), iText.end(), IsLead));
}

// At most as many characters, whole ones.
std::string_view Cut(std::string_view iText, std::size_t iColumns)
{
    std::size_t end = 0;
    for (std::size_t columns = 0; end < iText.size(); ++end)
        if (IsLead(iText[end]) && ++columns > iColumns) break;
    return iText.substr(0, end);
}

} // namespace

std::string Tool_WorkText::At(Cmn_Int64 iDone) const
{
    std::string text = mWhat;
    if (mWhole > 0)
        text += ", " + std::to_string(std::clamp<Cmn_Int64>(iDone, 0, mWhole) * 100 / mWhole) + " %";
    else if (*mUnit != '\0')
        text += ", " + std::to_string(iDone) + ' ' + mUnit;
    return text;
}

std::string Tool_ProgressLine::Show(std::string_view iText)
{
    const std::string_view text = Cut(iText, cMostColumns);
    if (text == mShown) return {};
    const std::size_t before = ColumnsOf(mShown);
    const std::size_t now = ColumnsOf(text);
    std::string bytes = '\r' + std::string(text);
    if (before > now) bytes.append(before - now, ' ');
    if (text.empty()) bytes += '\r';
    mShown = text;
    return bytes;
}

Tool_Progress::Tool_Progress(std::ostream* oTerminal)
    : mTerminal(oTerminal)
{
    if (mTerminal != nullptr) sCurrent = this;
}

Tool_Progress::~Tool_Progress() { Stop(); }

void Tool_Progress::Stop()
{
    if (sCurrent == this) sCurrent = nullptr;
    if (!mThread.joinable()) return;
    {
        const std::lock_guard lock(mMutex);
        mIsOver = true;
    }
    mWake.notify_one();
    mThread.join();
    *mTerminal << mLine.Remove() << std::flush;
}

void Tool_Progress::StopCurrent()
{
    if (sCurrent != nullptr) sCurrent->Stop();
}

void Tool_Progress::Run()
{
    std::unique_lock lock(mMutex);
    const auto isOver = [this] { return mIsOver; };
    for (auto pause = std::chrono::milliseconds(cBeforeTheFirst); !mWake.wait_for(lock, pause, isOver);
         pause = cBetween)
    {
        Tool_WorkText work = mWork;
        if (work.mWhole == 0) work.mWhole = mWhole.load(std::memory_order_relaxed);
        const std::string text = work.mWhat.empty() ? "" : work.At(mDone.load(std::memory_order_relaxed));
        if (const std::string bytes = mLine.Show(text); !bytes.empty()) *mTerminal << bytes << std::flush;
    }
}

Tool_StWork::Tool_StWork(const char* iWhat, const std::string& iFile, Cmn_Int64 iWhole, const char* iUnit)
    : mProgress(sCurrent)
{
    if (mProgress == nullptr) return;
    const std::string name = iFile.empty() ? "" : ' ' + Tool_Printable(Tool_BaseName(iFile));
    const std::lock_guard lock(mProgress->mMutex);
    mBefore = std::exchange(mProgress->mWork, {iWhat + name, iWhole, iUnit});
    mDoneBefore = mProgress->mDone.exchange(0);
    mProgress->mWhole = 0;
    // Not before: what does no work needs no thread.
    if (!mProgress->mThread.joinable())
        mProgress->mThread = std::thread([progress = mProgress] { progress->Run(); });
}

Tool_StWork::~Tool_StWork()
{
    // Stop may have come in between: then nobody looks any more.
    if (mProgress == nullptr || mProgress != sCurrent) return;
    const std::lock_guard lock(mProgress->mMutex);
    mProgress->mWork = mBefore;
    mProgress->mDone = mDoneBefore;
    mProgress->mWhole = 0;
}

void Tool_StWork::ReadTo(Cmn_Int64 iPosition, Cmn_Int64 iLength)
{
    if (sCurrent == nullptr || sCurrent->mWork.mWhole != 0 || *sCurrent->mWork.mUnit != '\0') return;
    sCurrent->mDone.store(iPosition, std::memory_order_relaxed);
    sCurrent->mWhole.store(iLength, std::memory_order_relaxed);
}
