#pragma once

#include "platform/ProcessInfo.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::platform {

/// The names that the folders of the user's languages may have, the most preferred first: "de_DE", "de-DE", "de", …
[[nodiscard]] std::vector<std::string> preferredLanguages(const ProcessInfo::Environment &environment);

/// The path of the file in `resources` itself, which is for all languages. Without one, the file in the LANGUAGE.lproj
/// folder that suits the user best: a preferred language, the bundle's development region, English, else the
/// alphabetically first language. Empty if there is none.
[[nodiscard]] std::optional<std::string> localizedResource(const std::string &resources, std::string_view fileName,
                                                           const std::optional<std::string> &developmentRegion);

} // namespace kestrav::platform
