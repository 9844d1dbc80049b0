#pragma once

#include <cstdint>
#include <string>
#include <system_error>

// A folder of the user's own for what outlives a run and is started later: nobody else can reach it, and what appears
// there is whole and stays after a loss of power.

namespace kestrav::platform {

/// Why a folder is not the user's alone: it is missing, a link, belongs to somebody else, others have rights in it, or
/// others can exchange it. Empty if it will do.
[[nodiscard]] std::string objectionToPrivateFolder(const std::string &path);

/// Makes such a folder, with missing parents; an existing one is left as it is.
[[nodiscard]] std::error_code makePrivateFolder(const std::string &path);

/// True if the system lets programs be started that lie in a folder. A file is made there for a moment.
[[nodiscard]] bool programsCanBeStartedFrom(const std::string &folder);

/// Why so many bytes do not fit into a folder; empty if they do, or if the file system does not tell.
[[nodiscard]] std::string objectionToRoom(const std::string &folder, std::int64_t needed);

/// What is said of it.
[[nodiscard]] std::string lackOfRoom(std::int64_t available, std::int64_t needed);

/// Writes all that lies in a folder to the storage itself.
[[nodiscard]] std::error_code syncFolder(const std::string &path);

/// Moves something to a free name in the same folder, and has the storage record it.
[[nodiscard]] std::error_code moveWithin(const std::string &folder, const std::string &name,
                                         const std::string &newName);

} // namespace kestrav::platform
