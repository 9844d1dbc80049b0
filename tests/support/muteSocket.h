#pragma once

#include "platform/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <string>

namespace kestrav::tests {

/// Makes a socket that takes connections and never answers, as long as the descriptor is open.
inline platform::FileDescriptor muteSocket(const std::string &path) {
    platform::FileDescriptor mute(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    EXPECT_EQ(bind(mute.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) | listen(mute.get(), 8), 0);
    return mute;
}

} // namespace kestrav::tests
