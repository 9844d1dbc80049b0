#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kestrav::platform {

/// A lock with a condition value: it is taken when the value is the wanted one, and released with a new value. It does
/// not belong to a thread: one thread may take it and another release it.
class ConditionLock {
public:
    explicit ConditionLock(int condition) : condition_(condition) {}

    /// Blocks until nobody holds the lock and its condition is `condition`, then takes it.
    void lockWhenCondition(int condition) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !held_ && condition_ == condition; });
        held_ = true;
    }

    /// The same for a limited time, in milliseconds; false if the lock could not be taken.
    [[nodiscard]] bool lockWhenCondition(int condition, int milliseconds) {
        std::unique_lock lock(mutex_);
        const bool taken = changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                             [&] { return !held_ && condition_ == condition; });
        held_ = held_ || taken;
        return taken;
    }

    /// Releases the lock with a new condition.
    void unlockWithCondition(int condition) {
        {
            const std::lock_guard lock(mutex_);
            held_ = false;
            condition_ = condition;
        }
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int condition_;
    bool held_ = false;
};

} // namespace kestrav::platform
