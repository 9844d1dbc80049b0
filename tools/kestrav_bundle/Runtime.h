#pragma once

#include "Request.h"

#include <string>

namespace kestrav::tools {

/// A Java runtime that travels with an application.
struct Runtime {
    std::string folder;     ///< what is copied: the bundle, or the home alone
    bool isBundle = false;  ///< its home is Contents/Home in it
    bool hasInfo = false;   ///< it says by itself, in Contents/Info.plist, what it is
    std::string version;    ///< as it declares it: "17.0.9"
    std::string identifier; ///< its maker
};

/// What kind of machine a program is for: the system's executable format and, where it is one number, the processor.
/// Empty for anything else, such as a script.
[[nodiscard]] std::string machineOf(const std::string &path);

/// True if a launcher is for another kind of machine than this one: what belongs to it can be looked at, but not run.
[[nodiscard]] bool isForeign(const std::string &launcher);

/// Looks at a JDK or JRE folder: a bundle, or a home (the home of a bundle stands for the bundle). Refuses what is no
/// runtime, runs on another system than `launcher` (an executable), or lies outside the bounds; `name` is what the user
/// calls it.
[[nodiscard]] Runtime examineRuntime(const std::string &name, const std::string &folder, const RuntimeBounds &bounds,
                                     const std::string &launcher);

} // namespace kestrav::tools
