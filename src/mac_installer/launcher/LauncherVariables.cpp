#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/text.h"

#include <algorithm>

namespace kestrav {

using platform::ProcessInfo;
using platform::replacingOccurrences;

namespace {

constexpr std::string_view variableStart = "${";

/// The length of the longest replaced string: no command line takes a longer one, and a few variables that each name
/// another several times would grow without end.
constexpr std::size_t mostBytes = std::size_t{1} << 24U;

/// Raises if the text, which was `source` in the configuration, becomes longer than that.
void replaceIn(std::string &text, std::string_view variable, std::string_view value, std::string_view source) {
    std::size_t size = text.size();
    auto position = text.find(variable);
    if (position == std::string::npos) {
        return;
    }
    for (; position != std::string::npos; position = text.find(variable, position + variable.size())) {
        size += value.size() - variable.size(); // modulo the type's range where the value is shorter
        if (value.size() > variable.size() && size > mostBytes) {
            constexpr std::size_t shown = 80;
            const std::string beginning = platform::utf8(platform::utf16(source).substr(0, shown));
            throw platform::Exception(
                platform::InvalidArgumentException,
                platform::format("\"%@\" is too long once its variables are replaced", beginning));
        }
    }
    text = replacingOccurrences(text, variable, value);
}

/// Of the environment variables from `from` on, the first that the text refers to; the end if there is none.
ProcessInfo::Environment::const_iterator firstReferenced(const std::string &text,
                                                         const ProcessInfo::Environment &environment,
                                                         ProcessInfo::Environment::const_iterator from) {
    auto first = environment.end();
    std::size_t brace = 0; // the first one behind `nameStart`; never looked for twice, however many names have no end
    for (auto start = text.find(variableStart); start != std::string::npos;
         start = text.find(variableStart, start + 1)) {
        const auto nameStart = start + variableStart.size();
        brace = text.find('}', std::max(brace, nameStart));
        if (brace == std::string::npos) {
            break;
        }
        for (auto end = brace; end != std::string::npos; end = text.find('}', end + 1)) {
            const auto found = environment.find(std::string_view(text).substr(nameStart, end - nameStart));
            if (found != environment.end() && found->first >= from->first &&
                (first == environment.end() || found->first < first->first)) {
                first = found;
            }
            const auto withBrace = std::string_view(text).substr(nameStart, end + 1 - nameStart);
            const auto longer = environment.lower_bound(withBrace);
            if (longer == environment.end() || !longer->first.starts_with(withBrace)) {
                break; // no longer name begins like this
            }
        }
    }
    return first;
}

/// Replaces variable by variable in the environment's order; one in a value counts if its turn is still to come. Looks
/// only at the variables that the text names, since an options file has many lines and the environment many variables.
void replaceEnvironment(std::string &text, std::string_view source) {
    const auto &environment = ProcessInfo::processInfo().environment();
    for (auto next = environment.begin(); next != environment.end(); ++next) {
        next = firstReferenced(text, environment, next);
        if (next == environment.end()) {
            return;
        }
        replaceIn(text, "${" + next->first + "}", next->second, source);
    }
}

void appendEntry(OptionalText &path, std::string_view entry) {
    if (path) {
        path->append(":").append(entry);
    } else {
        path = entry;
    }
}

void addArchivesOf(OptionalText &result, const std::string &directory) {
    static constexpr const char *signature = "-[Launcher resolveArtifactPath:]";
    _DLog("%s [Line %d] scanning directory %@", signature, __LINE__, directory);
    const auto names = platform::contentsOfDirectoryAtPath(directory);
    if (!names) {
        return;
    }
    for (const std::string &name : *names) {
        if (name.ends_with(".zip") || name.ends_with(".jar")) {
            appendEntry(result, directory + name);
        }
    }
}

} // namespace

std::string Launcher::replaceVariables(std::string_view text) const {
    static constexpr const char *signature = "-[Launcher replaceVariables:]";
    _DLog("%s [Line %d] replacing %@", signature, __LINE__, text);

    std::string result(text);
    if (result.find('$') != std::string::npos) {
        const auto replace = [&](std::string_view variable, std::string_view value) {
            replaceIn(result, variable, value, text);
        };
        const std::string &bundlePath = platform::Bundle::mainBundle().bundlePath();
        replace("$APP_PACKAGE", bundlePath);
        replace("${launcher:sys.launcherDirectory}", bundlePath);
        replace("${launcher:sys.pathlistSeparator}", ":");
        constexpr std::string_view tempDir = "${launcher:sys.tempDir}";
        if (result.find(tempDir) != std::string::npos) {
            replace(tempDir, platform::temporaryDirectory().value_or(std::string(tempDir)));
        }
        if (runtime && result.find("${launcher:sys.jvmHome}") != std::string::npos) {
            replace("${launcher:sys.jvmHome}", getJreLocation(runtime->javaBundlePath));
        }
        if (result.find(variableStart) != std::string::npos) {
            replaceEnvironment(result, text);
        }
    }

    _DLog("%s [Line %d] returning %@", signature, __LINE__, result);
    return result;
}

OptionalText Launcher::resolveArtifactPath(const OptionalText &path) {
    if (!path) {
        return std::nullopt;
    }
    OptionalText result;
    for (const std::string &entry : platform::componentsSeparatedBy(*path, ":")) {
        if (entry.starts_with('$')) {
            if (const auto value = ProcessInfo::processInfo().environmentVariable(entry.substr(1))) {
                appendEntry(result, *value);
            }
        } else if (entry.ends_with("/*")) {
            addArchivesOf(result, entry.substr(0, entry.size() - 1));
        } else {
            appendEntry(result, entry);
        }
    }
    return result;
}

} // namespace kestrav
