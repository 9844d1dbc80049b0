#include "mac_installer/launcher/RuntimeBundle.h"

#include "platform/FileManager.h"
#include "platform/Machine.h"
#include "platform/path.h"
#include "platform/text.h"

namespace kestrav {

using platform::Bundle;
using platform::PropertyList;

namespace {

/// Real ones have two kilobytes.
constexpr std::int64_t releaseSizeLimit = std::int64_t{1} << 20;

/// The entries of a runtime's `release` file: lines KEY="VALUE", the quotes optional; other lines are passed over.
PropertyList::Dictionary parseReleaseFile(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    PropertyList::Dictionary entries;
    for (const std::string &line : platform::componentsSeparatedBy(text, "\n")) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        const std::string_view key = platform::trimming(std::string_view(line).substr(0, equals), blanks);
        std::string_view value = platform::trimming(std::string_view(line).substr(equals + 1), blanks);
        if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
            value = value.substr(1, value.size() - 2);
        }
        if (!key.empty() && !key.starts_with('#')) {
            entries.insert_or_assign(std::string(key), std::string(value));
        }
    }
    return entries;
}

/// What such a file says, under the keys that a bundle's Info.plist has for it.
PropertyList::Dictionary informationOf(std::string_view releaseFile) {
    const PropertyList::Dictionary entries = parseReleaseFile(releaseFile);
    const auto entry = [&](std::string_view key) {
        const auto found = entries.find(key);
        return found == entries.end() ? nullptr : found->second.as<std::string>();
    };
    PropertyList::Dictionary information;
    if (const auto *version = entry("JAVA_VERSION")) {
        information.emplace("JavaVM", PropertyList::Dictionary{{"JVMVersion", *version}});
    }
    if (const auto *build = entry("JAVA_RUNTIME_VERSION")) {
        // Only this one tells early access; what follows the "+" may hold any word.
        information.emplace("EvarVersion", build->substr(0, build->find('+')));
    }
    if (const auto *implementor = entry("IMPLEMENTOR")) {
        information.emplace("CFBundleIdentifier", *implementor);
    }
    return information;
}

} // namespace

std::unique_ptr<Bundle> openRuntime(const std::string &path) {
    return platform::isMacOS() ? Bundle::create(path) : openDescribedRuntime(path);
}

std::unique_ptr<Bundle> openDescribedRuntime(const std::string &path) {
    auto bundle = Bundle::create(path);
    const std::string file = platform::appendingPathComponent(path, "release");
    if (!bundle || !platform::fileExistsAtPath(file) || Bundle::infoPlistPath(path)) {
        return bundle;
    }
    const auto text = platform::stringWithContentsOfFile(file, releaseSizeLimit);
    if (!text) {
        return Bundle::create(bundle->bundlePath(), {},
                              "its file \"release\" cannot be read as UTF-8 text of at most 1 MiB");
    }
    return Bundle::create(bundle->bundlePath(), informationOf(*text), std::nullopt);
}

} // namespace kestrav
