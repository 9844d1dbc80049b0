#include "Resources.h"

#include "platform/FileManager.h"
#include "platform/path.h"

#include <filesystem>

namespace kestrav::tools {

namespace fs = std::filesystem;

using platform::appendingPathComponent;

void placeIcon(const std::string &icon, const std::string &resources) {
    constexpr std::string_view magic = "icns";
    const auto content = platform::contentsOfFile(icon);
    if (!content || !content->starts_with(magic)) {
        throw Refusal("The icon " + icon + (content ? " is no .icns file" : " cannot be read"));
    }
    if (const auto error = platform::writeFileAtomically(appendingPathComponent(resources, "app.icns"), *content)) {
        throw Refusal("The icon could not be written: " + error.message());
    }
}

void placeLanguages(const std::vector<Language> &languages, const std::string &resources) {
    if (languages.empty()) {
        return;
    }
    const std::string kept = appendingPathComponent(resources, "kept");
    fs::create_directory(kept);
    for (const Language &language : languages) {
        const std::string name = language.name + ".lproj";
        const std::string from = appendingPathComponent(resources, name);
        const std::string to = appendingPathComponent(kept, name);
        if (language.name.empty() || language.name.find('/') != std::string::npos || fs::exists(to)) {
            throw Refusal("\"" + language.name + "\" is no language, or there twice");
        }
        if (language.table) {
            if (!platform::contentsOfFile(*language.table)) {
                throw Refusal("The string table " + *language.table + " cannot be read");
            }
            fs::create_directory(to);
            fs::copy_file(*language.table, appendingPathComponent(to, "Localizable.strings"));
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
