#pragma once

#include <chrono>

/// Counts waits that end at once without a result. Too many in a row mean that the system interrupts every call.
class IdleRounds {
public:
    [[nodiscard]] bool tooMany(std::chrono::steady_clock::time_point lastSign,
                               std::chrono::steady_clock::duration waited) {
        constexpr int patience = 10'000;
        const bool idle = waited < std::chrono::milliseconds(1) && lastSign == lastSign_;
        count_ = idle ? count_ + 1 : 0;
        lastSign_ = lastSign;
        return count_ > patience;
    }

private:
    std::chrono::steady_clock::time_point lastSign_;
    int count_ = 0;
};
