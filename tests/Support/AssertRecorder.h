// AssertRecorder: collects the reports of a scope, so that tests can claim what was
// reported, and that nothing was.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

class AssertRecorder
{
public:
    AssertRecorder()
        : mPrevious(Cmn_Assert::SetHandler(&Record))
    {
        const std::lock_guard lock(sMutex);
        sReports.clear();
    }
    ~AssertRecorder() { Cmn_Assert::SetHandler(mPrevious); }
    AssertRecorder(const AssertRecorder&) = delete;
    AssertRecorder& operator=(const AssertRecorder&) = delete;

    // The reports so far, "expression@$^$@source", and none afterwards.
    std::vector<std::string> Take() const
    {
        const std::lock_guard lock(sMutex);
        return std::exchange(sReports, {});
    }

private:
    static void Record(const char* iText, int)
    {
        const std::lock_guard lock(sMutex);
        sReports.emplace_back(iText);
    }

    static inline std::mutex sMutex;
    static inline std::vector<std::string> sReports;
    Cmn_Assert::Handler mPrevious;
};
