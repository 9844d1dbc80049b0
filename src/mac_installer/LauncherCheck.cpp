#include "mac_installer/CandidateInfo.h"
#include "mac_installer/Launcher.h"
#include "mac_installer/global.h"
#include "platform/text.h"

namespace kestrav {

namespace {

/// The plug-in writes 1.8.0_202 as 1.8.202.08: its version list without the build number, in the usual form.
std::vector<std::string> usualForm(std::vector<std::string> pluginList) {
    if (pluginList.size() == 4 && pluginList[0] == "1" && pluginList[2] != "0") {
        return {pluginList[0], pluginList[1], "0", pluginList[2]};
    }
    return pluginList;
}

/// 8 for 1.8.0_202, 11 for 11.0.2, -1 for nothing.
std::int32_t majorVersion(const std::vector<std::string> &versionList) {
    if (versionList.empty()) {
        return -1;
    }
    const auto first = platform::intValue(versionList[0]);
    return first == 1 && versionList.size() > 1 ? platform::intValue(versionList[1]) : first;
}

} // namespace

OptionalText Launcher::checkJavaVersion(const OptionalText &minVersion, const OptionalText &maxVersion, bool allowBeta,
                                        bool plugin, const OptionalText &requiredVmPrefix) {
    static constexpr const char *signature = "-[Launcher checkJavaVersion:max:allowBeta:plugin:requiredVmPrefix:]";
    if (!javaBundle) {
        return checkBundleVersion(minVersion, maxVersion, allowBeta, plugin, {}, {}, {});
    }
    const CandidateInfo info = candidateInfo(*javaBundle, plugin);

    _DLog("%s [Line %d] identifier1 %@", signature, 393, requiredVmPrefix);
    if (requiredVmPrefix && !requiredVmPrefix->empty() && info.identifier) {
        _DLog("%s [Line %d] identifier %@ %@", signature, 397, info.identifier, requiredVmPrefix);
        if (!info.identifier->starts_with(*requiredVmPrefix)) {
            return std::nullopt;
        }
    }
    if (!checkArchitecture(*javaBundle)) {
        return std::nullopt;
    }
    return checkBundleVersion(minVersion, maxVersion, allowBeta, plugin, info.version, info.evarVersion,
                              info.infoString);
}

OptionalText Launcher::checkBundleVersion(const OptionalText &minVersion, const OptionalText &maxVersion,
                                          bool allowBeta, bool plugin, const OptionalText &bundleVersion,
                                          const OptionalText &evarVersion, const OptionalText &infoString) {
    static constexpr const char *signature =
        "-[Launcher checkBundleVersion:max:allowBeta:plugin:bundleVersion:evarVersion:infoString:]";

    const auto judge = [&]() -> OptionalText {
        if (!bundleVersion) {
            return std::nullopt;
        }
        if (!allowBeta && (isBetaVersion(bundleVersion) || isBetaVersion(evarVersion) || isBetaVersion(infoString))) {
            _DLog("%s [Line %d] beta not allowed %@", signature, 428, bundleVersion);
            return std::nullopt;
        }
        std::vector<std::string> versionList = versionListOf(*bundleVersion);
        if (plugin) {
            versionList = usualForm(std::move(versionList));
        }
        _DLog("%s [Line %d] comparing3 %@ %@ %@ %@", signature, 435, bundleVersion, versionList, minVersion,
              maxVersion);
        const bool reachesMinimum = compareVersion(minVersion, versionList, false);
        const bool keepsMaximum = compareVersion(maxVersion, versionList, true);
        _DLog("%s [Line %d] comparing4 %d %d", signature, 440, reachesMinimum, keepsMaximum);
        if (!reachesMinimum || !keepsMaximum) {
            return std::nullopt;
        }
        javaVersion = bundleVersion;
        javaMajorVersion = majorVersion(versionList);
        return bundleVersion->substr(0, bundleVersion->find_first_of("_+"));
    };

    OptionalText result = judge();
    _DLog("%s [Line %d] check returned %s", signature, 465, result);
    return result;
}

} // namespace kestrav
