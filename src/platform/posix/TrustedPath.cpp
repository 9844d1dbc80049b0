#include "platform/TrustedPath.h"

#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kestrav::platform {

namespace {

namespace fs = std::filesystem;

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

} // namespace

std::optional<std::string> reasonToDistrust(const std::string &path, const std::string &bundlePath) {
    constexpr int mostLinks = 40; // as many as Linux follows
    const auto bundle = status(bundlePath, true);
    const auto isTrusted = [&](uid_t user) {
        return user == 0 || user == ::geteuid() || (bundle && user == bundle->st_uid);
    };
    std::error_code error;
    Steps steps;
    addSteps(steps, fs::absolute(path, error).string());
    std::string place = "/";
    auto folder = status(place, true);
    for (int links = 0; folder && !steps.empty() && links <= mostLinks;) {
        const std::string next = appendingPathComponent(place, steps.back());
        const bool up = steps.back() == "..";
        steps.pop_back();
        const auto item = status(next, false);
        if (item && !up && everybodyCanWrite(*folder) && !isTrusted(item->st_uid)) {
            return next + " belongs to another user and lies in a folder where everybody can create files";
        }
        if (item && S_ISLNK(item->st_mode)) {
            const std::string target = fs::read_symlink(next, error).string();
            place = target.starts_with('/') ? "/" : place;
            addSteps(steps, target);
            ++links;
        } else {
            place = next;
        }
        folder = item ? status(place, true) : std::nullopt;
    }
    return folder && everybodyCanWrite(*folder) ? std::optional<std::string>("everybody can write to it")
                                                : std::nullopt;
}

} // namespace kestrav::platform
