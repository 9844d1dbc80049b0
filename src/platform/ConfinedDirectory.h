#pragma once

#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace kestrav::platform {

/// A directory that names of unknown origin, such as those in an archive, are created in. Whatever names and links
/// come, nothing outside is created, changed or removed: every path is walked from this directory, one component at a
/// time, on open directories. A component that is a link is followed only if it leads to a directory inside; a link or
/// file at a path itself is replaced. Not for several threads.
class ConfinedDirectory {
public:
    /// How one operation went; `refused` if the path was not acceptable, whatever the system would have said.
    struct Result {
        std::error_code error = {};
        bool refused = false;
        [[nodiscard]] bool succeeded() const { return !error; }
        /// True for an error that says nothing of other paths: refused, the parent is missing, the file system does not
        /// take the name. Want of space, inodes, descriptors, memory or rights is none of these.
        [[nodiscard]] bool concernsPathAlone() const;
    };

    /// Opens an existing directory (itself reached by following links).
    explicit ConfinedDirectory(const std::string &path);
    /// False if that failed.
    [[nodiscard]] bool valid() const { return root_.valid(); }

    /// Creates an empty file for writing, with exactly these permission bits. Its parent must exist.
    [[nodiscard]] Result createFile(std::string_view name, mode_t permissions, FileDescriptor &file);

    /// Creates a directory, missing parents too. An existing one is fine.
    [[nodiscard]] Result createDirectory(std::string_view name);

    /// Creates a symbolic link, in place of whatever is there, even a directory with all it holds.
    [[nodiscard]] Result createSymbolicLink(std::string_view name, const std::string &destination);

private:
    using Components = std::vector<std::string>;

    /// Where the last component of a path belongs; the name is empty if the path is an existing directory by its form.
    struct Place {
        int parent = -1;
        std::string name;
        Result result;
    };
    [[nodiscard]] Place locate(std::string_view name, bool createParents);
    [[nodiscard]] Result enter(const Components &components, bool create);
    [[nodiscard]] Result step(int directory, const std::string &component, bool create, FileDescriptor &next) const;
    [[nodiscard]] Result requireInside(int directory) const;
    [[nodiscard]] Result replace(const Place &place);

    FileDescriptor root_;
    // The directory entered last and the path to it: most entries lie in the same one as their predecessor. The path is
    // emptied whenever something is removed, since it may then lead elsewhere.
    std::string enteredPath_;
    FileDescriptor entered_;
};

} // namespace kestrav::platform
