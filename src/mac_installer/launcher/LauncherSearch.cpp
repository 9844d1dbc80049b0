#include "mac_installer/launcher/CandidateInfo.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/global.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/RuntimeSupport.h"
#include "platform/path.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace kestrav {

using platform::appendingPathComponent;
using platform::Bundle;

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
        const auto bundle = Bundle::create(appendingPathComponent(directory, name));
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

OptionalText Launcher::findJavaBundle(bool searchOtherInstallations) {
    setLaunchJavaVersion(std::nullopt);
    javaBundle.reset();
    pluginUsed = false;
    javaBundlePath.reset();

    const RuntimeBounds bounds = configuredBounds();
    if (searchOtherInstallations) {
        findOtherInstallation(bounds);
    } else if (!findOwnRuntime()) {
        searchConfiguredSequence(bounds);
    }

    if (launchGlobals.launchJavaVersion == nullptr) {
        javaBundlePath.reset();
    } else if (!platform::isAbsolutePath(*javaBundlePath)) {
        // The working directory changes before the runtime is started.
        std::error_code unknown;
        const auto absolute = std::filesystem::absolute(*javaBundlePath, unknown);
        javaBundlePath = unknown ? javaBundlePath : absolute.string();
    }
    return javaBundlePath;
}

bool Launcher::searchConfiguredSequence(const RuntimeBounds &bounds) {
    const platform::PropertyList &javaVM = javaVMDictionary();
    _DLog("%s [Line %d] search sequence %@", searchSignature, 633, javaVM.find("SearchSequence"));
    const auto *sequence = arrayValue(javaVM, "SearchSequence");
    if (sequence == nullptr) {
        return findPublicJavaBundle(bounds);
    }
    const auto tryEntry = [&](char kind, const std::string &argument) {
        switch (kind) {
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
            return false;
        }
    };
    return std::any_of(sequence->begin(), sequence->end(), [&](const platform::PropertyList &element) {
        const std::string entry = stringEntry(element, "SearchSequence"); // each is looked at when its turn has come
        return !entry.empty() && tryEntry(entry.front(), entry.substr(1));
    });
}

bool Launcher::findVariablesJavaBundle(const std::string &name, const RuntimeBounds &bounds) {
    const auto value = platform::ProcessInfo::processInfo().environmentVariable(name);
    if (!value) {
        _DLog("%s [Line %d] rejected %@: %@", searchSignature, __LINE__, name, "the variable is not set");
    }
    return findDirectoryJavaBundle(value, bounds);
}

bool Launcher::findDirectoryJavaBundle(const OptionalText &directory, const RuntimeBounds &bounds) {
    if (!directory) {
        return false;
    }
    checkpoint(); // also for one that does not exist: the question alone may take long
    javaBundlePath = replaceVariables(*directory);
    if (!platform::fileExistsAtPath(*javaBundlePath)) {
        _DLog("%s [Line %d] rejected %@: %@", directorySignature, __LINE__, javaBundlePath, "nothing exists there");
        return false;
    }
    return tryBundle(directorySignature, __LINE__, *javaBundlePath, bounds);
}

bool Launcher::findPlugin(const RuntimeBounds &bounds) {
    const std::string path = platform::systemPath("/Library/Internet Plug-Ins/JavaAppletPlugin.plugin");
    const bool hasRuntime = platform::fileExistsAtPath(appendingPathComponent(path, "Contents/Home/bin/java"));
    const auto bundle = hasRuntime ? Bundle::create(path) : nullptr;
    if (!bundle) {
        return false;
    }
    const OptionalText infoString = bundleText(*bundle, "CFBundleGetInfoString");
    const OptionalText identifier = bundleText(*bundle, "CFBundleIdentifier");
    _DLog("%s [Line %d] JRE %@ %@ %@", publicSignature, 694, path, infoString, identifier);
    if (!isOracles(identifier, infoString)) {
        _DLog("%s [Line %d] rejected %@: %@", publicSignature, __LINE__, path, "it is another vendor's");
        return false;
    }
    _DLog("%s [Line %d] Oracle JRE %@", publicSignature, 696, path);
    if (!tryBundle(publicSignature, __LINE__, path, bounds, true)) {
        return false;
    }
    javaBundlePath = path;
    pluginUsed = true;
    return true;
}

bool Launcher::findPublicJavaBundle(const RuntimeBounds &bounds) {
    if (findPlugin(bounds)) {
        return true;
    }
    for (const platform::RuntimeDirectory &directory : platform::standardRuntimeDirectories()) {
        const auto names = platform::contentsOfDirectoryAtPath(directory.path);
        if (!names) {
            continue;
        }
        const auto candidates =
            directory.namedByVersion ? newestFirst(*names) : newestDeclaredFirst(directory.path, *names, checkpoint);
        _DLog("%s [Line %d] JDKs %@", publicSignature, 723, candidates);
        for (const std::string &name : candidates) {
            javaBundlePath = appendingPathComponent(directory.path, name);
            _DLog("%s [Line %d] checking %@", publicSignature, 726, javaBundlePath);
            if (tryBundle(publicSignature, __LINE__, *javaBundlePath, bounds)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace kestrav
