#include "mac_installer/launcher/RuntimeKeeping.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "platform/Bundle.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/FolderList.h"
#include "platform/SHA256.h"
#include "platform/format.h"
#include "platform/path.h"

#include <algorithm>
#include <utility>

namespace kestrav {

namespace {

constexpr const char *signature = "-[AppDelegate worker:]";

constexpr const char *storeName = "runtimes";

const std::string &bundlePath() {
    return platform::Bundle::mainBundle().bundlePath();
}

std::string storeFolder() {
    const auto configured = runtimeCacheValue(infoDictionary());
    if (!configured) {
        return platform::appendingPathComponent(platform::cacheDirectory(), storeName);
    }
    const std::string path = replacingAppPackage(*configured, bundlePath());
    return path.starts_with('~') ? platform::homeDirectory() + path.substr(1) : path;
}

/// What identifies an archive of which no digest is known.
std::string identityOf(const std::string &origin, bool isShipped) {
    return isShipped ? origin + "\n" + platform::stateOfFile(origin).value_or("") : origin;
}

} // namespace

std::vector<std::string> usualStoreFolders() {
    std::vector<std::string> folders;
    for (const std::string &cache : platform::cacheDirectories()) {
        std::string folder = platform::appendingPathComponent(cache, storeName);
        if (platform::directoryExistsAtPath(folder)) {
            folders.push_back(std::move(folder));
        }
    }
    return folders;
}

std::optional<KeptRuntime> findKeptRuntime(const std::string &origin, bool isShipped) {
    const auto place = placeOfRuntime(origin, isShipped);
    return place ? place->store.find(place->name) : std::nullopt;
}

std::optional<RuntimePlace> placeOfRuntime(const std::string &origin, bool isShipped) {
    const auto digest = digestValue(infoDictionary()); // a mistake in it counts before anything is downloaded
    if (!booleanValue(infoDictionary(), "ksv.keepRuntime").value_or(false)) {
        return std::nullopt;
    }
    RuntimeStore store(storeFolder());
    if (digest) {
        return RuntimePlace{std::move(store), *digest};
    }
    try {
        return RuntimePlace{std::move(store), platform::sha256OfText(bundlePath(), identityOf(origin, isShipped))};
    } catch (const platform::Exception &exception) {
        _DLog("%s [Line %d] the runtime is not kept: %@", signature, __LINE__, exception.reason());
        return std::nullopt;
    }
}

std::chrono::hours keepingTime() {
    constexpr std::int64_t usualDays = 30;
    constexpr std::int64_t mostDays = 36'500;
    const auto days = integerValue(infoDictionary(), "ksv.keepDays").value_or(usualDays);
    return std::chrono::hours(24) * std::clamp<std::int64_t>(days, 0, mostDays);
}

std::optional<DigestDifference> differenceOfDigest(const std::string &archive,
                                                   const std::function<void()> &checkpoint) {
    const auto expected = digestValue(infoDictionary());
    if (!expected) {
        return std::nullopt;
    }
    const std::string found = platform::sha256OfFile(bundlePath(), archive, checkpoint);
    return found == *expected ? std::nullopt : std::optional(DigestDifference{*expected, found});
}

} // namespace kestrav
