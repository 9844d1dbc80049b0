#include "mac_installer/launcher/LaunchLibrary.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/Machine.h"
#include "platform/text.h"

#include <utility>

namespace kestrav {

namespace {

CandidateVerdict refused(const CandidateInfo &info, std::string reason) {
    CandidateVerdict verdict;
    verdict.declaredVersion = info.version;
    verdict.refusal = std::move(reason);
    return verdict;
}

/// The plug-in writes 1.8.0_202 as 1.8.202.08: its version list without the build number, in the usual form.
std::vector<std::string> usualForm(std::vector<std::string> pluginList) {
    if (pluginList.size() == 4 && pluginList[0] == "1" && pluginList[2] != "0") {
        return {pluginList[0], pluginList[1], "0", pluginList[2]};
    }
    return pluginList;
}

/// 8 for 1.8.0_202, 11 for 11.0.2, -1 for nothing.
std::int32_t majorVersionOf(const std::vector<std::string> &versionList) {
    if (versionList.empty()) {
        return -1;
    }
    const auto first = platform::intValue(versionList[0]);
    return first == 1 && versionList.size() > 1 ? platform::intValue(versionList[1]) : first;
}

/// Says what marks a runtime as a pre-release; empty if nothing does.
std::string preReleaseReason(const CandidateInfo &info) {
    if (Launcher::isBetaVersion(info.version)) {
        return *info.version + " is a pre-release";
    }
    for (const OptionalText &text : {info.evarVersion, info.infoString}) {
        if (Launcher::isBetaVersion(text)) {
            return "it is marked as a pre-release: " + *text;
        }
    }
    return "";
}

std::string outOfBoundsReason(const std::string &version, const RuntimeBounds &bounds) {
    std::string reason = "version " + version + " is not within the bounds";
    for (const auto &[name, bound] : {std::pair(", minimum ", bounds.minVersion), {", maximum ", bounds.maxVersion}}) {
        if (bound && !bound->empty()) {
            reason.append(name).append(*bound);
        }
    }
    return reason;
}

CandidateVerdict versionVerdict(const CandidateInfo &info, const RuntimeBounds &bounds, bool plugin,
                                const char *signature) {
    if (!info.version) {
        return refused(info, "it declares no version");
    }
    const std::string preRelease = bounds.allowBeta ? "" : preReleaseReason(info);
    if (!preRelease.empty()) {
        _DLog("%s [Line %d] beta not allowed %@", signature, 428, info.version);
        return refused(info, preRelease);
    }
    std::vector<std::string> versionList = Launcher::versionListOf(*info.version);
    if (plugin) {
        versionList = usualForm(std::move(versionList));
    }
    _DLog("%s [Line %d] comparing3 %@ %@ %@ %@", signature, 435, info.version, versionList, bounds.minVersion,
          bounds.maxVersion);
    const bool reachesMinimum = Launcher::compareVersion(bounds.minVersion, versionList, false);
    const bool keepsMaximum = Launcher::compareVersion(bounds.maxVersion, versionList, true);
    _DLog("%s [Line %d] comparing4 %d %d", signature, 440, reachesMinimum, keepsMaximum);
    if (!reachesMinimum || !keepsMaximum) {
        return refused(info, outOfBoundsReason(*info.version, bounds));
    }
    CandidateVerdict verdict;
    verdict.declaredVersion = info.version;
    verdict.launchVersion = info.version->substr(0, info.version->find_first_of("_+"));
    verdict.majorVersion = majorVersionOf(versionList);
    return verdict;
}

} // namespace

CandidateVerdict Launcher::checkBundleVersion(const CandidateInfo &info, const RuntimeBounds &bounds, bool plugin) {
    static constexpr const char *signature =
        "-[Launcher checkBundleVersion:max:allowBeta:plugin:bundleVersion:evarVersion:infoString:]";
    CandidateVerdict verdict = versionVerdict(info, bounds, plugin, signature);
    _DLog("%s [Line %d] check returned %s", signature, 465, verdict.launchVersion);
    return verdict;
}

std::string Launcher::otherProcessorReason(const std::string &path) {
    return platform::runsOnThisProcessor(javaProgram(path)) ? "" : "its bin/java is for another processor";
}

CandidateVerdict Launcher::requiringLaunchLibrary(CandidateVerdict verdict, const std::string &path,
                                                  bool plugin) const {
    if (!isOneProcess || !verdict.launchVersion) {
        return verdict;
    }
    const std::string library = plugin ? pluginLibraryPath() : launchLibraryPath(path);
    if (!platform::fileExistsAtPath(library)) {
        verdict.refusal = "it has no launch library (libjli)";
    } else if (!platform::loadsIntoThisProcess(library)) {
        verdict.refusal = platform::isCutOff(library) ? "its launch library (libjli) is cut off"
                                                      : "its launch library has no code for this process's processor";
    }
    if (!verdict.refusal.empty()) {
        verdict.launchVersion.reset();
    }
    return verdict;
}

CandidateVerdict Launcher::checkPlainRuntime(const std::string &path, const OptionalText &version,
                                             const RuntimeBounds &bounds) {
    CandidateInfo info;
    info.version = version;
    const std::string reason = otherProcessorReason(path);
    return reason.empty() ? checkBundleVersion(info, bounds, false) : refused(info, reason);
}

CandidateVerdict Launcher::checkJavaVersion(const platform::Bundle *bundle, const RuntimeBounds &bounds, bool plugin) {
    static constexpr const char *signature = "-[Launcher checkJavaVersion:max:allowBeta:plugin:requiredVmPrefix:]";
    if (bundle == nullptr) {
        CandidateVerdict verdict = checkBundleVersion({}, bounds, plugin);
        verdict.refusal = "it is not a directory that can be opened";
        verdict.isDirectory = false;
        return verdict;
    }
    const CandidateInfo info = candidateInfo(*bundle, plugin);
    const std::string prefix = bounds.requiredVmIdPrefix.value_or("");
    _DLog("%s [Line %d] identifier1 %@", signature, 393, bounds.requiredVmIdPrefix);
    if (!prefix.empty() && info.identifier) {
        _DLog("%s [Line %d] identifier %@ %@", signature, 397, info.identifier, prefix);
        if (!info.identifier->starts_with(prefix)) {
            return refused(info, "its identifier " + *info.identifier + " does not begin with " + prefix);
        }
    }
    if (!checkArchitecture(*bundle)) {
        return refused(info, "it has no code for this process's architecture");
    }
    if (const std::string reason = otherProcessorReason(bundle->bundlePath()); !reason.empty()) {
        return refused(info, reason);
    }
    CandidateVerdict verdict = checkBundleVersion(info, bounds, plugin);
    if (!info.version && bundle->damage()) {
        verdict.refusal = *bundle->damage();
    }
    return verdict;
}

JavaRuntime Launcher::runtimeOf(const std::string &path, const CandidateVerdict &verdict) {
    const OptionalText version = verdict.launchVersion ? verdict.declaredVersion : std::nullopt;
    return {path, verdict.launchVersion, version, verdict.majorVersion, false, std::nullopt};
}

JavaRuntime Launcher::chosenRuntime(const std::string &path, const platform::Bundle *bundle) {
    return runtimeOf(path, checkJavaVersion(bundle, {{}, {}, {}, true}, false));
}

} // namespace kestrav
