#include "mac_installer/launcher/RuntimeStore.h"

#include "mac_installer/launcher/RuntimeHome.h"
#include "platform/Clock.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/FolderList.h"
#include "platform/PrivateFolder.h"
#include "platform/URLDownload.h"
#include "platform/path.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kestrav {

using platform::appendingPathComponent;
using platform::FileLock;

namespace {

namespace fs = std::filesystem;

// What lies in the folder of a runtime.
constexpr const char *runtimeName = "jre.bundle";
constexpr const char *listName = "list";

constexpr std::int64_t largestList = std::int64_t{16} * 1024 * 1024;

[[noreturn]] void raiseNotKept(const std::string &path, const std::string &reason) {
    throw platform::Exception(NotKeptException, path + ": " + reason);
}

void requireSuccess(const std::string &path, const std::error_code &error) {
    if (error) {
        raiseNotKept(path, error.message());
    }
}

bool isThere(const std::string &path) {
    std::error_code unknown;
    return fs::exists(fs::symlink_status(path, unknown));
}

/// When a kept runtime was used last; empty if it is not there.
std::optional<fs::file_time_type> lastUseOf(const std::string &place) {
    std::error_code missing;
    const bool isFolder = fs::is_directory(fs::symlink_status(place, missing));
    const auto time = isFolder ? fs::last_write_time(place, missing) : fs::file_time_type();
    return isFolder && !missing ? std::optional(time) : std::nullopt;
}

bool isWhole(const std::string &place) {
    const auto list = platform::contentsOfFile(appendingPathComponent(place, listName), largestList);
    return list && platform::folderHolds(appendingPathComponent(place, runtimeName), *list);
}

/// Removes something that may be missing.
std::error_code removeIfThere(const std::string &path) {
    return isThere(path) ? platform::removeItemAtPath(path) : std::error_code();
}

} // namespace

NewRuntime::~NewRuntime() {
    if (lock_.descriptor() >= 0) {
        removeFolder();
    }
}

void NewRuntime::removeFolder() const {
    // What cannot be removed is left to the next run, here and below.
    static_cast<void>(removeIfThere(appendingPathComponent(folder_, name_ + RuntimeStore::newSuffix)));
}

void NewRuntime::removeArchive() const {
    const std::string archive = archivePath();
    for (const std::string &path : {platform::partNotePath(archive), platform::partPath(archive), archive}) {
        static_cast<void>(removeIfThere(path));
    }
}

std::string NewRuntime::archivePath() const {
    return RuntimeStore(folder_).archiveOf(name_);
}

bool NewRuntime::hasArchive() const {
    std::error_code missing;
    return fs::is_regular_file(fs::symlink_status(archivePath(), missing));
}

std::string NewRuntime::makeFolder(std::optional<std::int64_t> room) const {
    if (const auto objection = platform::objectionToRoom(folder_, room.value_or(0)); !objection.empty()) {
        raiseNotKept(folder_, objection);
    }
    const std::string place = appendingPathComponent(folder_, name_ + RuntimeStore::newSuffix);
    std::string runtime = appendingPathComponent(place, runtimeName);
    for (const std::string &path : {place, runtime}) {
        std::error_code error = platform::createDirectoryAtPath(path, false);
        if (!error) {
            fs::permissions(path, fs::perms::owner_all, error); // whatever the umask
        }
        requireSuccess(path, error);
    }
    if (!platform::programsCanBeStartedFrom(place)) {
        raiseNotKept(folder_, "programs cannot be started from it");
    }
    return runtime;
}

void NewRuntime::finish() const {
    const std::string place = appendingPathComponent(folder_, name_ + RuntimeStore::newSuffix);
    const auto list = platform::listOfFolder(appendingPathComponent(place, runtimeName));
    if (!list) {
        raiseNotKept(place, std::generic_category().message(errno));
    }
    requireSuccess(place, platform::writeFileAtomically(appendingPathComponent(place, listName), *list));
    requireSuccess(place, platform::syncFolder(place));
    requireSuccess(place, platform::moveWithin(folder_, name_ + RuntimeStore::newSuffix, name_));
    removeArchive();
}

std::string RuntimeStore::objection(std::int64_t room) const {
    return platform::objectionToFutureFolder(folder_, room);
}

std::string RuntimeStore::placeOf(const std::string &name) const {
    return appendingPathComponent(folder_, name);
}

std::string RuntimeStore::archiveOf(const std::string &name) const {
    return placeOf(name) + archiveSuffix;
}

bool RuntimeStore::mayHold(const std::string &name) const {
    return lastUseOf(placeOf(name)) && platform::objectionToPrivateFolder(folder_).empty();
}

std::optional<std::string> RuntimeStore::look(const std::string &name) const {
    const bool found = mayHold(name) && isWhole(placeOf(name));
    return found ? std::optional(extractedRuntime(appendingPathComponent(placeOf(name), runtimeName))) : std::nullopt;
}

std::optional<KeptRuntime> RuntimeStore::find(const std::string &name) const {
    return mayHold(name) ? use(name) : std::nullopt;
}

std::optional<KeptRuntime> RuntimeStore::use(const std::string &name) const {
    const std::string place = appendingPathComponent(folder_, name);
    auto lock = FileLock::tryLock(place + lockSuffix, FileLock::Mode::shared);
    if (!lock || !isWhole(place)) {
        errno = lock ? 0 : errno;
        return std::nullopt;
    }
    // The run that made it may have been killed before it removed the archive.
    static_cast<void>(removeIfThere(place + archiveSuffix));
    std::error_code unimportant;
    fs::last_write_time(place, fs::file_time_type::clock::now(), unimportant);
    return KeptRuntime(extractedRuntime(appendingPathComponent(place, runtimeName)), std::move(*lock));
}

std::variant<KeptRuntime, NewRuntime> RuntimeStore::obtain(const std::string &name,
                                                           const std::function<void()> &checkpoint) const {
    constexpr std::int64_t interval = 20'000; // microseconds
    constexpr int patience = 50;              // with a damaged runtime that others use
    requireSuccess(folder_, platform::makePrivateFolder(folder_));
    if (const std::string objection = platform::objectionToPrivateFolder(folder_); !objection.empty()) {
        raiseNotKept(folder_, objection);
    }
    const std::string place = appendingPathComponent(folder_, name);
    std::optional<fs::file_time_type> damaged; // the state in which it was looked at in vain
    for (int refusals = 0; refusals < patience;) {
        const auto state = lastUseOf(place);
        if (state && state != damaged) {
            if (auto runtime = use(name)) {
                return std::move(*runtime);
            }
            damaged = errno == 0 ? state : damaged;
        }
        if (auto lock = FileLock::tryLock(place + lockSuffix, FileLock::Mode::exclusive)) {
            if (lastUseOf(place) == damaged) {
                return prepare(name, std::move(*lock));
            }
            continue; // another run has put it there meanwhile
        }
        if (errno != EWOULDBLOCK) {
            raiseNotKept(folder_, std::generic_category().message(errno));
        }
        const bool makesIt = !FileLock::tryLock(place + lockSuffix, FileLock::Mode::shared).has_value();
        refusals += makesIt ? 0 : 1;
        checkpoint();
        platform::sleepMicroseconds(interval);
    }
    raiseNotKept(place, "it is damaged, and in use");
}

NewRuntime RuntimeStore::prepare(const std::string &name, FileLock lock) const {
    const std::string place = appendingPathComponent(folder_, name);
    requireSuccess(place, isThere(place) ? remove(place, "") : remove(place, oldSuffix));
    requireSuccess(place, remove(place, newSuffix));
    return {folder_, name, std::move(lock)};
}

std::error_code RuntimeStore::remove(const std::string &place, const std::string &suffix) {
    if (!suffix.empty()) {
        return removeIfThere(place + suffix);
    }
    // By way of another name, so that no part of it is ever found under its own.
    std::error_code error = removeIfThere(place + oldSuffix);
    if (!error) {
        fs::rename(place, place + oldSuffix, error);
    }
    return error ? error : removeIfThere(place + oldSuffix);
}

} // namespace kestrav
