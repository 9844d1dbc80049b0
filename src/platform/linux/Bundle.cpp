#include "platform/Bundle.h"

#include "platform/Executable.h"
#include "platform/FileManager.h"
#include "platform/linux/Localization.h"
#include "platform/linux/StringTable.h"
#include "platform/path.h"

#include <filesystem>

namespace kestrav::platform {

namespace {

/// A bundle's information dictionary, and what is wrong with its file.
struct Information {
    PropertyList dictionary;
    std::optional<std::string> damage;
};

Information readInformation(const std::string &bundlePath) {
    const auto file = Bundle::infoPlistPath(bundlePath);
    if (!file) {
        return {};
    }
    const auto content = contentsOfFile(*file);
    auto information = content ? PropertyList::parse(*content) : std::nullopt;
    if (information && information->as<PropertyList::Dictionary>() != nullptr) {
        return {*std::move(information), std::nullopt};
    }
    return {{}, "its Info.plist is damaged or cannot be read"};
}

/// The strings of the user's preferred language; none if the bundle has no table.
StringTable stringTableOf(const Bundle &bundle) {
    const auto region = bundle.infoDictionary().stringForKey("CFBundleDevelopmentRegion");
    const auto file = localizedResource(bundle.resourcePath(), "Localizable.strings", region);
    return file ? parseStringTable(contentsOfFile(*file).value_or(std::string())) : StringTable();
}

} // namespace

std::string Bundle::ownPath() {
    const std::string executable = executablePath();
    const std::string directory = deletingLastPathComponent(executable.empty() ? "/" : executable);
    const std::string contents = deletingLastPathComponent(directory);
    const bool isBundle = lastPathComponent(directory) == "MacOS" && lastPathComponent(contents) == "Contents";
    return isBundle ? deletingLastPathComponent(contents) : directory;
}

std::unique_ptr<Bundle> Bundle::create(const std::string &path) {
    if (!directoryExistsAtPath(path)) {
        return nullptr;
    }
    std::string ownPath(withoutTrailingSlashes(path));
    Information information = readInformation(ownPath);
    return create(std::move(ownPath), std::move(information.dictionary), std::move(information.damage));
}

std::optional<std::string> Bundle::localizedInfoStringForKey(std::string_view key) const {
    return info_.stringForKey(key);
}

std::string Bundle::resourcePath() const {
    for (const char *place : {"Contents/Resources", "Resources"}) {
        std::string directory = appendingPathComponent(path_, place);
        if (directoryExistsAtPath(directory)) {
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
    return fileExistsAtPath(path) ? std::optional(std::move(path)) : std::nullopt;
}

std::string Bundle::localizedStringForKey(std::string_view key, std::string_view value) const {
    const StringTable table = stringTableOf(*this);
    const auto entry = table.find(key);
    return entry != table.end() ? entry->second : std::string(value.empty() ? key : value);
}

std::vector<std::string> Bundle::localizedStringKeys() const {
    std::vector<std::string> keys;
    for (const auto &[key, text] : stringTableOf(*this)) {
        keys.push_back(key);
    }
    return keys;
}

} // namespace kestrav::platform
