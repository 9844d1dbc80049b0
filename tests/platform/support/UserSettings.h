#pragma once

#include "platform/PropertyList.h"

#include <string>
#include <vector>

// The user's settings, put where the platform under test looks for them. Each platform has its own implementation.

namespace kestrav::tests {

/// The user's languages, such as "de_DE", the preferred one first.
void setPreferredLanguages(const std::vector<std::string> &languages);

enum class DefaultsDomain { own, suite, global };
/// The name that a suite is added by.
inline constexpr const char *suiteName = "org.example.suite";
/// Replaces all values of a domain.
void setDefaults(DefaultsDomain domain, const platform::PropertyList &values);

} // namespace kestrav::tests
