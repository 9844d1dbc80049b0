#pragma once

#include "platform/posix/DownloadedFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The rules by which a broken download continues, the same on every platform.

namespace kestrav::platform {

/// What an answer says about the file it brings.
struct DownloadAnswer {
    long status = 0;          // the HTTP status; 0: another scheme
    std::int64_t length = -1; // the body's, in bytes; -1: not announced
    // Headers; an empty one was not sent.
    std::string_view entityTag;
    std::string_view lastModified;
    std::string_view date;
    std::string_view contentRange;
};

/// What an answer is good for.
enum class AnswerUse {
    None,
    WholeFile,
    RestOfFile,
    AskForWhole, // the part does not match, or the file needs another place: the whole file has to be asked for
    TryLater,
};

/// One download's attempts.
class DownloadAttempts {
public:
    /// The headers "Range" and "If-Range" that ask for the rest of a file.
    struct Range {
        std::string bytes;
        std::string condition;
    };

    DownloadAttempts() = default;
    explicit DownloadAttempts(DownloadPart part) : part_(std::move(part)) {}

    /// Begins the next attempt. Empty if the whole file is to be asked for.
    [[nodiscard]] std::optional<Range> begin();
    /// Judges the answer to it.
    AnswerUse classify(const DownloadAnswer &answer);
    /// What the answer brings cannot be used after all: the next attempt, without a pause, asks for the whole file.
    void askForWhole() { use_ = AnswerUse::AskForWhole; }

    void received(std::size_t bytes) { part_.length += static_cast<std::int64_t>(bytes); }

    /// What the file holds so far.
    [[nodiscard]] const DownloadPart &part() const { return part_; }
    /// The length of the whole file, -1 if it was not announced.
    [[nodiscard]] std::int64_t expectedLength() const { return expectedLength_; }

    /// The microseconds after which an incomplete download is tried again; empty if it is given up. `broken`: the
    /// connection broke or could not be made.
    [[nodiscard]] std::optional<std::int64_t> pauseBeforeNext(bool broken);

private:
    [[nodiscard]] bool isRest(const DownloadAnswer &answer) const;

    DownloadPart part_;
    std::int64_t expectedLength_ = -1;
    AnswerUse use_ = AnswerUse::None; // of the last attempt's answer
    bool reached_ = false;            // the server gave an answer that can be used, or asked to try later
    int retries_ = 0;
};

} // namespace kestrav::platform
