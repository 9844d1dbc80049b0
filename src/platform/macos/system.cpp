#include "platform/posix/system.h"

#include "platform/Executable.h"
#include "platform/FileDescriptor.h"
#include "platform/FileManager.h"
#include "platform/PrivateFolder.h"
#include "platform/ProcessInfo.h"
#include "platform/testing.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <mach-o/dyld.h>
#include <stdio.h> // NOLINT(modernize-deprecated-headers): <cstdio> need not declare renamex_np
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <initializer_list>

namespace kestrav::platform {

/// The system does not say where a signal comes from. If our group is in the terminal's foreground, the signal counts
/// as the terminal's, because a key is by far the most likely origin.
bool sentByTerminal(int number, const siginfo_t * /*info*/) {
    if (number != SIGINT && number != SIGQUIT) {
        return false;
    }
    const FileDescriptor terminal(::open("/dev/tty", O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    return terminal.valid() && tcgetpgrp(terminal.get()) == getpgrp();
}

int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short &flags, int /*first*/) {
    // With this flag only descriptors named in a file action stay open.
    flags = static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (const int error = posix_spawn_file_actions_addinherit_np(&actions, descriptor)) {
            return error;
        }
    }
    return 0;
}

ssize_t copyPipe(int /*from*/, int /*to*/) {
    errno = ENOSYS;
    return -1;
}

int unreadBytes(int /*writeEnd*/) {
    return -1; // the system reports it only at the read end, which belongs to the child
}

std::uint64_t mountOf(int directory) {
    struct stat status {};
    return ::fstat(directory, &status) == 0 ? static_cast<std::uint64_t>(status.st_dev) : 0;
}

bool forbidsPrograms(int directory) {
    struct statfs found {};
    return ::fstatfs(directory, &found) == 0 && (found.f_flags & MNT_NOEXEC) != 0;
}

std::error_code exchangeItems(const std::string &path, const std::string &other) {
    const bool done = ::renamex_np(path.c_str(), other.c_str(), RENAME_SWAP) == 0;
    return done ? std::error_code() : lastError();
}

std::string executablePath() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size); // tells the size that it needs, the final zero counted
    std::string path(size, '\0');
    if (size == 0 || _NSGetExecutablePath(path.data(), &size) != 0) {
        return "";
    }
    path.resize(path.find('\0'));
    return path;
}

std::optional<std::int32_t> systemControlInteger(const std::string &name) {
    if (const auto &replacement = testing::replacements().systemControl) {
        return replacement(name);
    }
    std::int32_t value = 0;
    std::size_t size = sizeof value;
    const bool known = sysctlbyname(name.c_str(), &value, &size, nullptr, 0) == 0 && size == sizeof value;
    return known ? std::optional(value) : std::nullopt;
}

namespace {

std::error_code sync(const std::string &path) {
    const FileDescriptor item = FileDescriptor::open(path.c_str(), O_RDONLY | O_NOFOLLOW);
    const bool synced = item.valid() && uninterrupted([&] { return ::fsync(item.get()); }) == 0;
    return synced ? std::error_code() : lastError();
}

} // namespace

std::error_code syncFolder(const std::string &path) {
    namespace fs = std::filesystem;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
        const fs::file_type type = entry->symlink_status(error).type();
        if (!error && (type == fs::file_type::regular || type == fs::file_type::directory)) {
            error = sync(entry->path().string());
        }
        if (error) {
            return error;
        }
    }
    return error ? error : sync(path);
}

} // namespace kestrav::platform
