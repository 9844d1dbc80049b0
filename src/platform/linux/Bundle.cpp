#include "platform/Bundle.h"

#include "platform/FileManager.h"
#include "platform/SystemLog.h"
#include "platform/linux/Localization.h"
#include "platform/linux/ReleaseFile.h"
#include "platform/linux/StringTable.h"
#include "platform/path.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

#include <filesystem>
#include <mutex>

namespace kestrav::platform {

namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

/// The value if it is a string that is not empty.
std::optional<std::string> nonEmptyString(const PropertyList *value) {
    const auto *text = value != nullptr ? value->as<std::string>() : nullptr;
    return text != nullptr && !text->empty() ? std::optional(*text) : std::nullopt;
}

PropertyList readInformation(const std::string &bundlePath) {
    for (const char *place : {"Contents/Info.plist", "Resources/Info.plist", "Info.plist"}) {
        const std::string file = appendingPathComponent(bundlePath, place);
        if (!FileManager().fileExistsAtPath(file)) {
            continue;
        }
        const auto content = contentsOfFile(file);
        auto information = content ? PropertyList::parse(*content) : std::nullopt;
        if (information && information->as<PropertyList::Dictionary>() != nullptr) {
            return *std::move(information);
        }
        Log("%s [Line %d] Info.plist of %@ is damaged or cannot be read", "+[Bundle create:]", __LINE__, bundlePath);
        return {};
    }
    return releaseInformation(bundlePath);
}

/// X.app for X.app/Contents/MacOS/NAME, otherwise the executable's directory.
std::string pathOfOwnBundle() {
    std::error_code error;
    const std::string executable = std::filesystem::read_symlink("/proc/self/exe", error).string();
    const std::string directory = deletingLastPathComponent(error ? "/" : executable);
    const std::string contents = deletingLastPathComponent(directory);
    const bool isBundle = lastPathComponent(directory) == "MacOS" && lastPathComponent(contents) == "Contents";
    return isBundle ? deletingLastPathComponent(contents) : directory;
}

struct MainBundle {
    std::mutex mutex;
    std::optional<std::string> replacedPath;
    const Bundle *current = nullptr;                 // null: to be opened
    std::vector<std::unique_ptr<const Bundle>> made; // earlier ones too: somebody may still refer to them
};

MainBundle &mainBundleState() {
    static NeverDestroyed<MainBundle> state;
    return state.get();
}

} // namespace

void testing::setMainBundle(const std::optional<std::string> &path) {
    MainBundle &state = mainBundleState();
    const std::scoped_lock lock(state.mutex);
    state.replacedPath = path;
    state.current = nullptr;
}

const Bundle &Bundle::mainBundle() {
    MainBundle &state = mainBundleState();
    const std::scoped_lock lock(state.mutex);
    if (state.current == nullptr) {
        std::string path = withoutTrailingSlash(state.replacedPath ? *state.replacedPath : pathOfOwnBundle());
        PropertyList information = readInformation(path);
        state.made.push_back(std::unique_ptr<Bundle>(new Bundle(std::move(path), std::move(information))));
        state.current = state.made.back().get();
    }
    return *state.current;
}

std::unique_ptr<Bundle> Bundle::create(const std::string &path) {
    if (!FileManager().directoryExistsAtPath(path)) {
        return nullptr;
    }
    std::string ownPath = withoutTrailingSlash(path);
    PropertyList information = readInformation(ownPath);
    return std::unique_ptr<Bundle>(new Bundle(std::move(ownPath), std::move(information)));
}

std::optional<std::string> Bundle::bundleIdentifier() const {
    const PropertyList *value = objectForInfoDictionaryKey("CFBundleIdentifier");
    const auto *text = value != nullptr ? value->as<std::string>() : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::string Bundle::resourcePath() const {
    for (const char *place : {"Contents/Resources", "Resources"}) {
        std::string directory = appendingPathComponent(path_, place);
        if (FileManager().directoryExistsAtPath(directory)) {
            return directory;
        }
    }
    return path_;
}

std::optional<std::string> Bundle::pathForResource(std::string_view name, std::string_view extension) const {
    std::string file(name);
    if (!extension.empty()) {
        file.append(".").append(extension);
    }
    std::string path = appendingPathComponent(resourcePath(), file);
    return FileManager().fileExistsAtPath(path) ? std::optional(std::move(path)) : std::nullopt;
}

std::string Bundle::localizedStringForKey(std::string_view key, std::string_view value) const {
    const auto region = nonEmptyString(objectForInfoDictionaryKey("CFBundleDevelopmentRegion"));
    if (const auto file = localizedResource(resourcePath(), "Localizable.strings", region)) {
        const StringTable table = parseStringTable(contentsOfFile(*file).value_or(std::string()));
        if (const auto entry = table.find(key); entry != table.end()) {
            return entry->second;
        }
    }
    return std::string(value.empty() ? key : value);
}

} // namespace kestrav::platform
