#include "OriginCollector.h"

#include "PropertyListLines.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeSupport.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/text.h"

#include <algorithm>

namespace kestrav::tools {

namespace {

void addOnce(std::vector<std::string> &texts, const std::string &text) {
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) {
        texts.push_back(text);
    }
}

} // namespace

OriginCollector::OriginCollector(StartReport &report) : report_(report) {
    infoPlist_ = platform::Bundle::infoPlistPath(platform::Bundle::mainBundle().bundlePath()).value_or("");
    lines_ = linesOfPropertyList(platform::stringWithContentsOfFile(infoPlist_).value_or(""));
}

void OriginCollector::note(ConfigurationPart part, const std::string &value, const Origin &origin) {
    if (part == ConfigurationPart::option) {
        if (runtimeKnowsOption(value)) { // else it is left out
            report_.origins.push_back(resolved(value, origin));
        }
        return;
    }
    if (part == ConfigurationPart::argument) {
        arguments_.push_back(resolved(value, origin));
        return;
    }
    std::vector<StartReport::Origin> entries;
    for (const std::string &entry : platform::componentsSeparatedBy(value, ":")) {
        entries.push_back(resolved(entry, origin));
    }
    if (part == ConfigurationPart::classPath) {
        classPath_ = std::move(entries);
    } else {
        const bool before = part == ConfigurationPart::classPathBefore;
        classPath_.insert(before ? classPath_.begin() : classPath_.end(), entries.begin(), entries.end());
    }
}

StartReport::Origin OriginCollector::resolved(const std::string &value, const Origin &origin) const {
    if (!origin.optionsFile.empty()) {
        return {value, origin.optionsFile, origin.line};
    }
    if (origin.key.empty()) {
        return {value, std::nullopt, std::nullopt};
    }
    const auto line = lines_.find(origin.key);
    return {value, infoPlist_, line == lines_.end() ? std::nullopt : std::optional(line->second)};
}

void OriginCollector::finish() {
    for (const StartReport::Origin &entry : classPath_) {
        addClassPath(entry);
    }
    report_.origins.insert(report_.origins.end(), arguments_.begin(), arguments_.end());
}

void OriginCollector::addClassPath(const StartReport::Origin &entry) {
    const auto paths = Launcher::resolveArtifactPath(entry.value);
    if (!paths) {
        addOnce(entry.value.starts_with('$') ? report_.unreplaced : report_.missing, entry.value);
        return;
    }
    for (const std::string &path : platform::componentsSeparatedBy(*paths, ":")) {
        report_.origins.push_back({path, entry.file, entry.line});
        if (!path.empty() && !platform::fileExistsAtPath(path)) {
            addOnce(report_.missing, path);
        }
    }
}

void addUnreplaced(StartReport &report) {
    for (const std::string &word : report.commandLine) {
        for (auto begin = word.find("${"); begin != std::string::npos; begin = word.find("${", begin + 1)) {
            const auto end = word.find('}', begin);
            if (end != std::string::npos) {
                addOnce(report.unreplaced, word.substr(begin, end + 1 - begin));
            }
        }
    }
}

} // namespace kestrav::tools
