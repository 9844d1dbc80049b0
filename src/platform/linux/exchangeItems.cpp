#include "platform/exchangeItems.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace kestrav::platform {

std::error_code exchangeItems(const std::string &path, const std::string &other) {
    const bool done = ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
    return done ? std::error_code() : std::error_code(errno, std::generic_category());
}

} // namespace kestrav::platform
