#include "platform/posix/DownloadAttempts.h"

#include "platform/downloadRules.h"
#include "platform/format.h"

#include <charconv>
#include <utility>

namespace kestrav::platform {

namespace {

constexpr int mostRetries = 4;
constexpr std::int64_t firstPause = 500'000; // microseconds; each further one is twice as long

/// The parts of "bytes FIRST-LAST/LENGTH".
struct ContentRange {
    std::int64_t first = -1;
    std::int64_t last = -1;
    std::int64_t length = -1;
};

std::optional<ContentRange> contentRange(std::string_view text) {
    ContentRange range;
    std::pair<std::string_view, std::int64_t *> pieces[] = {
        {"bytes ", &range.first}, {"-", &range.last}, {"/", &range.length}};
    for (const auto &[before, number] : pieces) {
        if (text.substr(0, before.size()) != before) {
            return std::nullopt;
        }
        text.remove_prefix(before.size());
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
        if (error != std::errc()) {
            return std::nullopt;
        }
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    }
    return text.empty() ? std::optional(range) : std::nullopt;
}

/// The header that identifies this version of the file: the tag unless it is weak, else the date of the last change
/// unless the file may have changed again within the same second.
std::string validatorOf(const DownloadAnswer &answer) {
    const std::string_view tag = answer.entityTag;
    if (tag.size() >= 2 && tag.starts_with('"') && tag.ends_with('"')) {
        return usableValidator(tag);
    }
    return answer.lastModified == answer.date ? std::string() : usableValidator(answer.lastModified);
}

} // namespace

std::optional<DownloadAttempts::Range> DownloadAttempts::begin() {
    use_ = AnswerUse::None;
    if (part_.length == 0 || part_.validator.empty()) {
        part_ = {};
        return std::nullopt;
    }
    return Range{format("bytes=%ld-", part_.length), part_.validator};
}

AnswerUse DownloadAttempts::classify(const DownloadAnswer &answer) {
    const bool askedForRest = part_.length > 0;
    if (answer.status == 502 || answer.status == 503 || answer.status == 504) {
        use_ = AnswerUse::TryLater;
    } else if (askedForRest && (answer.status == 206 || answer.status == 416)) {
        use_ = isRest(answer) ? AnswerUse::RestOfFile : AnswerUse::AskForWhole;
    } else if (answer.status != 0 && !statusBringsFile(answer.status)) {
        use_ = AnswerUse::None;
    } else {
        use_ = AnswerUse::WholeFile;
        part_ = {0, validatorOf(answer)};
        expectedLength_ = answer.length;
    }
    if (use_ == AnswerUse::RestOfFile) {
        expectedLength_ = contentRange(answer.contentRange)->length;
    }
    reached_ = reached_ || use_ != AnswerUse::None;
    return use_;
}

/// True if the answer continues exactly where the part ends, to the end of the same file. Not every server obeys the
/// condition of the request.
bool DownloadAttempts::isRest(const DownloadAnswer &answer) const {
    const auto range = contentRange(answer.contentRange);
    const bool isTag = part_.validator.starts_with('"');
    const std::string_view version = isTag ? answer.entityTag : answer.lastModified;
    return answer.status == 206 && range && range->first == part_.length && range->last >= range->first &&
           range->last + 1 == range->length && (expectedLength_ < 0 || range->length == expectedLength_) &&
           (version.empty() || version == part_.validator);
}

std::optional<std::int64_t> DownloadAttempts::pauseBeforeNext(bool broken) {
    if (use_ == AnswerUse::AskForWhole) {
        part_ = {};
        return 0;
    }
    if ((use_ != AnswerUse::TryLater && !(broken && reached_)) || retries_ == mostRetries) {
        return std::nullopt;
    }
    return firstPause << retries_++;
}

} // namespace kestrav::platform
