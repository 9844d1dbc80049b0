#pragma once

#include "platform/Bundle.h"

#include <optional>
#include <string>

namespace kestrav {

/// The strings by which a runtime bundle is judged. A value of another type counts as missing: the runtime is not the
/// application maker's to mend.
struct CandidateInfo {
    std::optional<std::string> identifier;
    std::optional<std::string> version;
    std::optional<std::string> evarVersion;
    std::optional<std::string> infoString;
};

/// Reads them. `plugin`: the bundle is the browser plug-in's, which may keep its version in `CFBundleVersion`.
[[nodiscard]] CandidateInfo candidateInfo(const platform::Bundle &bundle, bool plugin);

/// A top-level string of a bundle's information dictionary.
[[nodiscard]] std::optional<std::string> bundleText(const platform::Bundle &bundle, std::string_view key);

/// True if this process can load the bundle's code. Only a process that runs translated is picky: it needs x86-64 code.
[[nodiscard]] bool checkArchitecture(const platform::Bundle &bundle);

} // namespace kestrav
