#pragma once

#include "Progress.h"

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::tools {

/// The permissions of an application's files, whatever those of the originals are.
constexpr mode_t fileMode = 0644;
constexpr mode_t programMode = 0755;

/// One folder, file or link as it travels.
struct TreeEntry {
    enum class Kind { directory, file, link };
    Kind kind = Kind::file;
    std::string name;    ///< below the tree's place, such as "Contents/Home/bin/java"
    std::string source;  ///< the file it is a copy of; empty for one that has `content`
    std::string content; ///< of a file that was not there
    std::string target;  ///< where a link leads
    mode_t mode = 0;     ///< the permission bits
    std::uint64_t size = 0;
};

/// What is to be copied, found before anything is written.
struct FileTree {
    std::vector<TreeEntry> entries; ///< parents before children; in each folder by name
    std::vector<std::string> notes; ///< what was left out, and why

    /// Adds a folder that has no counterpart.
    void addFolder(const std::string &name);

    /// Adds the user's file, or all that is in his folder, under the name; the content alone under an empty one. A link
    /// is replaced by what it leads to, below the folder only if that lies outside; one that leads nowhere is left out.
    /// Hard links are files. Refuses devices, sockets, and folders that contain themselves.
    void add(const std::string &source, const std::string &name);

    /// The bytes of all files.
    [[nodiscard]] std::uint64_t size() const;
};

/// Hands the content of an entry that is a file to `receiver`, piece by piece. Raises `Refusal` if it cannot be read,
/// or is another one by now, and `Interrupted` after a signal.
void readContent(const TreeEntry &entry, const std::function<void(std::string_view)> &receiver);

/// Writes the entries into a folder, which is made, and tells of it as `what`. Raises `Interrupted` after a signal.
void copyTree(const FileTree &tree, const std::string &folder, const Progress &progress, const std::string &what);

} // namespace kestrav::tools
