#include "PropertyListLines.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace kestrav::tools {

namespace {

/// An array or a dictionary whose end has not come yet.
struct Container {
    std::string path;
    bool isArray = false;
    std::size_t index = 0; // of the next value of an array
    std::string key = {};  // of the next value of a dictionary
};

/// The end of what begins with "<" at a position: behind its ">" or, for what may hold ">", behind its own end.
std::size_t endOfTag(std::string_view xml, std::size_t begin) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 3> special{
        {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<", ">"}}};
    for (const auto &[start, end] : special) {
        if (xml.substr(begin).starts_with(start)) {
            const std::size_t found = xml.find(end, begin + start.size());
            return found == std::string_view::npos ? xml.size() : found + end.size();
        }
    }
    return xml.size();
}

std::string pathOfNext(std::vector<Container> &open) {
    if (open.empty()) {
        return "";
    }
    Container &parent = open.back();
    return parent.path + (parent.path.empty() ? "" : "/") +
           (parent.isArray ? std::to_string(parent.index++) : parent.key);
}

} // namespace

std::map<std::string, int, std::less<>> linesOfPropertyList(std::string_view xml) {
    std::map<std::string, int, std::less<>> lines;
    std::vector<Container> open;
    int line = 1;
    std::size_t counted = 0; // the line breaks before this position are in `line`
    for (auto begin = xml.find('<'); begin < xml.size(); begin = xml.find('<', begin)) {
        line += static_cast<int>(std::count(xml.begin() + static_cast<std::ptrdiff_t>(counted),
                                            xml.begin() + static_cast<std::ptrdiff_t>(begin), '\n'));
        counted = begin;
        const std::size_t end = endOfTag(xml, begin);
        const std::string_view tag = xml.substr(begin + 1, end - begin - 2);
        const std::string_view name = tag.substr(0, tag.find_first_of(" \t\r\n/", 1));
        begin = end;
        if (name == "/dict" || name == "/array") {
            if (!open.empty()) {
                open.pop_back();
            }
        } else if (name == "key" && !open.empty()) {
            open.back().key = xml.substr(end, std::min(xml.find('<', end), xml.size()) - end);
        } else if (!name.empty() && name != "plist" && name.find_first_of("!?/") == std::string_view::npos) {
            std::string path = pathOfNext(open);
            lines.emplace(path, line);
            if ((name == "dict" || name == "array") && !tag.ends_with('/')) {
                open.push_back({std::move(path), name == "array"});
            }
        }
    }
    return lines;
}

} // namespace kestrav::tools
