#include "platform/ConfinedDirectory.h"

#include "platform/posix/directory.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

namespace kestrav::platform {

using Result = ConfinedDirectory::Result;

namespace {

constexpr mode_t directoryMode = 0777; // less the umask

Result failure() {
    return {.error = {errno, std::generic_category()}};
}
Result failure(std::errc reason) {
    return {.error = std::make_error_code(reason)};
}

/// The result for a directory that could not be opened. Only a lack of the system's resources is reported as an error
/// of its own; anything else is the fault of the path, so it is refused.
Result failureOrRefusal() {
    constexpr std::array lacking{EMFILE, ENFILE, ENOMEM, EIO};
    return std::find(lacking.begin(), lacking.end(), errno) != lacking.end() ? failure() : Result::refusal();
}

/// True for errors by which a file system says that it cannot make a hard link, or no further one.
bool forbidsHardLinks(const std::error_code &error) {
    constexpr std::array reasons{EPERM, EMLINK, EXDEV, ENOSYS, ENOTSUP, EOPNOTSUPP};
    return std::find(reasons.begin(), reasons.end(), error.value()) != reasons.end();
}

bool isSameFile(int directory, const std::string &name, int otherDirectory, const std::string &otherName) {
    struct stat file {};
    struct stat other {};
    return ::fstatat(directory, name.c_str(), &file, AT_SYMLINK_NOFOLLOW) == 0 &&
           ::fstatat(otherDirectory, otherName.c_str(), &other, AT_SYMLINK_NOFOLLOW) == 0 &&
           file.st_dev == other.st_dev && file.st_ino == other.st_ino;
}

/// The text of a link, whatever its length; empty with errno set if it cannot be read.
std::string linkText(int directory, const std::string &name) {
    std::string text(PATH_MAX, '\0');
    const ssize_t length = ::readlinkat(directory, name.c_str(), text.data(), text.size());
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
}

/// Copies what is left of one file to another; false with errno set if that fails.
bool copyContent(const FileDescriptor &from, const FileDescriptor &to) {
    std::array<char, 32768> buffer;
    for (;;) {
        const ssize_t count = uninterrupted([&] { return ::read(from.get(), buffer.data(), buffer.size()); });
        if (count <= 0) {
            return count == 0;
        }
        if (!writeAll(to.get(), {buffer.data(), static_cast<std::size_t>(count)})) {
            return false;
        }
    }
}

} // namespace

Result Result::refusal() {
    return {.error = std::make_error_code(std::errc::operation_not_permitted), .refused = true};
}

bool Result::concernsPathAlone() const {
    constexpr std::array reasons{ENOENT, ENOTDIR, EISDIR, ELOOP, ENAMETOOLONG, EINVAL, EILSEQ};
    return refused || std::find(reasons.begin(), reasons.end(), error.value()) != reasons.end();
}

ConfinedDirectory::ConfinedDirectory(const std::string &path)
    : root_(FileDescriptor::open(path.c_str(), O_RDONLY | O_DIRECTORY)) {
    if (root_.valid()) {
        const auto names = directoryNames(root_);
        wasEmpty_ = names && names->empty();
    }
}

/// Calls `create`, after removing what is in its place.
template <class Create>
Result ConfinedDirectory::createReplacing(const Place &place, Create create, bool replacesDirectories) {
    const Result result = create();
    if (result.error != std::errc::file_exists) {
        return result;
    }
    if (!replacesDirectories && entryType(place.parent, place.name) == S_IFDIR) {
        return failure(std::errc::is_a_directory);
    }
    const Result removed = removeExisting(place);
    return removed.succeeded() ? create() : removed;
}

Result ConfinedDirectory::createFile(const ConfinedPath &path, mode_t permissions, FileDescriptor &file) {
    const Place place = locate(path, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    if (place.name.empty()) {
        return failure(std::errc::is_a_directory);
    }
    // Never opens an existing file: it could be a link, or a second name of a file elsewhere.
    const auto create = [&] {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
        file = FileDescriptor::openAt(place.parent, place.name.c_str(), flags, S_IRUSR | S_IWUSR);
        return file.valid() ? Result{} : failure();
    };
    const Result result = createReplacing(place, create, false);
    return !result.succeeded() || ::fchmod(file.get(), permissions) == 0 ? result : failure();
}

Result ConfinedDirectory::createDirectory(const ConfinedPath &path) {
    const Place place = locate(path, true);
    if (!place.result.succeeded() || place.name.empty()) {
        return place.result;
    }
    const auto create = [&] {
        return ::mkdirat(place.parent, place.name.c_str(), directoryMode) == 0 ? Result{} : failure();
    };
    const Result result = create();
    if (result.error != std::errc::file_exists) {
        return result;
    }
    switch (entryType(place.parent, place.name)) {
    case S_IFDIR:
        return {};
    case S_IFLNK:
        return createReplacing(place, create, false);
    default:
        return result;
    }
}

Result ConfinedDirectory::createSymbolicLink(const ConfinedPath &path, const std::string &destination) {
    const Place place = locate(path, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    if (place.name.empty()) {
        return Result::refusal();
    }
    const auto create = [&] {
        return ::symlinkat(destination.c_str(), place.parent, place.name.c_str()) == 0 ? Result{} : failure();
    };
    return createReplacing(place, create, true);
}

Result ConfinedDirectory::createHardLink(const ConfinedPath &path, const ConfinedPath &target) {
    if (!wasEmpty_) {
        return Result::refusal();
    }
    const Place place = locate(target, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    const FileDescriptor directory = openDirectory(place.parent, "."); // stays open while the path is entered
    if (!directory.valid()) {
        return failure();
    }
    switch (entryType(directory.get(), place.name)) {
    case 0:
        return failure();
    case S_IFREG:
        return linkFile(directory.get(), place.name, path);
    case S_IFLNK: {
        const std::string text = linkText(directory.get(), place.name);
        return text.empty() ? failure() : createSymbolicLink(path, text);
    }
    default:
        return failure(std::errc::is_a_directory);
    }
}

/// Gives a regular file of an open directory a second name.
Result ConfinedDirectory::linkFile(int directory, const std::string &name, const ConfinedPath &path) {
    const Place place = locate(path, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    const auto create = [&] {
        return ::linkat(directory, name.c_str(), place.parent, place.name.c_str(), 0) == 0 ? Result{} : failure();
    };
    if (isSameFile(directory, name, place.parent, place.name)) {
        return {}; // and must not be removed to make room for its own second name
    }
    const Result result = createReplacing(place, create, false);
    return forbidsHardLinks(result.error) ? copyFile(directory, name, path) : result;
}

Result ConfinedDirectory::copyFile(int directory, const std::string &name, const ConfinedPath &path) {
    const FileDescriptor from = FileDescriptor::openAt(directory, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    struct stat status {};
    if (!from.valid() || ::fstat(from.get(), &status) != 0) {
        return failure();
    }
    FileDescriptor to;
    const Result result = createFile(path, status.st_mode & 0777, to);
    if (!result.succeeded()) {
        return result;
    }
    return copyContent(from, to) && to.close() ? Result{} : failure();
}

ConfinedDirectory::Place ConfinedDirectory::locate(const ConfinedPath &path, bool createParents) {
    Place place;
    Components components = path.components();
    if (!components.empty()) {
        place.name = components.back();
        components = components.first(components.size() - 1);
    }
    place.result = enter(components, createParents);
    place.parent = components.empty() ? root_.get() : entered_.get();
    return place;
}

/// Makes `entered_` the directory that the components lead to.
Result ConfinedDirectory::enter(Components components, bool create) {
    std::string path;
    for (const std::string &component : components) {
        path += component + "/";
    }
    if (path == enteredPath_) {
        return {};
    }
    FileDescriptor current;
    for (const std::string &component : components) {
        FileDescriptor next;
        const Result result = openComponent(current.valid() ? current.get() : root_.get(), component, create, next);
        if (!result.succeeded()) {
            return result;
        }
        current = std::move(next);
    }
    if (current.valid()) {
        entered_ = std::move(current);
        enteredPath_ = std::move(path);
    }
    return {};
}

Result ConfinedDirectory::openComponent(int directory, const std::string &component, bool create,
                                        FileDescriptor &next) const {
    next = openDirectory(directory, component);
    if (!next.valid() && errno == ENOENT && create && ::mkdirat(directory, component.c_str(), directoryMode) == 0) {
        next = openDirectory(directory, component);
    }
    const Result result = next.valid() ? Result{} : failure();
    if (result.succeeded() || entryType(directory, component) != S_IFLNK) {
        return result;
    }
    // Checks the directory that was opened, not the text of the link, so that nothing can change in between.
    next = openDirectory(directory, component, true);
    return next.valid() ? requireInside(next.get()) : failureOrRefusal();
}

/// Succeeds if one of the directories from this one up to the file system's root is the root of all paths here.
Result ConfinedDirectory::requireInside(int directory) const {
    constexpr int deepest = PATH_MAX / 2; // no path is longer, so only links could lead deeper
    const auto root = identityOf(root_);
    std::optional<FileIdentity> below;
    FileDescriptor current = openDirectory(directory, ".");
    for (int depth = 0; depth < deepest; ++depth) {
        const auto identity = current.valid() ? identityOf(current) : std::nullopt;
        if (!identity) {
            return failureOrRefusal();
        }
        if (identity == root) {
            return {};
        }
        if (identity == below) {
            break; // the file system's root is its own parent
        }
        below = identity;
        current = openDirectory(current.get(), "..");
    }
    return Result::refusal();
}

/// Removes what is in a place.
Result ConfinedDirectory::removeExisting(const Place &place) {
    enteredPath_.clear();
    return {.error = removeTree(place.parent, place.name.c_str())};
}

} // namespace kestrav::platform
