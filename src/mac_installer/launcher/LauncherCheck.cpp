#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/global.h"
#include "platform/DebugLog.h"

namespace kestrav {

OptionalText Launcher::checkJavaVersion(const OptionalText &minVersion, const OptionalText &maxVersion, bool allowBeta,
                                        bool plugin, const OptionalText &requiredVmPrefix) {
    return keepVersion(judgeCandidate(javaBundle.get(), {minVersion, maxVersion, requiredVmPrefix, allowBeta}, plugin));
}

OptionalText Launcher::checkBundleVersion(const OptionalText &minVersion, const OptionalText &maxVersion,
                                          bool allowBeta, bool plugin, const OptionalText &bundleVersion,
                                          const OptionalText &evarVersion, const OptionalText &infoString) {
    return keepVersion(judgeVersion({std::nullopt, bundleVersion, evarVersion, infoString},
                                    {minVersion, maxVersion, std::nullopt, allowBeta}, plugin));
}

OptionalText Launcher::keepVersion(const CandidateVerdict &verdict) {
    if (verdict.launchVersion) {
        javaVersion = verdict.declaredVersion;
        javaMajorVersion = verdict.majorVersion;
    }
    return verdict.launchVersion;
}

/// Keeps what was judged: the version of a runtime that was accepted, or that this one was refused.
bool Launcher::settle(const char *signature, int line, const std::string &path, const CandidateVerdict &verdict,
                      bool isOwn) {
    setLaunchJavaVersion(keepVersion(verdict));
    if (verdict.launchVersion) {
        return true;
    }
    _DLog("%s [Line %d] rejected %@: %@", signature, line, path, verdict.refusal);
    const auto isHigher = [&] {
        const OptionalText &highest = highestRefused->verdict.declaredVersion;
        return verdict.declaredVersion && (!highest || compareVersion(*verdict.declaredVersion, *highest) > 0);
    };
    if (verdict.isDirectory && (isOwn || !highestRefused || (!highestRefused->isOwn && isHigher()))) {
        highestRefused = RefusedRuntime{path, verdict, isOwn};
    }
    return false;
}

bool Launcher::tryBundle(const char *signature, int line, const std::string &path, const RuntimeBounds &bounds,
                         bool plugin) {
    checkpoint();
    javaBundle = platform::Bundle::create(path);
    if (settle(signature, line, path, judgeCandidate(javaBundle.get(), bounds, plugin))) {
        return true;
    }
    javaBundle.reset();
    return false;
}

} // namespace kestrav
