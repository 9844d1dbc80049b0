#pragma once

#include "platform/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kestrav::platform {

/// A part of a file, and the version of the file at its source.
struct DownloadPart {
    std::int64_t length = 0; // bytes
    std::string validator;   // the value by which the server tells versions apart; empty: none
};

inline constexpr std::size_t longestValidator = 500;

/// `text` if it can be sent as the condition of a request for the rest of a file, else empty.
[[nodiscard]] std::string usableValidator(std::string_view text);

/// The file that a download fills. Only the user can read it. One whose part is kept gets its name when it is complete.
class DownloadedFile {
public:
    DownloadedFile() = default;
    /// `keepsPart`: what is there when the download breaks off is kept, so that a later one can continue.
    DownloadedFile(std::string path, bool allowOverwrite, bool keepsPart)
        : path_(std::move(path)), allowOverwrite_(allowOverwrite), keepsPart_(keepsPart) {}

    [[nodiscard]] const std::string &path() const { return path_; }

    /// A message that the folder has no room for so many bytes; empty if it has, or if the file system does not say.
    [[nodiscard]] std::string lackOfRoom(std::int64_t bytes) const;

    /// Opens what an earlier download has left, so that `write` appends to it.
    [[nodiscard]] std::optional<DownloadPart> openPart();
    /// Creates a new file. Anything at its path is replaced, never followed or written into; without `allowOverwrite`
    /// it is an error.
    [[nodiscard]] std::error_code create(const std::string &validator);
    [[nodiscard]] std::error_code write(std::string_view bytes);
    /// Closes the complete file, which then has its name. Some file systems report errors only now.
    [[nodiscard]] std::error_code finish();
    /// Closes the incomplete file, and removes it unless it is kept.
    void breakOff();
    /// Removes the file, if it was opened here.
    void discard();

private:
    [[nodiscard]] std::string writtenPath() const; // where the file lies until it is complete

    std::string path_;
    bool allowOverwrite_ = false;
    bool keepsPart_ = false;
    bool opened_ = false; // from then on it is ours to remove
    FileDescriptor descriptor_;
};

} // namespace kestrav::platform
