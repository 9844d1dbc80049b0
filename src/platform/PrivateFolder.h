#pragma once

#include <cstdint>
#include <string>
#include <system_error>

// A folder of the user's own for files that outlive a run and are executed later: nobody else can reach it, and what
// appears there is complete and survives a loss of power.

namespace kestrav::platform {

/// Why a folder is not private to the user: it is missing, is a link, belongs to another user, gives others
/// permissions, or can be exchanged by others. Empty if it is private.
[[nodiscard]] std::string objectionToPrivateFolder(const std::string &path);

/// Creates such a folder, with missing parents; an existing one is left as it is.
[[nodiscard]] std::error_code makePrivateFolder(const std::string &path);

/// True if the system allows programs in a folder to be executed. A file is created there for a moment.
[[nodiscard]] bool programsCanBeStartedFrom(const std::string &folder);

/// The message if it does not.
inline constexpr const char *noProgramsFrom = "programs cannot be started from it";

/// Why programs cannot be put into an existing folder and started from there, as far as a look tells; empty if they
/// can.
[[nodiscard]] std::string objectionToPrograms(const std::string &folder);

/// Why `makePrivateFolder` would not make a folder of the user's own that can hold so many bytes of programs, or why
/// the one that is there will not do, as far as a look tells; empty if it will.
[[nodiscard]] std::string objectionToFutureFolder(const std::string &path, std::int64_t room);

/// Why so many bytes do not fit into a folder; empty if they do, or if the file system does not say.
[[nodiscard]] std::string objectionToRoom(const std::string &folder, std::int64_t needed);

/// The message for a lack of room.
[[nodiscard]] std::string lackOfRoom(std::int64_t available, std::int64_t needed);

/// Writes everything in a folder to the storage device.
[[nodiscard]] std::error_code syncFolder(const std::string &path);

/// Renames something to a free name in the same folder, and writes that to the storage device.
[[nodiscard]] std::error_code moveWithin(const std::string &folder, const std::string &name,
                                         const std::string &newName);

} // namespace kestrav::platform
