#include "PackagingOptions.h"

#include "platform/FileManager.h"
#include "platform/text.h"

#include <algorithm>
#include <map>

namespace kestrav::tools {

namespace {

constexpr std::string_view blanks = " \t\r\n\f";

bool isBlank(char character) {
    return blanks.find(character) != std::string_view::npos;
}

/// The entries of a property file: lines "key=value", comments, and lines that go on after a backslash.
std::map<std::string, std::string> propertiesOf(const std::string &path) {
    const auto text = platform::stringWithContentsOfFile(path);
    if (!text) {
        throw Refusal("The property file " + path + " cannot be read as UTF-8 text");
    }
    std::map<std::string, std::string> properties;
    std::string whole;
    for (const std::string &line :
         platform::componentsSeparatedBy(platform::replacingOccurrences(*text, "\r", ""), "\n")) {
        whole += platform::trimming(line, blanks);
        if (whole.ends_with('\\')) {
            whole.pop_back();
            continue;
        }
        const std::string property = std::exchange(whole, "");
        const std::size_t end = property.find_first_of("=: \t");
        if (end != std::string::npos && !property.starts_with('#') && !property.starts_with('!')) {
            const auto value = platform::trimming(std::string_view(property).substr(end), blanks);
            const bool hasSign = value.starts_with('=') || value.starts_with(':');
            properties[property.substr(0, end)] = platform::trimming(value.substr(hasSign ? 1 : 0), blanks);
        }
    }
    return properties;
}

} // namespace

std::vector<std::string> splitWords(std::string_view text) {
    std::vector<std::string> words;
    bool inWord = false;
    char mark = '\0'; // the quotation mark that has been opened
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (mark == '\0' && isBlank(character)) {
            inWord = false;
            continue;
        }
        if (!inWord) {
            words.emplace_back();
            inWord = true;
        }
        const bool isMark = character == '"' || character == '\'';
        const char next = i + 1 < text.size() ? text[i + 1] : 'x';
        if (character == '\\' && (next == '"' || next == '\'' || isBlank(next))) {
            words.back() += next;
            ++i;
        } else if (isMark && (mark == '\0' || mark == character)) {
            mark = mark == '\0' ? character : '\0';
        } else {
            words.back() += character;
        }
    }
    return words;
}

void addFileAssociation(Request &request, const std::string &path) {
    auto properties = propertiesOf(path);
    bool any = false;
    for (const std::string &extension : platform::componentsSeparatedBy(properties["extension"], ", \t")) {
        if (!extension.empty()) {
            request.fileTypes.push_back({extension, properties["description"], properties["mime-type"]});
            any = true;
        }
    }
    if (!any) {
        throw Refusal(path + " names no extension, as in extension=txt");
    }
}

void addContent(Request &request, const std::string &paths) {
    for (std::string &path : platform::componentsSeparatedBy(paths, ",")) {
        request.content.push_back(std::move(path));
    }
}

void signAs(Request &request, const std::string &name) {
    constexpr std::string_view certificate = "Developer ID Application: ";
    request.signingIdentity = name.starts_with(certificate) ? name : std::string(certificate) + name;
}

} // namespace kestrav::tools
