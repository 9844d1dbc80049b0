#pragma once

#include "Request.h"
#include "platform/PropertyList.h"

#include <string>

// The bare Launcher.app that an application is made from.

namespace kestrav::tools {

/// Where the launcher, the files of the program, and a runtime that travels as a folder lie in it.
constexpr const char *templateExecutable = "Contents/MacOS/launcher";
constexpr const char *templateFiles = "Contents/Resources/app";
constexpr const char *templateRuntime = "Contents/PlugIns/jre.bundle";

/// The template that was asked for, or the one that was installed or built with this program, which lies in
/// `ownFolder`. Refuses a place without one, and a template with the files of an application.
[[nodiscard]] std::string findTemplate(const Request &request, const std::string &ownFolder);

/// Its Info.plist.
[[nodiscard]] platform::PropertyList templateInfoOf(const std::string &bundleTemplate);

} // namespace kestrav::tools
