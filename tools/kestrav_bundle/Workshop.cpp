#include "Workshop.h"

#include "Interruption.h"
#include "platform/FileManager.h"
#include "platform/path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;
using platform::FileDescriptor;
using platform::FileLock;

constexpr auto exclusive = FileLock::Mode::exclusive;

constexpr std::string_view prefix = ".kestrav-bundle-";
constexpr const char *moved = "old"; // in a workshop: holds the application on the way, under its own name

FileDescriptor openFolder(const std::string &path) {
    return FileDescriptor::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

/// Waits until no other run moves applications in the folder; the turn ends with the lock. Some file systems have no
/// locks: there the runs are not kept apart.
std::optional<FileLock> takeTurn(const std::string &folder) {
    constexpr std::chrono::milliseconds pause(10);
    for (;;) {
        auto turn = FileLock::take(FileDescriptor::open(folder.c_str(), O_RDONLY | O_DIRECTORY), exclusive);
        if (turn || errno != EWOULDBLOCK) {
            return turn;
        }
        raiseIfInterrupted();
        std::this_thread::sleep_for(pause);
    }
}

bool isThere(const std::string &path) {
    std::error_code unknown;
    return fs::exists(fs::symlink_status(path, unknown));
}

bool isOurs(const FileLock &folder) {
    struct stat found {};
    return ::fstat(folder.descriptor(), &found) == 0 && found.st_uid == ::geteuid();
}

/// Puts applications back where nothing has taken their place. False if one of them could not be.
bool putBack(const std::string &workshop, const std::string &folder) {
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(appendingPathComponent(workshop, moved), error)) {
        const std::string place = appendingPathComponent(folder, entry.path().filename().string());
        if (!isThere(place)) {
            fs::rename(entry.path(), place, error);
            if (error) {
                return false;
            }
        }
    }
    return true;
}

std::vector<std::string> workshopsIn(const std::string &folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().string().starts_with(prefix)) {
            paths.push_back(entry->path().string());
        }
    }
    return paths;
}

} // namespace

std::string folderOf(const std::string &output) {
    const std::string parent = platform::deletingLastPathComponent(output);
    return parent.empty() ? "." : parent;
}

void tidyUp(const std::string &folder) {
    const auto left = workshopsIn(folder);
    const auto turn = left.empty() ? std::nullopt : takeTurn(folder);
    for (const std::string &workshop : left) {
        const auto lock = FileLock::take(openFolder(workshop), exclusive);
        if (lock && isOurs(*lock) && lock->isAt(workshop) && putBack(workshop, folder)) {
            std::error_code stays;
            fs::remove_all(workshop, stays);
        }
    }
}

void refuseOccupiedPlace(const Request &request) {
    if (!isThere(request.output)) {
        return;
    }
    if (!request.replace) {
        throw Refusal(request.output + " is already there; --replace puts the new one in its place");
    }
    if (!fs::exists(appendingPathComponent(request.output, "Contents/Info.plist"))) {
        throw Refusal(request.output + " is not an application, so it is not replaced");
    }
}

Workshop::Workshop(const Request &request) : request_(request) {
    const std::string folder = folderOf(request.output);
    const auto require = [&](bool succeeded) {
        if (!succeeded) {
            throw Refusal("Could not make anything in the folder " + folder + ": " +
                          std::generic_category().message(errno));
        }
    };
    // Another run may take the new folder for one that was left, as long as it is not locked.
    constexpr int attempts = 100;
    for (int i = 0; i < attempts; ++i) {
        path_ = appendingPathComponent(folder, std::string(prefix) + "XXXXXX");
        require(::mkdtemp(path_.data()) != nullptr);
        FileDescriptor opened = openFolder(path_);
        const bool isOpen = opened.valid();
        lock_ = FileLock::take(std::move(opened), exclusive);
        const bool hasNoLocks = isOpen && !lock_ && errno != EWOULDBLOCK;
        if (hasNoLocks || (lock_ && lock_->isAt(path_))) {
            return;
        }
        ::rmdir(path_.c_str());
    }
    errno = EBUSY;
    require(false);
}

Workshop::~Workshop() {
    if (!kept_) {
        std::error_code left;
        fs::remove_all(path_, left);
    }
}

std::string Workshop::pathOf(const char *name) const {
    return appendingPathComponent(path_, name);
}

void Workshop::refuse(const std::error_code &error, const std::string &addition) const {
    throw Refusal("The application could not be put at " + request_.output + ": " + error.message() + addition);
}

std::string Workshop::replaceInTwoSteps(const std::string &finished) {
    std::string old = appendingPathComponent(pathOf(moved), platform::lastPathComponent(request_.output));
    fs::create_directory(pathOf(moved));
    fs::rename(request_.output, old);
    std::error_code error;
    fs::rename(finished, request_.output, error);
    if (error) {
        std::error_code lost;
        fs::rename(old, request_.output, lost);
        kept_ = static_cast<bool>(lost);
        refuse(error, lost ? "; the old one is " + old : "");
    }
    return old;
}

void Workshop::deliver(const std::string &finished, std::vector<std::string> &notes) {
    auto turn = takeTurn(folderOf(request_.output));
    raiseIfInterrupted();
    refuseOccupiedPlace(request_);
    std::string old = finished;
    std::error_code error;
    if (isThere(request_.output)) {
        error = platform::exchangeItems(finished, request_.output);
        if (platform::isUnsupportedExchange(error)) {
            old = replaceInTwoSteps(finished);
            error.clear();
        }
    } else {
        fs::rename(finished, request_.output, error);
    }
    if (error) {
        refuse(error);
    }
    turn.reset();
    fs::remove_all(old, error);
    if (error) {
        notes.push_back("the old application could not be removed, the rest is " + old + ": " + error.message());
    }
}

} // namespace kestrav::tools
