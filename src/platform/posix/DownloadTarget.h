#pragma once

#include "platform/URLDownload.h"
#include "platform/posix/DownloadAttempts.h"
#include "platform/posix/DownloadedFile.h"

#include <string>
#include <string_view>

namespace kestrav::platform {

/// What every platform does with the data of a download: the attempts to get them and the file that they fill. After an
/// operation that fails, `failure` says why.
class DownloadTarget {
public:
    void setKeepsPart(bool keeps) { keepsPart_ = keeps; }
    void setOtherDestination(URLDownload::OtherDestination other) { other_ = std::move(other); }
    /// Sets the file and, if parts are kept, continues an earlier part of it.
    void open(const std::string &path, bool allowOverwrite);

    /// Begins the next attempt. Empty if the whole file is to be asked for.
    [[nodiscard]] std::optional<DownloadAttempts::Range> beginAttempt();
    /// Judges the answer and prepares the file for its body; false if the body is not wanted.
    [[nodiscard]] bool receiveAnswer(const DownloadAnswer &answer);
    [[nodiscard]] bool receive(std::string_view bytes);
    /// Ends the writing. False if the file is incomplete, which means a broken connection, or could not be written.
    [[nodiscard]] bool finish();
    /// See `DownloadAttempts`.
    [[nodiscard]] std::optional<std::int64_t> pauseBeforeNext(bool broken) { return attempts_.pauseBeforeNext(broken); }
    /// Ends the download before the file is whole.
    void breakOff() { file_.breakOff(); }

    /// How many bytes the file has, and how many are expected (-1: not announced).
    [[nodiscard]] std::int64_t length() const { return attempts_.part().length; }
    [[nodiscard]] std::int64_t expectedLength() const { return attempts_.expectedLength(); }
    [[nodiscard]] bool isShort() const { return length() < expectedLength(); }
    [[nodiscard]] const std::string &failure() const { return failure_; }

private:
    [[nodiscard]] bool beginFile();
    [[nodiscard]] bool resumeFile();
    /// Stores in `failure_` what went wrong with the file; true if nothing did.
    bool succeeded(const std::error_code &error);

    bool keepsPart_ = false;
    URLDownload::OtherDestination other_;
    bool wasFull_ = false;      // there was no room for all of the file, so it begins anew elsewhere
    std::int64_t outgrown_ = 0; // the length for which there was no room, in bytes
    DownloadedFile file_;
    DownloadAttempts attempts_;
    std::string failure_;
};

} // namespace kestrav::platform
