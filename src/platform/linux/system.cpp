#include "platform/posix/system.h"

#include "platform/Executable.h"
#include "platform/FileDescriptor.h"
#include "platform/FileManager.h"
#include "platform/PrivateFolder.h"
#include "platform/ProcessInfo.h"
#include "platform/testing.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>

namespace kestrav::platform {

bool sentByTerminal(int number, const siginfo_t *info) {
    const bool typed = number == SIGINT || number == SIGQUIT;
    return typed && info != nullptr && info->si_pid == 0 && info->si_code != SI_USER;
}

int closeOtherDescriptors(posix_spawn_file_actions_t &actions, short & /*flags*/, int first) {
    return posix_spawn_file_actions_addclosefrom_np(&actions, first);
}

ssize_t copyPipe(int from, int to) {
    constexpr std::size_t asMuchAsItHolds = 1U << 20U;
    return tee(from, to, asMuchAsItHolds, SPLICE_F_NONBLOCK);
}

int unreadBytes(int writeEnd) {
    int count = 0;
    return ioctl(writeEnd, FIONREAD, &count) == 0 ? count : -1;
}

std::uint64_t mountOf(int directory) {
    struct statx found {};
    if (::statx(directory, "", AT_EMPTY_PATH, STATX_MNT_ID, &found) == 0 && (found.stx_mask & STATX_MNT_ID) != 0) {
        return found.stx_mnt_id;
    }
    struct stat status {}; // for kernels before 5.8, where a folder mounted a second time has the same device
    return ::fstat(directory, &status) == 0 ? status.st_dev : 0;
}

bool forbidsPrograms(int directory) {
    struct statvfs found {};
    return ::fstatvfs(directory, &found) == 0 && (found.f_flag & ST_NOEXEC) != 0;
}

std::error_code exchangeItems(const std::string &path, const std::string &other) {
    const bool done = ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
    return done ? std::error_code() : lastError();
}

std::string executablePath() {
    std::error_code unknown;
    return std::filesystem::read_symlink("/proc/self/exe", unknown).string();
}

std::optional<std::int32_t> systemControlInteger(const std::string &name) {
    // The program asks only for settings that this system does not have.
    const auto &replacement = testing::replacements().systemControl;
    return replacement ? replacement(name) : std::nullopt;
}

std::error_code syncFolder(const std::string &path) {
    // One call for the whole file system: a call for each of hundreds of files takes seconds on most storage.
    const FileDescriptor folder = FileDescriptor::open(path.c_str(), O_RDONLY | O_DIRECTORY);
    return folder.valid() && ::syncfs(folder.get()) == 0 ? std::error_code() : lastError();
}

} // namespace kestrav::platform
