#include "mac_installer/launcher/CandidateInfo.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/RuntimeSupport.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/path.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace kestrav {

using platform::appendingPathComponent;

namespace {

constexpr const char *searchSignature = "-[Launcher findJavaBundle:]";
constexpr const char *directorySignature =
    "-[Launcher findDirectoryJavaBundle:fileManager:minVersion:maxVersion:requiredVmIdPrefix:allowBeta:]";
constexpr const char *publicSignature =
    "-[Launcher findPublicJavaBundle:minVersion:maxVersion:requiredVmIdPrefix:allowBeta:]";

RuntimeBounds configuredBounds() {
    const auto &info = infoDictionary();
    return {stringValue(info, "ksv.minVersion"), stringValue(info, "ksv.maxVersion"),
            stringValue(info, "ksv.vmIdPrefix"), booleanValue(info, "ksv.allowBeta").value_or(false)};
}

bool isOracles(const OptionalText &identifier, const OptionalText &infoString) {
    return (identifier && identifier->starts_with("com.oracle")) ||
           (infoString && infoString->find("Oracle") != std::string::npos);
}

/// The names of runtime directories, highest version first; equal versions keep their order.
std::vector<std::string> newestFirst(const std::vector<std::string> &names) {
    struct Entry {
        std::vector<std::u16string> version;
        const std::string *name;
    };
    std::vector<Entry> entries;
    entries.reserve(names.size());
    for (const std::string &name : names) {
        entries.push_back({Launcher::splitVersionString(Launcher::removeJrePrefix(name)), &name});
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry &a, const Entry &b) { return Launcher::compareVersion(b.version, a.version) < 0; });
    std::vector<std::string> sorted;
    sorted.reserve(entries.size());
    for (const Entry &entry : entries) {
        sorted.push_back(*entry.name);
    }
    return sorted;
}

/// The names of runtime directories that say nothing themselves, in the order of the versions that the runtimes
/// declare, the highest first; those without a version come last.
std::vector<std::string> newestDeclaredFirst(const std::string &directory, const std::vector<std::string> &names,
                                             const std::function<void()> &checkpoint) {
    std::map<std::string, std::vector<std::u16string>> versions;
    for (const std::string &name : names) {
        checkpoint();
        const auto bundle = openRuntime(appendingPathComponent(directory, name));
        const OptionalText version = bundle ? candidateInfo(*bundle, false).version : std::nullopt;
        versions[name] = Launcher::splitVersionString(version.value_or(""));
    }
    std::vector<std::string> sorted = names;
    std::sort(sorted.begin(), sorted.end()); // several names of one runtime: the same order everywhere
    std::stable_sort(sorted.begin(), sorted.end(), [&](const std::string &a, const std::string &b) {
        return Launcher::compareVersion(versions[b], versions[a]) < 0;
    });
    return sorted;
}

} // namespace

std::optional<JavaRuntime> Launcher::findJavaBundle(bool searchOtherInstallations) {
    const RuntimeBounds bounds = configuredBounds();
    std::optional<JavaRuntime> found;
    if (searchOtherInstallations) {
        found = findOtherInstallation(bounds);
    } else {
        checkpoint();
        const auto own = findOwnRuntime();
        found = own ? checkOwnRuntime(*own) : searchConfiguredSequence(bounds);
    }
    if (found && !platform::isAbsolutePath(found->javaBundlePath)) {
        // The working directory changes before the runtime is started.
        std::error_code unknown;
        const auto absolute = std::filesystem::absolute(found->javaBundlePath, unknown);
        found->javaBundlePath = unknown ? found->javaBundlePath : absolute.string();
    }
    return found;
}

std::optional<JavaRuntime> Launcher::searchConfiguredSequence(const RuntimeBounds &bounds) {
    const platform::PropertyList &javaVM = javaVMDictionary();
    _DLog("%s [Line %d] search sequence %@", searchSignature, 633, javaVM.find("SearchSequence"));
    const auto *sequence = arrayValue(javaVM, "SearchSequence");
    if (sequence == nullptr) {
        place = "standard locations";
        return findPublicJavaBundle(bounds);
    }
    for (const platform::PropertyList &element : *sequence) {
        const std::string entry = stringEntry(element, "SearchSequence"); // each is looked at when its turn has come
        if (auto found = searchEntry(entry, bounds)) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<JavaRuntime> Launcher::searchEntry(const std::string &entry, const RuntimeBounds &bounds) {
    if (entry.empty()) {
        return std::nullopt;
    }
    const std::string argument = entry.substr(1);
    place = "search entry " + entry;
    switch (entry.front()) {
    case 'E':
        _DLog("%s [Line %d] checking environment variable %@", searchSignature, 650, argument);
        return findVariablesJavaBundle(argument, bounds);
    case 'R':
        _DLog("%s [Line %d] checking directory %@", searchSignature, 646, argument);
        return findDirectoryJavaBundle(argument, bounds);
    case 'Y':
        _DLog("%s [Line %d] checking standard locations", searchSignature, 642);
        return findPublicJavaBundle(bounds);
    default:
        return std::nullopt;
    }
}

std::optional<JavaRuntime> Launcher::findVariablesJavaBundle(const std::string &name, const RuntimeBounds &bounds) {
    const auto value = platform::ProcessInfo::processInfo().environmentVariable(name);
    if (!value) {
        refuse(searchSignature, __LINE__, name, "the variable is not set");
    }
    return findDirectoryJavaBundle(value, bounds);
}

std::optional<JavaRuntime> Launcher::findDirectoryJavaBundle(const OptionalText &directory,
                                                             const RuntimeBounds &bounds) {
    if (!directory) {
        return std::nullopt;
    }
    checkpoint(); // also for one that does not exist: the question alone may take long
    const std::string path = replaceVariables(*directory);
    if (!platform::fileExistsAtPath(path)) {
        refuse(directorySignature, __LINE__, path, "nothing exists there");
        return std::nullopt;
    }
    return tryBundle(directorySignature, __LINE__, bundleOfHome(path), bounds);
}

std::optional<JavaRuntime> Launcher::findPlugin(const RuntimeBounds &bounds) {
    const std::string path = platform::systemPath("/Library/Internet Plug-Ins/JavaAppletPlugin.plugin");
    const bool hasRuntime = platform::fileExistsAtPath(appendingPathComponent(path, "Contents/Home/bin/java"));
    const auto bundle = hasRuntime ? openRuntime(path) : nullptr;
    if (!bundle) {
        return std::nullopt;
    }
    const OptionalText infoString = bundle->localizedInfoStringForKey("CFBundleGetInfoString");
    const OptionalText identifier = bundle->localizedInfoStringForKey("CFBundleIdentifier");
    _DLog("%s [Line %d] JRE %@ %@ %@", publicSignature, 694, path, infoString, identifier);
    if (!isOracles(identifier, infoString)) {
        refuse(publicSignature, __LINE__, path, "it is another vendor's");
        return std::nullopt;
    }
    _DLog("%s [Line %d] Oracle JRE %@", publicSignature, 696, path);
    auto found = tryBundle(publicSignature, __LINE__, path, bounds, true);
    if (found) {
        found->pluginUsed = true;
    }
    return found;
}

std::optional<JavaRuntime> Launcher::findPublicJavaBundle(const RuntimeBounds &bounds) {
    if (auto plugin = findPlugin(bounds)) {
        return plugin;
    }
    for (const RuntimeDirectory &directory : standardRuntimeDirectories()) {
        const auto names = platform::contentsOfDirectoryAtPath(directory.path);
        if (!names) {
            continue;
        }
        const auto candidates =
            directory.namedByVersion ? newestFirst(*names) : newestDeclaredFirst(directory.path, *names, checkpoint);
        _DLog("%s [Line %d] JDKs %@", publicSignature, 723, candidates);
        for (const std::string &name : candidates) {
            const std::string path = appendingPathComponent(directory.path, name);
            _DLog("%s [Line %d] checking %@", publicSignature, 726, path);
            if (auto found = tryBundle(publicSignature, __LINE__, path, bounds)) {
                return found;
            }
        }
    }
    return std::nullopt;
}

std::optional<JavaRuntime> Launcher::tryBundle(const char *signature, int line, const std::string &path,
                                               const RuntimeBounds &bounds, bool plugin) {
    checkpoint();
    const auto bundle = openRuntime(path);
    return acceptOrRefuse(signature, line, path,
                          requiringLaunchLibrary(checkJavaVersion(bundle.get(), bounds, plugin), path, plugin));
}

std::optional<JavaRuntime> Launcher::acceptOrRefuse(const char *signature, int line, const std::string &path,
                                                    const CandidateVerdict &verdict, bool isOwn) {
    judged.push_back({path, place, verdict, isOwn});
    if (verdict.launchVersion) {
        return judgesAll ? std::nullopt : std::optional(runtimeOf(path, verdict));
    }
    _DLog("%s [Line %d] rejected %@: %@", signature, line, path, verdict.refusal);
    return std::nullopt;
}

void Launcher::refuse(const char *signature, int line, const std::string &path, const std::string &reason) {
    CandidateVerdict verdict;
    verdict.refusal = reason;
    verdict.isDirectory = false;
    static_cast<void>(acceptOrRefuse(signature, line, path, verdict));
}

} // namespace kestrav
