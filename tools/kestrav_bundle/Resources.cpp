#include "Resources.h"

#include "SideFiles.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/PropertyList.h"
#include "platform/path.h"

#include <filesystem>
#include <string_view>

namespace kestrav::tools {

namespace fs = std::filesystem;

using platform::appendingPathComponent;

namespace {

/// Writes a user's string table and refuses one without all messages, as the platform reads it: through a bundle
/// that has no other.
void placeTable(const Language &language, const std::vector<std::string> &messages, const std::string &to,
                const std::string &resources) {
    const auto content = platform::contentsOfFile(*language.table);
    if (!content) {
        throw Refusal("The string table " + *language.table + " cannot be read");
    }
    const std::string probe = appendingPathComponent(resources, "probe");
    const std::string folder = appendingPathComponent(probe, "Contents/Resources/" + language.name + ".lproj");
    const std::string table = appendingPathComponent(folder, "Localizable.strings");
    fs::create_directories(folder);
    const platform::PropertyList info(platform::PropertyList::Dictionary{{"CFBundleDevelopmentRegion", language.name}});
    writeForEverybody(appendingPathComponent(probe, "Contents/Info.plist"), info.serialize());
    writeForEverybody(table, *content);
    const auto bundle = platform::Bundle::create(probe);
    constexpr std::string_view none = "\x7F"; // an empty text would bring the key
    for (const std::string &message : messages) {
        if (!bundle || bundle->localizedStringForKey(message, none) == none) {
            throw Refusal("The string table " + *language.table + " has no text for \"" + message + "\"");
        }
    }
    fs::create_directory(to);
    fs::rename(table, appendingPathComponent(to, "Localizable.strings"));
    fs::remove_all(probe);
}

/// The keys of the messages in the application whose folder of resources this is.
std::vector<std::string> messagesOf(const std::string &resources) {
    const auto application = platform::Bundle::create(resources.substr(0, resources.rfind("/Contents/")));
    return application ? application->localizedStringKeys() : std::vector<std::string>();
}

} // namespace

void placeLanguages(const std::vector<Language> &languages, const std::string &resources) {
    if (languages.empty()) {
        return;
    }
    // The template has every message that the launcher may have to show.
    const std::vector<std::string> messages = messagesOf(resources);
    const std::string kept = appendingPathComponent(resources, "kept");
    fs::create_directory(kept);
    for (const Language &language : languages) {
        const std::string name = language.name + ".lproj";
        const std::string from = appendingPathComponent(resources, name);
        const std::string to = appendingPathComponent(kept, name);
        if (language.name.empty() || language.name.find('/') != std::string::npos || fs::exists(to)) {
            throw Refusal("\"" + language.name + "\" is not a language, or is given twice");
        }
        if (language.table) {
            placeTable(language, messages, to, resources);
        } else if (fs::exists(from)) {
            fs::rename(from, to);
        } else {
            throw Refusal("The template has no messages in " + language.name + "; give a table: " + language.name +
                          "=Localizable.strings");
        }
    }
    for (const auto &entry : fs::directory_iterator(resources)) {
        if (entry.path().extension() == ".lproj") {
            fs::remove_all(entry.path());
        }
    }
    for (const auto &entry : fs::directory_iterator(kept)) {
        fs::rename(entry.path(), fs::path(resources) / entry.path().filename());
    }
    fs::remove(kept);
}

} // namespace kestrav::tools
