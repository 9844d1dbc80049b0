#pragma once

#include "platform/Bundle.h"

#include <optional>
#include <string>

namespace kestrav {

/// The texts by which a runtime bundle is judged. A value that is no text counts as missing: a runtime is somebody
/// else's.
struct CandidateInfo {
    std::optional<std::string> identifier;
    std::optional<std::string> version;
    std::optional<std::string> evarVersion;
    std::optional<std::string> infoString;
};

/// Reads the texts. `plugin`: the bundle is the browser plug-in's, which may keep its version in `CFBundleVersion`.
[[nodiscard]] CandidateInfo candidateInfo(const platform::Bundle &bundle, bool plugin);

/// A top-level text of a bundle's information dictionary.
[[nodiscard]] std::optional<std::string> bundleText(const platform::Bundle &bundle, std::string_view key);

/// True if this process can load the bundle's code. Only a process that runs translated is asked for more than the
/// bundle's being there: it needs x86-64 code.
[[nodiscard]] bool checkArchitecture(const platform::Bundle &bundle);

} // namespace kestrav
