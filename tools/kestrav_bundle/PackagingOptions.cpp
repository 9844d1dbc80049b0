#include "PackagingOptions.h"

#include "PropertyFile.h"
#include "platform/text.h"

namespace kestrav::tools {

namespace {

constexpr std::string_view blanks = " \t\r\n\f";

bool isBlank(char character) {
    return blanks.find(character) != std::string_view::npos;
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
    const auto properties = propertiesOf(path);
    const auto value = [&](const char *key) {
        const auto found = properties.find(key);
        return found == properties.end() ? "" : std::string(platform::trimming(found->second, blanks));
    };
    bool any = false;
    for (const std::string &extension : platform::componentsSeparatedBy(value("extension"), ", \t")) {
        if (!extension.empty()) {
            request.fileTypes.push_back({extension, value("description"), value("mime-type")});
            any = true;
        }
    }
    if (!any) {
        throw Refusal(path + " names no extension, as in extension=txt");
    }
}

void signAs(Request &request, const std::string &name) {
    constexpr std::string_view certificate = "Developer ID Application: ";
    request.signingIdentity = name.starts_with(certificate) ? name : std::string(certificate) + name;
}

} // namespace kestrav::tools
