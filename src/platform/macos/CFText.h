#pragma once

#include "platform/macos/CFHandle.h"

#include <string>
#include <string_view>

namespace kestrav::platform {

/// The text as the platform's string. What is no UTF-8 becomes U+FFFD.
[[nodiscard]] CFHandle<CFStringRef> cfText(std::string_view text);

/// The platform's string as UTF-8, a null one as an empty text. Lone surrogates become U+FFFD.
[[nodiscard]] std::string textOf(CFStringRef string);

/// The path of a file URL.
[[nodiscard]] std::string pathOf(CFURLRef url);

} // namespace kestrav::platform
