#include "mac_installer/launcher/errorLines.h"

#include "platform/ErrorCopy.h"
#include "platform/FileManager.h"
#include "platform/downloadRules.h"
#include "platform/format.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>

namespace kestrav {

namespace {

bool isAlphanumeric(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0;
}

/// With "***" for the values of settings that are passwords by their names: "password=…", "keyStorePassword='…'".
std::string withoutPasswords(std::string line) {
    constexpr std::array<std::string_view, 5> names = {"password", "passwd", "pwd", "secret", "token"};
    std::string lower = line;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    // Backwards, so that what is still to be looked at stays where it is.
    for (std::size_t begin = lower.rfind('='); begin != std::string::npos && begin > 0;
         begin = lower.rfind('=', begin - 1)) {
        const std::string_view before = std::string_view(lower).substr(0, begin);
        if (std::none_of(names.begin(), names.end(), [&](auto name) { return before.ends_with(name); })) {
            continue;
        }
        const std::size_t value = begin + 1;
        const std::string quote = line.find_first_of("'\"", value) == value ? line.substr(value, 1) : "";
        const std::size_t end = quote.empty() ? line.find_first_of(" \t;&", value) : line.find(quote, value + 1);
        line.replace(value, std::min(end, line.size()) - value, quote + "***");
    }
    return line;
}

/// A word as it can be shown: of an address only scheme, host and path; nothing before the "@" of "USER:PASSWORD@HOST".
std::string withShortAddress(std::string_view word) {
    const std::size_t found = word.find("://");
    if (found == std::string_view::npos) {
        const std::size_t at = word.rfind('@');
        const std::size_t colon = word.find_first_of(":/"); // a path with an "@" is not an address
        const bool isAddress = at != std::string_view::npos && colon < at && word[colon] == ':' &&
                               word.substr(0, at).find(":/") == std::string_view::npos;
        return isAddress ? "***" + std::string(word.substr(at)) : std::string(word);
    }
    std::size_t begin = found;
    while (begin > 0 && isAlphanumeric(word[begin - 1])) {
        --begin;
    }
    const std::string address = platform::withoutSecrets(word.substr(begin));
    return std::string(word.substr(0, begin)) + address.substr(0, address.find(';'));
}

std::string withShortAddresses(std::string_view line) {
    constexpr std::string_view separators = " \t\"<>";
    std::string result;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find_first_of(separators), line.size());
        result += withShortAddress(line.substr(0, end));
        const std::size_t next = std::min(line.find_first_not_of(separators, end), line.size());
        result += line.substr(end, next - end);
        line.remove_prefix(next);
    }
    return result;
}

std::string withShortHome(std::string_view line) {
    std::string home = platform::homeDirectory();
    home.resize(home.find_last_not_of('/') + 1);
    std::string result;
    for (std::size_t found = 0; !home.empty() && (found = line.find(home)) != std::string_view::npos;) {
        const std::string_view rest = line.substr(found + home.size());
        const bool endsThere = rest.empty() || (!isAlphanumeric(rest[0]) && rest[0] != '-' && rest[0] != '_');
        result.append(line.substr(0, found)).append(endsThere ? "~" : home);
        line = rest;
    }
    return result.append(line);
}

/// True for an empty line, and for one with options from the environment, which may have secrets.
bool saysNothing(std::string_view line) {
    return line.empty() || line.starts_with("Picked up ") || line.starts_with("NOTE: Picked up ");
}

bool isOfStack(std::string_view line) {
    return line.starts_with(" at ") || line.starts_with(" ... ");
}

} // namespace

std::vector<std::string> errorLines(std::string_view errors) {
    std::vector<std::string> lines = platform::componentsSeparatedBy(errors, "\n");
    if (errors.size() >= platform::ErrorCopy::capacity) {
        lines.erase(lines.begin()); // the end of a line, perhaps of an address
    }
    for (std::string &line : lines) {
        line = platform::onOneLine(withShortHome(withShortAddresses(withoutPasswords(line))));
        line.resize(line.find_last_not_of(' ') + 1);
    }
    std::erase_if(lines, saysNothing);
    return lines;
}

std::string lastOfErrors(std::vector<std::string> lines) {
    constexpr std::size_t mostLines = 8;
    if (lines.size() > mostLines) {
        std::erase_if(lines, isOfStack);
    }
    const std::size_t shown = std::min(lines.size(), mostLines);
    std::string result;
    for (const std::string &line : std::span(lines).last(shown)) {
        result += (result.empty() ? "" : "\n") + platform::format("%.200@", platform::trimming(line, " "));
    }
    return result;
}

} // namespace kestrav
