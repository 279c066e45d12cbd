// PSDeadline: when a wait with a time-out in milliseconds ends, on the monotonic clock.
#pragma once

#include <chrono>
#include <cstdint>

class PSDeadline
{
public:
    // A negative time-out never ends.
    explicit PSDeadline(std::int32_t iTimeoutMs)
        : mForever(iTimeoutMs < 0)
    {
        if (!mForever) mEnd = Clock::now() + std::chrono::milliseconds(iTimeoutMs);
    }

    // Rounded up, so that nobody wakes just before the end and spins; 0 once the time is up, -1 for ever.
    std::int32_t GetMillisecondsLeft() const
    {
        if (mForever) return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(mEnd - Clock::now()).count();
        return left > 0 ? static_cast<std::int32_t>(left) : 0;
    }

private:
    using Clock = std::chrono::steady_clock;
    bool mForever;
    Clock::time_point mEnd{};
};
