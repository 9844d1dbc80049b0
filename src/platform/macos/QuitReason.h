#pragma once

#include <cstdint>

namespace kestrav::platform {

/// The attribute of a quit event that tells its reason.
inline constexpr std::uint32_t quitReasonKeyword = 0x7768793F; // "why?"

/// True if the reason of a quit event means that the system asks every application to quit, because the session ends.
/// An event without a reason (0) comes from the Dock, the menu or another program and is meant for this one alone.
[[nodiscard]] bool asksEveryApplication(std::uint32_t reason);

} // namespace kestrav::platform
