#include "mac_installer/CandidateInfo.h"
#include "mac_installer/CandidateRefusal.h"
#include "mac_installer/InfoPlist.h"
#include "mac_installer/Launcher.h"
#include "mac_installer/global.h"
#include "platform/ProcessInfo.h"
#include "platform/RuntimeSupport.h"
#include "platform/path.h"

#include <algorithm>
#include <filesystem>

namespace kestrav {

using platform::appendingPathComponent;
using platform::Bundle;
using platform::FileManager;

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

void logRefusal(const char *signature, int line, const OptionalText &path, const Bundle *bundle,
                const RuntimeBounds &bounds, bool plugin = false) {
    if (debugLogEnabled()) {
        _DLog("%s [Line %d] rejected %@: %@", signature, line, path, refusalReason(bundle, bounds, plugin));
    }
}

} // namespace

OptionalText Launcher::findJavaBundle(bool searchOtherInstallations) {
    const FileManager fileManager;
    setLaunchJavaVersion(std::nullopt);
    javaBundle.reset();
    pluginUsed = false;
    javaBundlePath.reset();

    const RuntimeBounds bounds = configuredBounds();
    if (searchOtherInstallations) {
        findOtherInstallation(fileManager, bounds);
    } else if (!findOwnRuntime(fileManager)) {
        searchConfiguredSequence(fileManager, bounds);
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

void Launcher::searchConfiguredSequence(const FileManager &fileManager, const RuntimeBounds &bounds) {
    const platform::PropertyList &javaVM = javaVMDictionary();
    _DLog("%s [Line %d] search sequence %@", searchSignature, 633, javaVM.find("SearchSequence"));
    const auto *sequence = arrayValue(javaVM, "SearchSequence");
    if (sequence == nullptr) {
        findPublicJavaBundle(fileManager, bounds);
        return;
    }
    for (const platform::PropertyList &element : *sequence) {
        const std::string entry = stringEntry(element, "SearchSequence"); // each is looked at when its turn has come
        const char kind = entry.empty() ? '\0' : entry.front();
        const std::string argument = entry.empty() ? "" : entry.substr(1);
        if (kind == 'E') {
            _DLog("%s [Line %d] checking environment variable %@", searchSignature, 650, argument);
            const auto value = platform::ProcessInfo::processInfo().environmentVariable(argument);
            if (!value) {
                _DLog("%s [Line %d] rejected %@: %@", searchSignature, __LINE__, argument, "the variable is not set");
            }
            findDirectoryJavaBundle(value, fileManager, bounds);
        } else if (kind == 'R') {
            _DLog("%s [Line %d] checking directory %@", searchSignature, 646, argument);
            findDirectoryJavaBundle(argument, fileManager, bounds);
        } else if (kind == 'Y') {
            _DLog("%s [Line %d] checking standard locations", searchSignature, 642);
            findPublicJavaBundle(fileManager, bounds);
        }
        if (javaBundle) {
            return;
        }
    }
}

void Launcher::findDirectoryJavaBundle(const OptionalText &directory, const FileManager &fileManager,
                                       const RuntimeBounds &bounds) {
    if (!directory) {
        return;
    }
    javaBundlePath = replaceVariables(*directory);
    if (!fileManager.fileExistsAtPath(*javaBundlePath)) {
        _DLog("%s [Line %d] rejected %@: %@", directorySignature, __LINE__, javaBundlePath, "nothing exists there");
        return;
    }
    javaBundle = Bundle::create(*javaBundlePath);
    setLaunchJavaVersion(
        checkJavaVersion(bounds.minVersion, bounds.maxVersion, bounds.allowBeta, false, bounds.requiredVmIdPrefix));
    if (launchGlobals.launchJavaVersion == nullptr) {
        logRefusal(directorySignature, __LINE__, javaBundlePath, javaBundle.get(), bounds);
        javaBundle.reset();
    }
}

bool Launcher::findPlugin(const FileManager &fileManager, const RuntimeBounds &bounds) {
    const std::string path = platform::systemPath("/Library/Internet Plug-Ins/JavaAppletPlugin.plugin");
    if (!fileManager.fileExistsAtPath(appendingPathComponent(path, "Contents/Home/bin/java"))) {
        return false;
    }
    javaBundle = Bundle::create(path);
    if (!javaBundle) {
        return false;
    }
    const OptionalText infoString = bundleText(*javaBundle, "CFBundleGetInfoString");
    const OptionalText identifier = bundleText(*javaBundle, "CFBundleIdentifier");
    _DLog("%s [Line %d] JRE %@ %@ %@", publicSignature, 694, path, infoString, identifier);
    if (isOracles(identifier, infoString)) {
        _DLog("%s [Line %d] Oracle JRE %@", publicSignature, 696, path);
        setLaunchJavaVersion(
            checkJavaVersion(bounds.minVersion, bounds.maxVersion, bounds.allowBeta, true, bounds.requiredVmIdPrefix));
        if (launchGlobals.launchJavaVersion == nullptr) {
            logRefusal(publicSignature, __LINE__, path, javaBundle.get(), bounds, true);
        }
    } else {
        _DLog("%s [Line %d] rejected %@: %@", publicSignature, __LINE__, path, "it is another vendor's");
    }
    if (launchGlobals.launchJavaVersion == nullptr) {
        javaBundle.reset();
        return false;
    }
    javaBundlePath = path;
    pluginUsed = true;
    return true;
}

void Launcher::findPublicJavaBundle(const FileManager &fileManager, const RuntimeBounds &bounds) {
    if (findPlugin(fileManager, bounds)) {
        return;
    }
    for (const std::string &directory : platform::standardRuntimeDirectories()) {
        const auto names = fileManager.contentsOfDirectoryAtPath(directory);
        if (!names) {
            continue;
        }
        const auto candidates = newestFirst(*names);
        _DLog("%s [Line %d] JDKs %@", publicSignature, 723, candidates);
        for (const std::string &name : candidates) {
            javaBundlePath = appendingPathComponent(directory, name);
            _DLog("%s [Line %d] checking %@", publicSignature, 726, javaBundlePath);
            javaBundle = Bundle::create(*javaBundlePath);
            setLaunchJavaVersion(checkJavaVersion(bounds.minVersion, bounds.maxVersion, bounds.allowBeta, false,
                                                  bounds.requiredVmIdPrefix));
            if (launchGlobals.launchJavaVersion != nullptr) {
                return;
            }
            logRefusal(publicSignature, __LINE__, javaBundlePath, javaBundle.get(), bounds);
            javaBundle.reset();
        }
    }
}

} // namespace kestrav
