#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

namespace kestrav::tests {

/// A pseudo-terminal, hung up with this object.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        EXPECT_EQ(grantpt(master_), 0);
        EXPECT_EQ(unlockpt(master_), 0);
        slave_ = ptsname(master_);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal() { close(master_); }

    /// The name of the side that programs use.
    [[nodiscard]] const std::string &slave() const { return slave_; }
    void type(std::string_view keys) const {
        EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

private:
    int master_;
    std::string slave_;
};

} // namespace kestrav::tests
