#pragma once

#include "platform/ConfinedPath.h"
#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <span>
#include <string>
#include <system_error>

namespace kestrav::platform {

/// A directory in which entries of unknown origin, such as those of an archive, are created. Whatever paths and links
/// are given, nothing outside is created, changed or removed: every path is walked from this directory, one component
/// at a time, through open directories. A component that is a link is followed only if it leads to a directory inside;
/// a link or file at the path itself is replaced. One thread at a time.
class ConfinedDirectory {
public:
    /// How one operation went; `refused` if the path was not acceptable, whatever the system would have said.
    struct Result {
        std::error_code error = {};
        bool refused = false;
        /// The result for a path that is not acceptable.
        [[nodiscard]] static Result refusal();
        [[nodiscard]] bool succeeded() const { return !error; }
        /// True for an error that concerns this path alone: it was refused, its parent is missing, or the file system
        /// does not accept the name. A lack of space, inodes, descriptors, memory or permissions concerns other paths
        /// too.
        [[nodiscard]] bool concernsPathAlone() const;
    };

    /// Opens an existing directory (itself reached by following links).
    explicit ConfinedDirectory(const std::string &path);
    /// False if the directory could not be opened.
    [[nodiscard]] bool valid() const { return root_.valid(); }

    /// Creates an empty file for writing, with exactly these permission bits. Its parent must exist.
    [[nodiscard]] Result createFile(const ConfinedPath &path, mode_t permissions, FileDescriptor &file);

    /// Creates a directory, missing parents too. An existing one is fine.
    [[nodiscard]] Result createDirectory(const ConfinedPath &path);

    /// Creates a symbolic link, in place of whatever is there, even a directory with all it holds.
    [[nodiscard]] Result createSymbolicLink(const ConfinedPath &path, const std::string &destination);

    /// Creates a second name for the file at `target`, in place of whatever file or link is there; a copy where the
    /// file system has no hard links, and an equal symbolic link if `target` is one. Hard links are refused in a
    /// directory that was not empty when it was opened, so that `target` is never a file that was there before.
    [[nodiscard]] Result createHardLink(const ConfinedPath &path, const ConfinedPath &target);

private:
    using Components = std::span<const std::string>;

    /// Where the last component of a path belongs; the name is empty if the path leads to this directory itself.
    struct Place {
        int parent = -1;
        std::string name;
        Result result;
    };
    [[nodiscard]] Place locate(const ConfinedPath &path, bool createParents);
    [[nodiscard]] Result enter(Components components, bool create);
    [[nodiscard]] Result openComponent(int directory, const std::string &component, bool create,
                                       FileDescriptor &next) const;
    [[nodiscard]] Result requireInside(int directory) const;
    [[nodiscard]] Result linkFile(int directory, const std::string &name, const ConfinedPath &path);
    [[nodiscard]] Result copyFile(int directory, const std::string &name, const ConfinedPath &path);
    template <class Create>
    [[nodiscard]] Result createReplacing(const Place &place, Create create, bool replacesDirectories);
    [[nodiscard]] Result removeExisting(const Place &place);

    FileDescriptor root_;
    bool wasEmpty_ = false; ///< when it was opened
    // The directory entered last and the path to it, because most entries lie in the same one as their predecessor. The
    // path is cleared whenever something is removed, since it may then lead elsewhere.
    std::string enteredPath_;
    FileDescriptor entered_;
};

} // namespace kestrav::platform
