#include "platform/TrustedPath.h"

#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kestrav::platform {

namespace {

namespace fs = std::filesystem;

constexpr const char *belongsToAnother =
    " belongs to another user and lies in a folder where everybody can create files";
constexpr const char *everybodyWrites = "everybody can write to it";

/// The steps from one place to another, the next one last.
using Steps = std::vector<std::string>;

std::optional<struct stat> status(const std::string &path, bool followLink) {
    struct stat result {};
    const int failure = followLink ? ::stat(path.c_str(), &result) : ::lstat(path.c_str(), &result);
    return failure == 0 ? std::optional(result) : std::nullopt;
}

bool everybodyCanWrite(const struct stat &item) {
    return (item.st_mode & S_IWOTH) != 0;
}

void addSteps(Steps &steps, const std::string &path) {
    const auto names = componentsSeparatedBy(path, "/");
    std::copy_if(names.rbegin(), names.rend(), std::back_inserter(steps),
                 [](const std::string &name) { return !name.empty() && name != "."; });
}

/// The users whose files are trusted: this one, root and the owner of the bundle.
class TrustedUsers {
public:
    explicit TrustedUsers(const std::string &bundlePath) : bundle_(status(bundlePath, true)) {}

    [[nodiscard]] bool own(const struct stat &item) const {
        return item.st_uid == 0 || item.st_uid == ::geteuid() || (bundle_ && item.st_uid == bundle_->st_uid);
    }

private:
    std::optional<struct stat> bundle_;
};

/// What was met on the way to a path.
struct Way {
    std::optional<std::string> reason; // why the path must not be trusted
    bool passesOpenFolder = false;     // a folder where everybody can create files
    std::optional<struct stat> end;    // what the path led to, if anything
};

Way follow(const std::string &path, const TrustedUsers &trustedUsers) {
    constexpr int mostLinks = 40; // the same limit as Linux has
    std::error_code error;
    Steps steps;
    addSteps(steps, fs::absolute(path, error).string());
    std::string place = "/";
    Way way;
    way.end = status(place, true);
    for (int links = 0; way.end && !steps.empty() && links <= mostLinks;) {
        const std::string next = appendingPathComponent(place, steps.back());
        const bool up = steps.back() == "..";
        steps.pop_back();
        const auto item = status(next, false);
        if (!up && everybodyCanWrite(*way.end)) {
            way.passesOpenFolder = true;
            if (item && !trustedUsers.own(*item)) {
                way.reason = next + belongsToAnother;
                return way;
            }
        }
        if (item && S_ISLNK(item->st_mode)) {
            const std::string target = fs::read_symlink(next, error).string();
            place = target.starts_with('/') ? "/" : place;
            addSteps(steps, target);
            ++links;
        } else {
            place = next;
        }
        way.end = item ? status(place, true) : std::nullopt;
    }
    return way;
}

} // namespace

std::optional<std::string> reasonToDistrust(const std::string &path, const std::string &bundlePath) {
    Way way = follow(path, TrustedUsers(bundlePath));
    return !way.reason && way.end && everybodyCanWrite(*way.end) ? everybodyWrites : std::move(way.reason);
}

std::optional<std::string> reasonToDistrust(const FileDescriptor &file, const std::string &path,
                                            const std::string &bundlePath) {
    struct stat opened {};
    if (::fstat(file.get(), &opened) != 0) {
        return std::generic_category().message(errno);
    }
    const TrustedUsers trustedUsers(bundlePath);
    Way way = follow(path, trustedUsers);
    if (!way.reason && everybodyCanWrite(opened)) {
        return everybodyWrites;
    }
    // The file may have been exchanged since it was opened, because the folder allows that.
    if (!way.reason && way.passesOpenFolder && !trustedUsers.own(opened)) {
        return path + belongsToAnother;
    }
    return std::move(way.reason);
}

} // namespace kestrav::platform
