// C_Guard: what stands around the body of each call of the C interface.
//
//     kora_status kora_meter_map_count(kora_meter_map* map, size_t* out)
//     {
//         return C_Guard([&] { C_Out(out, "out") = …; });
//     }
//
// The body returns nothing; whatever it throws becomes a status and the thread's last error, and goes no further.
// Real time: a call that goes well touches no memory of the thread's.
#pragma once

#include "Kora/C/Kora_C.h"
#include "Kora/Kora_Init.h"

#include <exception>
#include <mutex>
#include <string>
#include <utility>

// A call that is refused: its status and its words.
class C_Error : public std::exception
{
public:
    C_Error(kora_status iStatus, std::string iText)
        : mStatus(iStatus)
        , mText(std::move(iText))
    {
    }
    const char* what() const noexcept override { return mText.c_str(); }
    kora_status GetStatus() const { return mStatus; }

private:
    kora_status mStatus;
    std::string mText;
};

// Of the exception that is being handled.
kora_status C_StatusOfException() noexcept;
// Sets the thread's last error, and returns its status.
kora_status C_Fail(kora_status iStatus, const char* iText, const char* iFile = "",
                   long long iOffset = -1) noexcept;

template <class Body>
kora_status C_Guard(Body&& iBody) noexcept
{
    if (Kora_Init::sInitializedCount <= 0) [[unlikely]]
        return C_Fail(KORA_NOT_STARTED, "kora_init was not called");
    try {
        iBody();
        return KORA_OK;
    } catch (...) {
        return C_StatusOfException();
    }
}

// The application's model: songs that come and go, edits and undo, which the library leaves to one thread. Here each
// thread with songs of its own becomes that thread for as long as its call lasts. It nests, for callbacks; what is
// released in one ends with the outermost call, which may be at it.
class [[nodiscard]] C_StModel
{
public:
    C_StModel();
    ~C_StModel();
    C_StModel(const C_StModel&) = delete;
    C_StModel& operator=(const C_StModel&) = delete;
};

// For a call that is on the model.
template <class Body>
kora_status C_GuardModel(Body&& iBody) noexcept
{
    return C_Guard([&] {
        const C_StModel model;
        iBody();
    });
}

// Out of line, so that what checks goes into each call.
[[noreturn]] void C_Throw(kora_status iStatus, const char* iText);
// "map is null"
[[noreturn]] void C_ThrowFor(kora_status iStatus, const char* iName, const char* iWhat);

inline void C_Require(bool iCondition, const char* iText, kora_status iStatus = KORA_BAD_ARGUMENT)
{
    if (!iCondition) [[unlikely]]
        C_Throw(iStatus, iText);
}

// What a pointer of the caller's leads to.
template <class T>
T& C_Out(T* iPointer, const char* iName)
{
    if (iPointer == nullptr) [[unlikely]]
        C_ThrowFor(KORA_NULL_ARGUMENT, iName, " is null");
    return *iPointer;
}
