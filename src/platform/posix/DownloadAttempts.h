#pragma once

#include "platform/posix/DownloadedFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// How a download goes on that broke: the rules, the same on every platform.

namespace kestrav::platform {

/// What an answer says of the file it brings.
struct DownloadAnswer {
    long status = 0;          // of HTTP; 0: another scheme
    std::int64_t length = -1; // of its body in bytes; -1: not announced
    // Headers; empty: not sent.
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
    AskForWhole, // the part does not fit: the whole file has to be asked for
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
    AnswerUse judge(const DownloadAnswer &answer);
    /// The rest of the file cannot be used after all.
    void refuseRest() { use_ = AnswerUse::AskForWhole; }

    void received(std::size_t bytes) { part_.length += static_cast<std::int64_t>(bytes); }

    /// What the file holds by now.
    [[nodiscard]] const DownloadPart &part() const { return part_; }
    /// The length of the whole file, -1 if it was not announced.
    [[nodiscard]] std::int64_t expectedLength() const { return expectedLength_; }

    /// After how many microseconds the download that has not come whole is tried again; empty if that is the end of it.
    /// `broken`: the connection broke or could not be had.
    [[nodiscard]] std::optional<std::int64_t> pauseBeforeNext(bool broken);

private:
    [[nodiscard]] bool isRest(const DownloadAnswer &answer) const;

    DownloadPart part_;
    std::int64_t expectedLength_ = -1;
    AnswerUse use_ = AnswerUse::None; // of the last attempt's answer
    bool reached_ = false;            // the server, with an answer that can be used, or later
    int retries_ = 0;
};

} // namespace kestrav::platform
