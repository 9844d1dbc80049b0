#pragma once

#include <functional>

#include <pthread.h>

namespace kestrav::platform {

/// A thread whose stack does not depend on the limit that the process was started with. It has to be joined or detached
/// before its object ends.
class Thread {
public:
    Thread() = default;
    /// Starts the thread. Throws `std::system_error` if there is none to be had.
    explicit Thread(std::function<void()> body);
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
