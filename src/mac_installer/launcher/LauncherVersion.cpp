#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace kestrav {

namespace {

constexpr int digit = 0;
constexpr int text = 1;
constexpr int separator = 2;

int typeOfUnit(char16_t unit) {
    if (platform::isDecimalDigit(unit)) {
        return digit;
    }
    return platform::isWhitespaceOrNewline(unit) || platform::isPunctuation(unit) ? separator : text;
}

/// The order of two elements of one class; separators are all equal.
int compareElements(const std::u16string &a, const std::u16string &b, int type) {
    if (type == text) {
        const int order = a.compare(b);
        return order < 0 ? -1 : static_cast<int>(order > 0);
    }
    if (type == digit) {
        const auto first = platform::longLongValue(platform::utf8(a));
        const auto second = platform::longLongValue(platform::utf8(b));
        return first < second ? -1 : static_cast<int>(first > second);
    }
    return 0;
}

/// The order of two elements of different classes: digits rank above separators, those above text.
int compareTypes(int a, int b) {
    constexpr auto rank = std::array{2, 0, 1};
    return rank.at(static_cast<std::size_t>(a)) < rank.at(static_cast<std::size_t>(b)) ? -1 : 1;
}

} // namespace

int Launcher::typeOfCharacter(std::u16string_view characters) {
    return typeOfUnit(characters.front());
}

std::vector<std::u16string> Launcher::splitVersionString(std::string_view version) {
    std::vector<std::u16string> elements;
    int previous = separator;
    for (const char16_t unit : platform::utf16(version)) {
        const int type = typeOfUnit(unit);
        if (type != previous || previous == separator) {
            elements.emplace_back();
        }
        elements.back() += unit;
        previous = type;
    }
    return elements;
}

int Launcher::compareVersion(std::string_view version, std::string_view toVersion) {
    return compareVersion(splitVersionString(version), splitVersionString(toVersion));
}

int Launcher::compareVersion(const std::vector<std::u16string> &version, const std::vector<std::u16string> &toVersion) {
    const std::size_t common = std::min(version.size(), toVersion.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int type = typeOfCharacter(version[i]);
        const int toType = typeOfCharacter(toVersion[i]);
        const int order = type == toType ? compareElements(version[i], toVersion[i], type) : compareTypes(type, toType);
        if (order != 0) {
            return order;
        }
    }
    // The longer one is newer, unless its next element is a word, which marks a pre-release.
    if (version.size() < toVersion.size()) {
        return typeOfCharacter(toVersion[common]) == text ? 1 : -1;
    }
    if (version.size() > toVersion.size()) {
        return typeOfCharacter(version[common]) == text ? -1 : 1;
    }
    return 0;
}

std::string_view Launcher::removeJrePrefix(std::string_view name) {
    const auto removeOne = [&name](std::initializer_list<std::string_view> prefixes) {
        for (const std::string_view prefix : prefixes) {
            if (name.starts_with(prefix)) {
                name.remove_prefix(prefix.size());
                return;
            }
        }
    };
    removeOne({"openjdk-"});
    removeOne({"openjdk"});
    removeOne({"jdk-", "jre-"});
    removeOne({"jdk", "jre"});
    return name;
}

bool Launcher::isBetaVersion(const OptionalText &version) {
    constexpr auto marks = std::array{"beta", "ea", "rc"};
    return version && std::any_of(marks.begin(), marks.end(),
                                  [&](const char *mark) { return version->find(mark) != std::string::npos; });
}

std::vector<std::string> Launcher::versionListOf(std::string_view version) {
    return platform::componentsSeparatedBy(version, "._-+");
}

bool Launcher::compareVersion(const OptionalText &bound, const std::vector<std::string> &versionList, bool isMax) {
    if (!bound || bound->empty()) {
        return true;
    }
    const auto components = versionListOf(*bound);
    for (std::size_t i = 0; i < components.size(); ++i) {
        const auto value = i < versionList.size() ? platform::longLongValue(versionList[i]) : 0;
        const auto limit = platform::longLongValue(components[i]);
        if (value != limit) {
            return (value < limit) == isMax;
        }
    }
    return true;
}

OptionalText Launcher::getJavaMinVersion() {
    return stringValue(infoDictionary(), "ksv.minVersion");
}

} // namespace kestrav
