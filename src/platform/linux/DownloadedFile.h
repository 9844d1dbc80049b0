#pragma once

#include "platform/FileDescriptor.h"

#include <string>
#include <string_view>
#include <system_error>

namespace kestrav::platform {

/// The file that a download fills. Only the user can read it.
class DownloadedFile {
public:
    DownloadedFile() = default;
    DownloadedFile(std::string path, bool allowOverwrite) : path_(std::move(path)), allowOverwrite_(allowOverwrite) {}

    [[nodiscard]] const std::string &path() const { return path_; }

    /// Makes a new file. What stands at its path is replaced, never followed or written into, or is an error.
    [[nodiscard]] std::error_code create();
    [[nodiscard]] std::error_code write(std::string_view bytes);
    /// Ends the writing; what some file systems report only now is an error as well.
    [[nodiscard]] std::error_code close();
    /// Removes the file if `create` made it.
    void discard();

private:
    std::string path_;
    bool allowOverwrite_ = false;
    bool created_ = false;
    FileDescriptor descriptor_;
};

} // namespace kestrav::platform
