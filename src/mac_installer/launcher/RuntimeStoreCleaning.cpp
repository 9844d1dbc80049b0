#include "mac_installer/launcher/RuntimeStore.h"

#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/PrivateFolder.h"
#include "platform/SHA256.h"
#include "platform/path.h"

#include <algorithm>
#include <filesystem>

namespace kestrav {

using platform::appendingPathComponent;
using platform::FileLock;

namespace {

namespace fs = std::filesystem;

std::chrono::seconds ageOf(const std::string &path) {
    std::error_code unknown;
    const auto changed = fs::last_write_time(path, unknown);
    return unknown ? std::chrono::seconds(0)
                   : std::chrono::duration_cast<std::chrono::seconds>(fs::file_time_type::clock::now() - changed);
}

/// The bytes of all files in a folder, or of one file.
std::int64_t sizeOf(const std::string &path) {
    const auto ofFile = [](const fs::path &file) {
        std::error_code unknown;
        const bool counts = fs::is_regular_file(fs::symlink_status(file, unknown));
        const auto size = counts ? fs::file_size(file, unknown) : 0;
        return unknown ? 0 : static_cast<std::int64_t>(size);
    };
    std::int64_t size = ofFile(path);
    std::error_code error;
    for (fs::recursive_directory_iterator item(path, error), end; !error && item != end; item.increment(error)) {
        size += ofFile(item->path());
    }
    return size;
}

} // namespace

std::map<std::string, std::set<std::string>> RuntimeStore::contents() const {
    constexpr std::size_t nameLength = 64;
    std::map<std::string, std::set<std::string>> suffixes;
    for (const std::string &item : platform::contentsOfDirectoryAtPath(folder_).value_or(std::vector<std::string>())) {
        const std::string name = item.substr(0, nameLength);
        if (platform::normalizedSHA256(name) == name) {
            suffixes[name].insert(item.substr(nameLength));
        }
    }
    return suffixes;
}

void RuntimeStore::removeUnused(std::chrono::hours age) const {
    for (const auto &[name, suffixes] : contents()) {
        const std::string place = appendingPathComponent(folder_, name);
        const auto lock = FileLock::tryLock(place + lockSuffix, FileLock::Mode::exclusive);
        if (!lock) {
            continue;
        }
        bool gone = true;
        for (const std::string &suffix : suffixes) {
            const bool isArchive = suffix.starts_with(archiveSuffix);
            const bool isRest = suffix == newSuffix || suffix == oldSuffix || (isArchive && suffixes.count("") > 0);
            if (suffix != lockSuffix) {
                gone = (isRest || ageOf(place + suffix) > age) && !remove(place, suffix) && gone;
            }
        }
        if (gone) {
            platform::removeItemAtPath(place + lockSuffix);
        }
    }
}

std::vector<RuntimeStore::Entry> RuntimeStore::clean() const {
    std::error_code missing;
    const bool isThere = fs::exists(fs::symlink_status(folder_, missing));
    if (const auto objection = isThere ? platform::objectionToPrivateFolder(folder_) : ""; !objection.empty()) {
        throw platform::Exception(NotKeptException, folder_ + ": " + objection);
    }
    std::vector<Entry> entries;
    for (const auto &[name, suffixes] : contents()) {
        const std::string place = appendingPathComponent(folder_, name);
        Entry entry;
        entry.name = name;
        const auto lock = FileLock::tryLock(place + lockSuffix, FileLock::Mode::exclusive);
        entry.inUse = !lock;
        entry.isRuntime = suffixes.count("") > 0;
        entry.lastUse = std::chrono::system_clock::now() - ageOf(place);
        for (const std::string &suffix : suffixes) {
            entry.size += suffix == lockSuffix ? 0 : sizeOf(place + suffix);
            const auto error = lock && suffix != lockSuffix ? remove(place, suffix) : std::error_code();
            entry.failure = error ? error.message() : entry.failure;
        }
        if (lock && entry.failure.empty()) {
            platform::removeItemAtPath(place + lockSuffix);
        }
        if (entry.isRuntime || entry.size > 0) {
            entries.push_back(std::move(entry));
        }
    }
    return entries;
}

} // namespace kestrav
