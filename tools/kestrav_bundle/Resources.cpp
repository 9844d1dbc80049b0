#include "Resources.h"

#include "SideFiles.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/IconImage.h"
#include "platform/PropertyList.h"
#include "platform/path.h"

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace kestrav::tools {

namespace fs = std::filesystem;

using platform::appendingPathComponent;

namespace {

/// An icon file (Apple's "icns") begins with its name and its own size, big-endian.
bool isIcon(std::string_view content) {
    constexpr std::string_view magic = "icns";
    constexpr std::size_t headerSize = 8;
    if (!content.starts_with(magic) || content.size() < headerSize) {
        return false;
    }
    std::uint64_t size = 0;
    for (const char byte : content.substr(magic.size(), headerSize - magic.size())) {
        size = size * 256 + static_cast<unsigned char>(byte);
    }
    return size == content.size();
}

/// True if the progress window can show the icon wherever it opens. It draws PNG images, not the two older formats that
/// icon files may have as well.
bool canBeShown(std::string_view content) {
    constexpr std::uint32_t edge = 128; // as the window has it on a fine screen
    constexpr std::string_view lastOfImage("IEND\xAE\x42\x60\x82");
    const auto image = platform::iconImage(content, edge);
    return image && image->ends_with(lastOfImage);
}

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

void placeIcon(const std::string &icon, const std::string &resources) {
    const auto content = platform::contentsOfFile(icon);
    if (!content || !isIcon(*content)) {
        throw Refusal("The icon " + icon + (content ? " is not an .icns file" : " cannot be read"));
    }
    if (!canBeShown(*content)) {
        throw Refusal("The icon " + icon +
                      " has no PNG image, and the progress window cannot show any other; make it " +
                      "with PNG images, one of 128 pixels among them");
    }
    writeForEverybody(appendingPathComponent(resources, "app.icns"), *content);
}

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
