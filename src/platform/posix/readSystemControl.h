#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav::platform {

/// `systemControlInteger` as the system itself answers it.
[[nodiscard]] std::optional<std::int32_t> readSystemControl(const std::string &name);

} // namespace kestrav::platform
