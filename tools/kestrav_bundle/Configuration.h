#pragma once

#include "Program.h"
#include "Runtime.h"

#include <cstdint>

namespace kestrav::tools {

/// The archive of a runtime that travels with the application, if it does so as an archive.
struct RuntimeArchive {
    std::uint64_t size = 0; ///< bytes before compression; 0: there is none
    std::string sha256;
};

/// The user's property list; an empty one without it. Refuses one that cannot be read.
[[nodiscard]] platform::PropertyList::Dictionary userInfo(const Request &request);

/// The request with the bounds, address, main class and other entries that the user's property list sets. Refuses a
/// list that cannot be read.
[[nodiscard]] Request withInfo(Request request);

/// The application's Info.plist: the template's general entries, what the request, the program and the runtime's
/// archive say, and above all the user's own property list; and what was recorded in training, as `train` returns it.
/// Refuses what the launcher could not read.
[[nodiscard]] platform::PropertyList configuration(const platform::PropertyList &templateInfo, const Request &request,
                                                   const Program &program, const RuntimeArchive &archive,
                                                   const std::optional<platform::PropertyList> &recording);

/// Writes an application's Info.plist.
void writeInfo(const platform::PropertyList &info, const std::string &application);

/// The bounds as the application will have them: without a minimum, the oldest version that can read the main class.
/// Refuses bounds within which no runtime could start it.
[[nodiscard]] RuntimeBounds effectiveBounds(const Request &request, const Program &program);

} // namespace kestrav::tools
