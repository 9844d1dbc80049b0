#pragma once

#include <cstddef>
#include <functional>

#include <pthread.h>

namespace kestrav::platform {

/// A thread whose stack does not depend on the limit that the process was started with. It has to be joined or detached
/// before its object is destroyed.
class Thread {
public:
    Thread() = default;
    /// Enough for the libraries that run on a thread (name look-up, encryption); pages that are never touched cost
    /// nothing.
    static constexpr std::size_t usualStack = std::size_t{2} << 20U;

    /// Starts the thread. Throws `std::system_error` if no thread can be created.
    explicit Thread(std::function<void()> body, std::size_t stackSize = usualStack);
    Thread(Thread &&other) noexcept;
    Thread &operator=(Thread &&other) noexcept;
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;
    ~Thread();

    [[nodiscard]] bool joinable() const { return running_; }
    void join();
    void detach();

private:
    pthread_t thread_{};
    bool running_ = false;
};

} // namespace kestrav::platform
