#include "platform/ConfinedDirectory.h"

#include "platform/posix/directory.h"
#include "platform/posix/removeTree.h"

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
Result refusal() {
    return {.error = std::make_error_code(std::errc::operation_not_permitted), .refused = true};
}

/// The result of a directory that could not be opened, wherever a link or name leads: only the system's own lack of
/// something is told as that.
Result failureOrRefusal() {
    constexpr std::array lacking{EMFILE, ENFILE, ENOMEM, EIO};
    return std::find(lacking.begin(), lacking.end(), errno) != lacking.end() ? failure() : refusal();
}

constexpr const char *parentComponent = "..";

/// Those that change nothing (empty, ".") are left out, so an absolute name starts in the directory as well.
std::vector<std::string> componentsOf(std::string_view name) {
    std::vector<std::string> components;
    for (std::size_t start = 0; start < name.size();) {
        const std::size_t end = std::min(name.find('/', start), name.size());
        const std::string_view component = name.substr(start, end - start);
        if (!component.empty() && component != ".") {
            components.emplace_back(component);
        }
        start = end + 1;
    }
    return components;
}

} // namespace

bool Result::concernsPathAlone() const {
    constexpr std::array reasons{ENOENT, ENOTDIR, EISDIR, ELOOP, ENAMETOOLONG, EINVAL, EILSEQ};
    return refused || std::find(reasons.begin(), reasons.end(), error.value()) != reasons.end();
}

ConfinedDirectory::ConfinedDirectory(const std::string &path)
    : root_(FileDescriptor::open(path.c_str(), O_RDONLY | O_DIRECTORY)) {}

Result ConfinedDirectory::createFile(std::string_view name, mode_t permissions, FileDescriptor &file) {
    const Place place = locate(name, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    if (place.name.empty()) {
        return {.error = std::make_error_code(std::errc::is_a_directory)};
    }
    // Never opens what exists: it could be a link, or a second name of a file elsewhere.
    const auto create = [&] {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
        file = FileDescriptor::openAt(place.parent, place.name.c_str(), flags, S_IRUSR | S_IWUSR);
        return file.valid() ? Result{} : failure();
    };
    Result result = create();
    if (result.error == std::errc::file_exists) {
        if (entryType(place.parent, place.name) == S_IFDIR) {
            return {.error = std::make_error_code(std::errc::is_a_directory)};
        }
        result = replace(place);
        result = result.succeeded() ? create() : result;
    }
    return !result.succeeded() || ::fchmod(file.get(), permissions) == 0 ? result : failure();
}

Result ConfinedDirectory::createDirectory(std::string_view name) {
    const Place place = locate(name, true);
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
    case S_IFLNK: {
        const Result replaced = replace(place);
        return replaced.succeeded() ? create() : replaced;
    }
    default:
        return result;
    }
}

Result ConfinedDirectory::createSymbolicLink(std::string_view name, const std::string &destination) {
    const Place place = locate(name, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    if (place.name.empty()) {
        return refusal();
    }
    const auto create = [&] {
        return ::symlinkat(destination.c_str(), place.parent, place.name.c_str()) == 0 ? Result{} : failure();
    };
    const Result result = create();
    if (result.error != std::errc::file_exists) {
        return result;
    }
    const Result replaced = replace(place);
    return replaced.succeeded() ? create() : replaced;
}

ConfinedDirectory::Place ConfinedDirectory::locate(std::string_view name, bool createParents) {
    Place place;
    Components components = componentsOf(name);
    if (!components.empty() && components.back() != parentComponent) {
        place.name = std::move(components.back());
        components.pop_back();
    }
    place.result = enter(components, createParents);
    place.parent = components.empty() ? root_.get() : entered_.get();
    return place;
}

/// Makes `entered_` the directory that the components lead to.
Result ConfinedDirectory::enter(const Components &components, bool create) {
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
        const Result result = step(current.valid() ? current.get() : root_.get(), component, create, next);
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

Result ConfinedDirectory::step(int directory, const std::string &component, bool create, FileDescriptor &next) const {
    if (component != parentComponent) {
        next = openDirectory(directory, component);
        if (!next.valid() && errno == ENOENT && create && ::mkdirat(directory, component.c_str(), directoryMode) == 0) {
            next = openDirectory(directory, component);
        }
        const Result result = next.valid() ? Result{} : failure();
        if (result.succeeded() || entryType(directory, component) != S_IFLNK) {
            return result;
        }
    }
    // Judges what was opened, not the text of the name or link: nothing can change in between.
    next = openDirectory(directory, component, true);
    return next.valid() ? requireInside(next.get()) : failureOrRefusal();
}

/// Succeeds if one of the directories from this one up to the file system's root is the root of all paths here.
Result ConfinedDirectory::requireInside(int directory) const {
    constexpr int deepest = PATH_MAX / 2; // no path leads further down, so nobody needs what links build there
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
        current = openDirectory(current.get(), parentComponent);
    }
    return refusal();
}

/// Removes what is at the place.
Result ConfinedDirectory::replace(const Place &place) {
    enteredPath_.clear();
    return {.error = removeTree(place.parent, place.name.c_str())};
}

} // namespace kestrav::platform
