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

/// Something that a search took for a runtime, and what became of it.
struct Candidate {
    std::string path;  // or the name of an environment variable that is not set
    std::string place; // the entry of the search that led there
    CandidateVerdict verdict;
    bool isOwn = false; // the application's own, whose refusal ends a search
};

/// A runtime that the program can be started with.
struct JavaRuntime {
    std::string javaBundlePath;
    std::optional<std::string> launchJavaVersion; // for the launch library; empty if no check has accepted the runtime
    std::optional<std::string> javaVersion;       // as the runtime states it
    std::int32_t javaMajorVersion = -1;           // -1: unknown
    bool pluginUsed = false;                      // it is the public browser plug-in's
    std::optional<std::string> tarFile;           // the archive that it was extracted from, if it was
};

} // namespace kestrav
