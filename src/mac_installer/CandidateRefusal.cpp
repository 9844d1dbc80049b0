#include "mac_installer/CandidateRefusal.h"

#include "mac_installer/CandidateInfo.h"
#include "platform/format.h"

namespace kestrav {

std::string versionRefusalReason(const OptionalText &version, const RuntimeBounds &bounds) {
    if (!version) {
        return "it declares no version";
    }
    if (!bounds.allowBeta && Launcher::isBetaVersion(version)) {
        return platform::format("%@ is a pre-release", version);
    }
    std::string reason = "version " + *version + " is not within the bounds";
    if (bounds.minVersion) {
        reason += ", minimum " + *bounds.minVersion;
    }
    if (bounds.maxVersion) {
        reason += ", maximum " + *bounds.maxVersion;
    }
    return reason;
}

std::string refusalReason(const platform::Bundle *bundle, const RuntimeBounds &bounds, bool plugin) {
    if (bundle == nullptr) {
        return "it is no directory that can be opened";
    }
    const CandidateInfo info = candidateInfo(*bundle, plugin);
    const std::string prefix = bounds.requiredVmIdPrefix.value_or("");
    if (info.identifier && !info.identifier->starts_with(prefix)) {
        return platform::format("its identifier %@ does not begin with %@", info.identifier, prefix);
    }
    if (!checkArchitecture(*bundle)) {
        return "it has no code for this process's architecture";
    }
    if (info.version && !bounds.allowBeta &&
        (Launcher::isBetaVersion(info.evarVersion) || Launcher::isBetaVersion(info.infoString))) {
        return "it is marked as a pre-release";
    }
    return versionRefusalReason(info.version, bounds);
}

} // namespace kestrav
