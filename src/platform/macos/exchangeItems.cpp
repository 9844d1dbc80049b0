#include "platform/exchangeItems.h"

#include <stdio.h> // NOLINT(modernize-deprecated-headers): <cstdio> need not declare renamex_np

#include <cerrno>

namespace kestrav::platform {

std::error_code exchangeItems(const std::string &path, const std::string &other) {
    const bool done = ::renamex_np(path.c_str(), other.c_str(), RENAME_SWAP) == 0;
    return done ? std::error_code() : std::error_code(errno, std::generic_category());
}

} // namespace kestrav::platform
