#pragma once

#include "mac_installer/launcher/CandidateInfo.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kestrav {

/// What the configuration asks of a runtime. An absent or empty bound is no bound.
struct RuntimeBounds {
    std::optional<std::string> minVersion;
    std::optional<std::string> maxVersion;
    std::optional<std::string> requiredVmIdPrefix;
    bool allowBeta = false;
};

/// What the checks say of a candidate: the version by which it is started, or why it is refused.
struct CandidateVerdict {
    std::optional<std::string> launchVersion;   // for the launch library; empty: refused
    std::optional<std::string> declaredVersion; // as the runtime states it
    std::int32_t majorVersion = -1;             // of one that was accepted; -1: unknown
    std::string refusal;                        // in words; empty for one that was accepted
    bool isDirectory = true;                    // false: it could not even be a runtime
};

/// Judges a runtime bundle; null stands for something that cannot be opened as one. `plugin`: it is the browser
/// plug-in's.
[[nodiscard]] CandidateVerdict judgeCandidate(const platform::Bundle *bundle, const RuntimeBounds &bounds, bool plugin);

/// The words for a runtime, bundle or not, whose `java` is for another processor; empty if it is not, or is missing.
[[nodiscard]] std::string otherProcessorReason(const std::string &path);

/// Judges a plain runtime directory, whose version is known from elsewhere.
[[nodiscard]] CandidateVerdict judgePlainRuntime(const std::string &path, const std::optional<std::string> &version,
                                                 const RuntimeBounds &bounds);

/// Judges a runtime by its version alone.
[[nodiscard]] CandidateVerdict judgeVersion(const CandidateInfo &info, const RuntimeBounds &bounds, bool plugin);

} // namespace kestrav
