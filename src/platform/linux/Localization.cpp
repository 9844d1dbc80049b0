#include "platform/linux/Localization.h"

#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <utility>

namespace kestrav::platform {

namespace {

/// The locales "C" and "POSIX" say nothing about languages.
bool namesLanguage(std::string_view locale) {
    const std::string_view name = locale.substr(0, locale.find_first_of(".@"));
    return !name.empty() && name != "C" && name != "POSIX";
}

/// Appends the folder names for a locale such as "de_DE.UTF-8@euro".
void appendLanguage(std::vector<std::string> &languages, std::string_view locale) {
    const std::string name(locale.substr(0, locale.find_first_of(".@")));
    if (!namesLanguage(locale) || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        return;
    }
    const std::string underscored = replacingOccurrences(name, "-", "_");
    languages.push_back(name);
    languages.push_back(underscored);
    languages.push_back(replacingOccurrences(name, "_", "-"));
    if (underscored == "zh_CN" || underscored == "zh_SG") {
        languages.emplace_back("zh-Hans");
    } else if (underscored == "zh_TW" || underscored == "zh_HK" || underscored == "zh_MO") {
        languages.emplace_back("zh-Hant");
    }
    languages.push_back(underscored.substr(0, underscored.find('_')));
}

/// Folders of old bundles are named after the language instead of its code.
constexpr std::pair<std::string_view, std::string_view> oldNames[] = {
    {"de", "German"},  {"en", "English"},  {"es", "Spanish"}, {"fr", "French"},
    {"it", "Italian"}, {"ja", "Japanese"}, {"nl", "Dutch"},
};

/// The other name of a language that has two; empty if it has one.
std::string_view otherName(std::string_view language) {
    for (const auto &[code, name] : oldNames) {
        if (language == code || language == name) {
            return language == code ? name : code;
        }
    }
    return {};
}

std::optional<std::string> fileIn(const std::string &resources, std::string_view language, std::string_view fileName) {
    std::string file =
        appendingPathComponent(appendingPathComponent(resources, std::string(language) + ".lproj"), fileName);
    return !language.empty() && fileExistsAtPath(file) ? std::optional(std::move(file)) : std::nullopt;
}

/// The file of the alphabetically first language that has one.
std::optional<std::string> fileOfAnyLanguage(const std::string &resources, std::string_view fileName) {
    constexpr std::string_view extension = ".lproj";
    auto names = contentsOfDirectoryAtPath(resources).value_or(std::vector<std::string>());
    std::sort(names.begin(), names.end());
    for (const std::string &name : names) {
        if (name.ends_with(extension)) {
            if (auto file = fileIn(resources, name.substr(0, name.size() - extension.size()), fileName)) {
                return file;
            }
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<std::string> preferredLanguages(const ProcessInfo::Environment &environment) {
    std::vector<std::string> languages;
    std::string locale;
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const auto variable = environment.find(name);
        if (variable != environment.end() && !variable->second.empty()) {
            locale = variable->second;
            break;
        }
    }
    // In the plain locale the list of languages is ignored, as everywhere on this system.
    const bool plain = locale == "C" || locale == "POSIX";
    if (const auto list = environment.find("LANGUAGE"); list != environment.end() && !plain) {
        for (const std::string &language : componentsSeparatedBy(list->second, ":")) {
            appendLanguage(languages, language);
        }
    }
    appendLanguage(languages, locale);
    return languages;
}

std::optional<std::string> localizedResource(const std::string &resources, std::string_view fileName,
                                             const std::optional<std::string> &developmentRegion) {
    std::string unlocalized = appendingPathComponent(resources, fileName);
    if (fileExistsAtPath(unlocalized)) {
        return unlocalized;
    }
    std::vector<std::string> languages = preferredLanguages(ProcessInfo::processInfo().environment());
    if (developmentRegion) {
        appendLanguage(languages, *developmentRegion);
    }
    languages.emplace_back("en");
    for (const std::string &language : languages) {
        for (const std::string_view name : {std::string_view(language), otherName(language)}) {
            if (auto file = fileIn(resources, name, fileName)) {
                return file;
            }
        }
    }
    return fileOfAnyLanguage(resources, fileName);
}

} // namespace kestrav::platform
