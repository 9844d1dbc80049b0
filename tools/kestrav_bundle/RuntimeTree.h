#pragma once

#include "Runtime.h"

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace kestrav::tools {

/// One folder, file or link of a runtime as it travels.
struct TreeEntry {
    enum class Kind { directory, file, link };
    Kind kind = Kind::file;
    std::string name;    ///< below the runtime's place, such as "Contents/Home/bin/java"
    std::string source;  ///< the file it is a copy of; empty for one that has `content`
    std::string content; ///< of a file that was not there
    std::string target;  ///< where a link leads
    mode_t mode = 0;     ///< the permission bits
    std::uint64_t size = 0;
    std::time_t modified = 0;
};

struct RuntimeTree {
    std::vector<TreeEntry> entries; ///< parents before children, in an order of their own
    std::vector<std::string> notes; ///< what was left out, and why
};

/// Everything that travels of a runtime, with its home in Contents/Home and an Info.plist that says what it is. Hard
/// links are files; links that lead out of the runtime are replaced by what they lead to, those that lead nowhere left
/// out. Refuses devices, sockets, and folders that contain themselves.
[[nodiscard]] RuntimeTree runtimeTree(const Runtime &runtime);

/// Writes the entries into a folder, which is made.
void copyTree(const RuntimeTree &tree, const std::string &folder);

} // namespace kestrav::tools
