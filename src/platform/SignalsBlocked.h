#pragma once

#include <csignal>

namespace kestrav::platform {

/// While it exists, the calling thread and the threads that it starts receive no signals; those threads never do.
class SignalsBlocked {
public:
    SignalsBlocked();
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked();

private:
    sigset_t saved_{};
};

} // namespace kestrav::platform
