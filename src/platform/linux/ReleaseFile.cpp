#include "platform/linux/ReleaseFile.h"

#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

namespace kestrav::platform {

PropertyList::Dictionary parseReleaseFile(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    PropertyList::Dictionary entries;
    for (const std::string &line : componentsSeparatedBy(text, "\n")) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        const std::string_view key = trimming(std::string_view(line).substr(0, equals), blanks);
        std::string_view value = trimming(std::string_view(line).substr(equals + 1), blanks);
        if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
            value = value.substr(1, value.size() - 2);
        }
        if (!key.empty() && !key.starts_with('#')) {
            entries.insert_or_assign(std::string(key), std::string(value));
        }
    }
    return entries;
}

PropertyList releaseInformation(const std::string &directory) {
    PropertyList::Dictionary information;
    if (const auto text = stringWithContentsOfFile(appendingPathComponent(directory, "release"))) {
        const PropertyList::Dictionary entries = parseReleaseFile(*text);
        if (const auto version = entries.find("JAVA_VERSION"); version != entries.end()) {
            information.emplace("JavaVM", PropertyList::Dictionary{{"JVMVersion", version->second}});
        }
        if (const auto implementor = entries.find("IMPLEMENTOR"); implementor != entries.end()) {
            information.emplace("CFBundleIdentifier", implementor->second);
        }
    }
    return information;
}

} // namespace kestrav::platform
