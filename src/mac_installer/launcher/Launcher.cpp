#include "mac_installer/launcher/Launcher.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/failedStart.h"
#include "mac_installer/launcher/trust.h"
#include "platform/FileManager.h"
#include "platform/SystemLog.h"
#include "platform/path.h"

#include <algorithm>
#include <iterator>

namespace kestrav {

using platform::appendingPathComponent;
using platform::Bundle;

namespace {

constexpr const char *errorSignature = "+[Launcher displayError:info1:info2:]";

/// True unless somebody else may have put the bundle of messages there, or one of its tables.
bool messagesMayBeHeeded(const std::string &path) {
    constexpr const char *table = "Localizable.strings";
    std::vector<std::string> items = {path};
    if (const auto bundle = Bundle::create(path)) {
        const std::string resources = bundle->resourcePath();
        items.push_back(appendingPathComponent(resources, table));
        const auto languages = platform::contentsOfDirectoryAtPath(resources);
        for (const std::string &language : languages.value_or(std::vector<std::string>())) {
            items.push_back(appendingPathComponent(appendingPathComponent(resources, language), table));
        }
    }
    return std::all_of(items.begin(), items.end(),
                       [](const std::string &item) { return !reasonNotToHeed(errorSignature, __LINE__, item); });
}

/// Where "ksv.baseDir" has the bundle of messages; empty if that key is missing, or if somebody else may have put the
/// bundle there, so that the application's own messages are shown.
OptionalText configuredMessages() {
    const auto baseDir = Bundle::mainBundle().infoDictionary().stringForKey("ksv.baseDir");
    if (!baseDir) {
        return std::nullopt;
    }
    const std::string directory = replacingAppPackage(*baseDir, Bundle::mainBundle().bundlePath());
    std::string path = appendingPathComponent(directory, ".kestrav/Messages.bundle");
    return messagesMayBeHeeded(path) ? std::optional(std::move(path)) : std::nullopt;
}

/// The localized text of a message key, empty if the bundle of messages cannot be opened.
OptionalText localizedMessage(std::string_view key) {
    const auto path = configuredMessages();
    const auto configured = path ? Bundle::create(*path) : nullptr;
    const Bundle *messages = path ? configured.get() : &Bundle::mainBundle();
    return messages != nullptr ? std::optional(messages->localizedStringForKey(key, key)) : std::nullopt;
}

void logNotFound(std::string_view key, std::vector<std::string> details) {
    platform::Log("%s [Line %d] message %@ not found", errorSignature, __LINE__, key);
    details.insert(details.begin(), platform::format("message %@ not found", key));
    recordFailedStart(details);
}

/// Shows a notice and records it with the details in the log of failed starts.
void show(const std::string &message, const std::vector<std::string> &details = {}) {
    constexpr const char *key = "FailureLog";
    const std::string record = localizedMessage(key).value_or("");
    tellOfFailedStart(message, details, record == key ? "" : record);
}

/// Of the messages about a missing runtime the one that says what is asked for, if the table has it: the versions are
/// its arguments 1 and 3, the application's name is 2.
OptionalText versionsMessage(const OptionalText &minimum, const OptionalText &maximum) {
    if (minimum && !maximum) {
        return std::nullopt; // what the usual message is for
    }
    const char *key = !maximum ? "JavaMissingError" : minimum ? "JavaVersionRangeError" : "JavaMaxVersionError";
    const OptionalText text = localizedMessage(key);
    return text == key ? std::nullopt : text;
}

/// Of the refused runtimes those that say most: the application's own, then those of the highest versions, each once.
std::vector<std::string> mostTelling(const std::vector<Candidate> &candidates) {
    constexpr std::size_t most = 3;
    std::vector<Candidate> refused;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(refused),
                 [](const Candidate &each) { return !each.verdict.launchVersion && each.verdict.isDirectory; });
    std::stable_sort(refused.begin(), refused.end(), [](const Candidate &a, const Candidate &b) {
        const OptionalText &first = a.verdict.declaredVersion;
        const OptionalText &second = b.verdict.declaredVersion;
        const bool isHigher = first && (!second || Launcher::compareVersion(*first, *second) > 0);
        return a.isOwn != b.isOwn ? a.isOwn : isHigher;
    });
    std::vector<std::string> lines;
    for (const Candidate &each : refused) {
        std::string line = platform::escapingControlCharacters(each.path + ": " + each.verdict.refusal);
        if (lines.size() < most && std::find(lines.begin(), lines.end(), line) == lines.end()) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

/// Everything that was looked at, for the log.
std::vector<std::string> described(const std::vector<Candidate> &candidates) {
    std::vector<std::string> lines(candidates.size());
    std::transform(candidates.begin(), candidates.end(), lines.begin(),
                   [](const Candidate &each) { return each.path + " (" + each.place + "): " + each.verdict.refusal; });
    return lines;
}

OptionalText nonEmpty(OptionalText text) {
    return text && text->empty() ? std::nullopt : std::move(text);
}

} // namespace

std::unique_ptr<Launcher> Launcher::launcher() {
    return std::make_unique<Launcher>();
}

void Launcher::displayError(std::string_view key, const OptionalText &info1, const OptionalText &info2,
                            const std::vector<std::string> &details) {
    const OptionalText text = localizedMessage(key);
    if (!text) {
        logNotFound(key, details);
        return;
    }
    // Without an argument the text is not a format: a "%" in it stands for itself.
    show(info1 ? platform::format(*text, platform::loggable(info1), platform::loggable(info2)) : *text, details);
}

bool Launcher::displayMessage(std::string_view key, std::vector<std::string> infos,
                              const std::vector<std::string> &details, std::string_view below) {
    const OptionalText text = localizedMessage(key);
    const bool isKnown = text && *text != key;
    if (isKnown) {
        infos.resize(3);
        const std::string message = platform::format(*text, platform::loggable(infos[0]), platform::loggable(infos[1]),
                                                     platform::loggable(infos[2]));
        show(below.empty() ? message : platform::format("%@\n%@", message, below), details);
    }
    return isKnown;
}

void Launcher::displayMissingRuntime() const {
    const auto minimum = nonEmpty(getJavaMinVersion());
    const auto maximum = nonEmpty(stringValue(infoDictionary(), "ksv.maxVersion"));
    const auto special = versionsMessage(minimum, maximum);
    constexpr const char *usual = "AppleJavaMinVersionError";
    const auto text = special ? special : localizedMessage(usual);
    if (!text) {
        logNotFound(usual, described(judged));
        return;
    }
    const bool isFormat = special || minimum;
    std::string message = isFormat ? platform::format(*text, minimum, bundleName(), maximum) : *text;
    for (const std::string &line : mostTelling(judged)) {
        message += "\n" + line;
    }
    show(message, described(judged));
}

} // namespace kestrav
