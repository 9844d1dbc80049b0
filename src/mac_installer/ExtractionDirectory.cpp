#include "mac_installer/ExtractionDirectory.h"

#include "mac_installer/DirectoryEntry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kestrav {

using platform::FileDescriptor;
using Result = ExtractionDirectory::Result;

namespace {

constexpr mode_t directoryMode = 0777; // less the umask

Result failure() {
    return {.error = errno};
}
Result refusal() {
    return {.error = EPERM, .refused = true};
}

bool sameFile(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

constexpr const char *parentComponent = "..";

/// Those that change nothing (empty, ".") are left out, so an absolute name starts in the destination as well.
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

ExtractionDirectory::ExtractionDirectory(const std::string &path)
    : root_(FileDescriptor::open(path.c_str(), O_RDONLY | O_DIRECTORY)) {
    if (fstat(root_.get(), &rootStatus_) != 0) {
        root_.reset();
    }
}

Result ExtractionDirectory::createFile(std::string_view name, mode_t permissions, OutputFile &file) {
    const Place place = locate(name, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    if (place.name.empty()) {
        return {.error = EISDIR};
    }
    // Never opens what exists: it could be a link, or a second name of a file elsewhere.
    const auto create = [&] {
        return openEntry(place.parent, place.name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    };
    int descriptor = create();
    if (descriptor < 0 && errno == EEXIST) {
        if (entryType(place.parent, place.name) == S_IFDIR) {
            return {.error = EISDIR};
        }
        descriptor = replace(place) ? create() : -1;
    }
    if (descriptor < 0) {
        return failure();
    }
    file = OutputFile(descriptor);
    return fchmod(descriptor, permissions) == 0 ? Result{} : failure();
}

Result ExtractionDirectory::createDirectory(std::string_view name) {
    const Place place = locate(name, true);
    if (!place.result.succeeded() || place.name.empty()) {
        return place.result;
    }
    if (mkdirat(place.parent, place.name.c_str(), directoryMode) == 0) {
        return {};
    }
    const Result result = failure();
    if (result.error != EEXIST) {
        return result;
    }
    const mode_t existing = entryType(place.parent, place.name);
    if (existing == S_IFDIR) {
        return {};
    }
    if (existing != S_IFLNK) {
        return result;
    }
    return replace(place) && mkdirat(place.parent, place.name.c_str(), directoryMode) == 0 ? Result{} : failure();
}

Result ExtractionDirectory::createSymbolicLink(std::string_view name, const std::string &destination) {
    const Place place = locate(name, false);
    if (!place.result.succeeded()) {
        return place.result;
    }
    if (place.name.empty()) {
        return refusal();
    }
    const auto create = [&] { return symlinkat(destination.c_str(), place.parent, place.name.c_str()) == 0; };
    return create() || (errno == EEXIST && replace(place) && create()) ? Result{} : failure();
}

ExtractionDirectory::Place ExtractionDirectory::locate(std::string_view name, bool createParents) {
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
Result ExtractionDirectory::enter(const Components &components, bool create) {
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

Result ExtractionDirectory::step(int directory, const std::string &component, bool create, FileDescriptor &next) const {
    if (component != parentComponent) {
        next = openDirectory(directory, component);
        if (!next.valid() && errno == ENOENT && create && mkdirat(directory, component.c_str(), directoryMode) == 0) {
            next = openDirectory(directory, component);
        }
        const Result result = next.valid() ? Result{} : failure();
        if (result.succeeded() || entryType(directory, component) != S_IFLNK) {
            return result;
        }
    }
    // Judges what was opened, not the text of the name or link: nothing can change in between.
    next = openDirectory(directory, component, true);
    return next.valid() && isInside(next.get()) ? Result{} : refusal();
}

/// True if one of the directories from this one up to the file system's root is the destination.
bool ExtractionDirectory::isInside(int directory) const {
    FileDescriptor current = openDirectory(directory, ".");
    struct stat status {};
    struct stat below {};
    while (current.valid() && fstat(current.get(), &status) == 0) {
        if (sameFile(status, rootStatus_)) {
            return true;
        }
        if (sameFile(status, below)) {
            return false; // the root is its own parent
        }
        below = status;
        current = openDirectory(current.get(), parentComponent);
    }
    return false;
}

/// Removes what is at the place, false with errno set if something of it stays.
bool ExtractionDirectory::replace(const Place &place) {
    enteredPath_.clear();
    return removeEntry(place.parent, place.name);
}

} // namespace kestrav
