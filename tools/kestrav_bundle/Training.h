#pragma once

#include "Request.h"
#include "Runtime.h"
#include "platform/PropertyList.h"

#include <string>
#include <vector>

// An application is trained: it runs once here, and what its virtual machine records of the classes it loads makes
// later starts quicker. Nothing is recorded where the application is used.

namespace kestrav::tools {

/// Refuses what cannot be trained. `info` is the application's Info.plist; `folder`, which is made, is for what the
/// runtime writes.
void requireTrainable(const Runtime &runtime, const platform::PropertyList &info, const std::string &folder);

/// An application with its runtime as a folder.
struct Trainee {
    const Request &request;
    const Runtime &runtime;
    platform::PropertyList info; ///< its Info.plist without a recording
    std::string application;
    std::string folder; ///< the one of `requireTrainable`
};

/// Runs the application and leaves what was recorded beside its archives. Returns the entry "Recording" for its
/// Info.plist. Refuses a program that fails, and a recording that would not be valid elsewhere.
[[nodiscard]] platform::PropertyList train(const Trainee &trainee, std::vector<std::string> &notes);

} // namespace kestrav::tools
