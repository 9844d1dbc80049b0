#pragma once

namespace kestrav::tools {

/// The answers to "--help" and "--version".
extern const char *const usage;
extern const char *const versionText;

} // namespace kestrav::tools
