#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/UserDefaults.h"
#include "platform/path.h"
#include "platform/text.h"

namespace kestrav {

namespace {

constexpr const char *signature = "-[Launcher findJavaBundle:]";

/// The runtime bundle inside the single application bundle `name` of an installation.
std::string bundledRuntime(const std::string &directory, const std::string &name) {
    std::string path = platform::format("%@/%@/Contents/Resources/jre.bundle", directory, name);
    return platform::fileExistsAtPath(path) ? path
                                            : platform::format("%@/%@/Contents/PlugIns/jre.bundle", directory, name);
}

/// The version that a plain runtime directory states in a file of its own; empty if `path` is not such a runtime.
OptionalText plainRuntimeVersion(const std::string &path) {
    const std::string versionFile = platform::appendingPathComponent(path, "kestrav_jre_version");
    if (!platform::directoryExistsAtPath(path) || !platform::fileExistsAtPath(versionFile) ||
        platform::directoryExistsAtPath(versionFile)) {
        return std::nullopt;
    }
    return platform::stringWithContentsOfFile(versionFile);
}

} // namespace

std::optional<JavaRuntime> Launcher::findOtherInstallation(const RuntimeBounds &bounds) {
    const auto appId = stringValue(infoDictionary(), "ksv.appId");
    auto &defaults = platform::UserDefaults::standardUserDefaults();
    defaults.addSuiteNamed("com.kestrav.installations");
    const auto registry = defaults.dictionaryForKey("/com/kestrav/installations/");
    _DLog("%s [Line %d] %@", signature, 528, registry ? &*registry : nullptr);
    if (!registry || !appId) {
        return std::nullopt;
    }
    // A value that is not a string counts as missing.
    const auto directories = registry->stringForKey(platform::format("allinstdirs%@", appId));
    if (!directories) {
        return std::nullopt;
    }

    place = "earlier installation";
    bool bundleChecking = true;              // once a plain runtime was looked at, no later bundle is
    std::optional<JavaRuntime> plainRuntime; // its path follows the directories
    for (const std::string &directory : platform::componentsSeparatedBy(*directories, ";")) {
        checkpoint();
        std::string path = platform::format("%@/.kestrav/jre.bundle", directory);
        if (const auto name = registry->stringForKey(platform::format("singleBundleName%@_%@", appId, directory))) {
            path = bundledRuntime(directory, *name);
        } else if (!platform::directoryExistsAtPath(path)) {
            const std::string plain = platform::format("%@/.kestrav/jre", directory);
            if (const auto version = plainRuntimeVersion(plain)) {
                path = plain;
                plainRuntime = acceptOrRefuse(signature, __LINE__, plain,
                                              requiringLaunchLibrary(checkPlainRuntime(plain, version, bounds), plain));
                bundleChecking = false;
            }
        }
        _DLog("%s [Line %d] checking %@", signature, 565, path);
        if (plainRuntime) {
            plainRuntime->javaBundlePath = path;
        } else if (bundleChecking && !platform::fileExistsAtPath(path)) {
            refuse(signature, __LINE__, path, "nothing exists there");
        } else if (bundleChecking) {
            if (auto found = tryBundle(signature, __LINE__, path, bounds)) {
                return found;
            }
        }
    }
    return plainRuntime;
}

} // namespace kestrav
