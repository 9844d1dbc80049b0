#pragma once

#include "platform/PropertyList.h"

#include <optional>
#include <string>
#include <vector>

namespace kestrav::tools {

/// An option for the virtual machines of some versions alone.
struct VersionedOption {
    int lowest = 0;
    int highest = 0; ///< included
    std::string option;
};

/// Reads "17-21:OPTION", "17:OPTION" or "17-:OPTION"; empty for an option that begins otherwise, which is for all
/// versions. Refuses a range without a version.
[[nodiscard]] std::optional<VersionedOption> versionedOption(const std::string &text);

/// The pairs of versions and options for Info.plist. The launcher takes the first pair that fits and no other, so no
/// two have a version in common.
[[nodiscard]] platform::PropertyList::Array pairsOf(const std::vector<VersionedOption> &options);

/// The options of such pairs that a runtime of this version gets; those of patterns ("*17.0.9") are left out.
[[nodiscard]] std::vector<std::string> optionsFor(const std::string &version,
                                                  const platform::PropertyList::Array &pairs);

} // namespace kestrav::tools
