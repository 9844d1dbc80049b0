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

/// The version that a plain runtime directory states in a file of its own; empty if `path` is no such runtime.
OptionalText plainRuntimeVersion(const std::string &path) {
    const std::string versionFile = platform::appendingPathComponent(path, "kestrav_jre_version");
    if (!platform::directoryExistsAtPath(path) || !platform::fileExistsAtPath(versionFile) ||
        platform::directoryExistsAtPath(versionFile)) {
        return std::nullopt;
    }
    return platform::stringWithContentsOfFile(versionFile);
}

} // namespace

void Launcher::findOtherInstallation(const RuntimeBounds &bounds) {
    const auto appId = stringValue(infoDictionary(), "ksv.appId");
    auto &defaults = platform::UserDefaults::standardUserDefaults();
    defaults.addSuiteNamed("com.kestrav.installations");
    const auto registry = defaults.dictionaryForKey("/com/kestrav/installations/");
    _DLog("%s [Line %d] %@", signature, 528, registry ? &*registry : nullptr);
    if (!registry || !appId) {
        return;
    }
    // A text of another type counts as missing.
    const auto directories = registry->stringForKey(platform::format("allinstdirs%@", appId));
    if (!directories) {
        return;
    }

    bool bundleChecking = true; // once a plain runtime was looked at, later directories' bundles no longer are
    for (const std::string &directory : platform::componentsSeparatedBy(*directories, ";")) {
        checkpoint();
        const auto name = registry->stringForKey(platform::format("singleBundleName%@_%@", appId, directory));
        if (name) {
            javaBundlePath = bundledRuntime(directory, *name);
        } else {
            javaBundlePath = platform::format("%@/.kestrav/jre.bundle", directory);
            if (!platform::directoryExistsAtPath(*javaBundlePath)) {
                const std::string plain = platform::format("%@/.kestrav/jre", directory);
                if (const auto version = plainRuntimeVersion(plain)) {
                    javaBundlePath = plain;
                    static_cast<void>(settle(signature, __LINE__, plain, judgePlainRuntime(plain, version, bounds)));
                    bundleChecking = false;
                }
            }
        }
        _DLog("%s [Line %d] checking %@", signature, 565, javaBundlePath);
        if (!bundleChecking) {
            continue;
        }
        if (!platform::fileExistsAtPath(*javaBundlePath)) {
            _DLog("%s [Line %d] rejected %@: %@", signature, __LINE__, javaBundlePath, "nothing exists there");
            continue;
        }
        if (tryBundle(signature, __LINE__, *javaBundlePath, bounds)) {
            return;
        }
    }
}

} // namespace kestrav
