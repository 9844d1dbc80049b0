#include "mac_installer/launcher/errorLines.h"

#include "platform/ErrorCopy.h"
#include "platform/FileManager.h"
#include "platform/downloadRules.h"
#include "platform/format.h"
#include "platform/text.h"

#include <algorithm>
#include <cctype>
#include <span>

namespace kestrav {

namespace {

bool isAlphanumeric(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0;
}

std::string withShortAddresses(std::string_view line) {
    constexpr std::string_view endOfScheme = "://";
    std::string result;
    for (std::size_t found = line.find(endOfScheme); found != std::string_view::npos; found = line.find(endOfScheme)) {
        std::size_t begin = found;
        while (begin > 0 && isAlphanumeric(line[begin - 1])) {
            --begin;
        }
        const std::size_t end = std::min(line.find_first_of(" \t\"<>", found), line.size());
        result += line.substr(0, begin);
        result += platform::withoutSecrets(line.substr(begin, end - begin));
        line.remove_prefix(end);
    }
    return result.append(line);
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
        line = platform::onOneLine(withShortHome(withShortAddresses(line)));
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
