#include "platform/FolderList.h"

#include "platform/posix/directory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <vector>

namespace kestrav::platform {

namespace {

// The list: the head, then for each entry its kind and size, a space, its path and a NUL, then the foot.
constexpr std::string_view head = "kestrav-list 1\n";
constexpr std::string_view foot = "end\n";

/// "d", "f123", "l12", or "o" for anything else; empty with errno set if there is no such entry.
std::string kindAndSize(const FileDescriptor &root, const std::string &path) {
    struct stat found {};
    if (::fstatat(root.get(), path.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) {
        return {};
    }
    const std::string size = std::to_string(found.st_size);
    return S_ISDIR(found.st_mode)   ? "d"
           : S_ISREG(found.st_mode) ? "f" + size
           : S_ISLNK(found.st_mode) ? "l" + size
                                    : "o";
}

} // namespace

std::optional<std::string> listOfFolder(const std::string &path) {
    const FileDescriptor root = openDirectory(AT_FDCWD, path);
    std::string list(head);
    std::vector<std::string> folders{"."};
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const FileDescriptor opened = root.valid() ? openDirectory(root.get(), folder) : FileDescriptor();
        const auto names = opened.valid() ? directoryNames(opened) : std::nullopt;
        if (!names) {
            return std::nullopt;
        }
        for (const std::string &name : *names) {
            std::string entry = folder == "." ? name : std::string(folder).append("/").append(name);
            const std::string kind = kindAndSize(root, entry);
            if (kind.empty()) {
                return std::nullopt;
            }
            list.append(kind).append(" ").append(entry).push_back('\0');
            if (kind == "d") {
                folders.push_back(std::move(entry));
            }
        }
    }
    return list.append(foot);
}

bool folderHolds(const std::string &path, std::string_view list) {
    if (!list.starts_with(head) || !list.ends_with(foot) || list.size() < head.size() + foot.size()) {
        return false;
    }
    list = list.substr(head.size(), list.size() - head.size() - foot.size());
    const FileDescriptor root = openDirectory(AT_FDCWD, path);
    while (root.valid() && !list.empty()) {
        const std::size_t space = list.find(' ');
        const std::size_t end = list.find('\0');
        if (end == std::string_view::npos || space >= end ||
            kindAndSize(root, std::string(list.substr(space + 1, end - space - 1))) != list.substr(0, space)) {
            return false;
        }
        list.remove_prefix(end + 1);
    }
    return root.valid();
}

std::optional<std::string> stateOfFile(const std::string &path) {
    std::error_code unknown;
    struct stat found {};
    const auto time = std::filesystem::last_write_time(path, unknown).time_since_epoch().count();
    if (unknown || ::stat(path.c_str(), &found) != 0) {
        return std::nullopt;
    }
    return std::to_string(found.st_size) + " " + std::to_string(static_cast<long long>(time)) + " " +
           std::to_string(static_cast<unsigned long long>(found.st_ino));
}

} // namespace kestrav::platform
