#pragma once

#include <string>
#include <system_error>

namespace kestrav::platform {

/// Gives each of two files or folders of one file system the other's name, in one step: nobody sees a moment without
/// either. Some file systems cannot do it; `isUnsupportedExchange` tells their errors from others.
[[nodiscard]] std::error_code exchangeItems(const std::string &path, const std::string &other);

[[nodiscard]] inline bool isUnsupportedExchange(const std::error_code &error) {
    return error == std::errc::invalid_argument || error == std::errc::function_not_supported ||
           error == std::errc::not_supported || error == std::errc::operation_not_supported;
}

} // namespace kestrav::platform
