#pragma once

#include "Request.h"

#include <optional>

namespace kestrav::tools {

/// What the command line asks for: an application, or nothing more, since it was a question that has been answered on
/// standard output ("--help", "--version"). Raises `Refusal` for what cannot be understood.
[[nodiscard]] std::optional<Request> parseCommandLine(int argc, char **argv);

} // namespace kestrav::tools
