#pragma once

#include <string>

namespace kestrav::tools {

/// What a file is to macOS.
enum class MachOKind {
    none,    ///< not code
    program, ///< can be started
    library, ///< is loaded by programs
};

/// Reads the beginning of a file, which may have code for several processors. One that cannot be read is none.
[[nodiscard]] MachOKind machOKind(const std::string &path);

} // namespace kestrav::tools
