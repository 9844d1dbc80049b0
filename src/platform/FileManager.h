#pragma once

#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace kestrav::platform {

// Questions about the file system and changes to it. Any thread. Paths are UTF-8 bytes, handed to the system as they
// are; a path with a NUL byte names nothing.

/// Follows symbolic links: a dangling link does not exist.
[[nodiscard]] bool fileExistsAtPath(const std::string &path);

/// True if something exists at the path and is a directory.
[[nodiscard]] bool directoryExistsAtPath(const std::string &path);

/// What tells a regular file from a later one at its path: its size in bytes and the second of its last change, as
/// "2707 1763791234". Empty if it is missing or anything else.
[[nodiscard]] std::string fileStamp(const std::string &path);

/// The names in a directory, in the system's order, without "." and ".."; empty if it cannot be listed.
[[nodiscard]] std::optional<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string &path);

/// Creates a directory, with mode `permissions` less the umask. An existing directory is an error unless intermediate
/// directories are asked for.
[[nodiscard]] std::error_code createDirectoryAtPath(const std::string &path, bool withIntermediateDirectories,
                                                    mode_t permissions = 0777);

/// Removes a file, a link (not what it leads to) or a whole directory.
std::error_code removeItemAtPath(const std::string &path);

/// Exchanges the names of two files or folders on one file system in a single step, so that neither name is ever
/// missing. Some file systems cannot do that; `isUnsupportedExchange` tells their errors from others.
[[nodiscard]] std::error_code exchangeItems(const std::string &path, const std::string &other);
[[nodiscard]] bool isUnsupportedExchange(const std::error_code &error);

/// Changes the working directory, which all threads share.
std::error_code changeCurrentDirectoryPath(const std::string &path);

/// In bytes. No file that is read as a whole is nearly this large, but a sparse file may claim any size.
inline constexpr std::int64_t usualSizeLimit = std::int64_t{1} << 30;

/// The whole content of a regular file; empty if it cannot be read (a directory, a FIFO or a device cannot) or is
/// larger than the limit.
[[nodiscard]] std::optional<std::string> contentsOfFile(const std::string &path,
                                                        std::int64_t sizeLimit = usualSizeLimit);
/// The same for a file opened by `FileDescriptor::openRegularFile`.
[[nodiscard]] std::optional<std::string> contentsOfFile(const FileDescriptor &file,
                                                        std::int64_t sizeLimit = usualSizeLimit);

/// The whole content of a regular file that is valid UTF-8, without a byte-order mark.
[[nodiscard]] std::optional<std::string> stringWithContentsOfFile(const std::string &path,
                                                                  std::int64_t sizeLimit = usualSizeLimit);
[[nodiscard]] std::optional<std::string> stringWithContentsOfFile(const FileDescriptor &file,
                                                                  std::int64_t sizeLimit = usualSizeLimit);

/// Replaces the content of a file: readers see the old content or the new, never a part of it. Creates missing
/// directories.
[[nodiscard]] std::error_code writeFileAtomically(const std::string &path, std::string_view content);

/// A fixed location of the system, such as /Library/Java, below the root that tests may move.
[[nodiscard]] std::string systemPath(std::string_view path);

/// The directory for temporary files (TMPDIR or /tmp on Linux), without a trailing "/"; empty if it does not exist.
[[nodiscard]] std::optional<std::string> temporaryDirectory();

/// The same directory, followed by those to use instead if it is unsuitable, in this order. They may not exist.
[[nodiscard]] std::vector<std::string> temporaryDirectories();

/// The user's folder for files of this program or application that can be obtained again. It may not exist.
[[nodiscard]] std::string cacheDirectory();

/// The same folder for all of the user's applications.
[[nodiscard]] std::vector<std::string> cacheDirectories();

/// The file that records why starts of the application of this name have failed. It may not exist; the name may be any
/// text that a file name can hold.
[[nodiscard]] std::string failureLogFile(const std::string &application);

/// The user's home directory.
[[nodiscard]] std::string homeDirectory();

} // namespace kestrav::platform
