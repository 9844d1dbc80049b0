#include "platform/posix/DownloadTarget.h"

#include "platform/Exception.h"
#include "platform/format.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kestrav::platform {

void DownloadTarget::open(const std::string &path, bool allowOverwrite) {
    file_ = DownloadedFile(path, allowOverwrite, keepsPart_);
    if (auto part = file_.openPart()) {
        attempts_ = DownloadAttempts(std::move(*part));
    }
}

std::optional<DownloadAttempts::Range> DownloadTarget::beginAttempt() {
    failure_.clear();
    return attempts_.begin();
}

bool DownloadTarget::receiveAnswer(const DownloadAnswer &answer) {
    switch (attempts_.classify(answer)) {
    case AnswerUse::WholeFile:
        return beginFile();
    case AnswerUse::RestOfFile:
        return resumeFile();
    default:
        failure_ = format("The server answered with status %ld", answer.status);
        return false;
    }
}

bool DownloadTarget::beginFile() {
    file_.discard(); // an earlier part takes up room as well
    const std::int64_t needed = std::max(expectedLength(), outgrown_);
    failure_ = file_.lackOfRoom(needed);
    if (const bool isFull = std::exchange(wasFull_, false); (isFull || !failure_.empty()) && other_) {
        try {
            file_ = DownloadedFile(other_(needed), true, false);
            failure_.clear();
        } catch (const Exception &exception) {
            failure_ = exception.what();
        }
    }
    return failure_.empty() && succeeded(file_.create(attempts_.part().validator));
}

bool DownloadTarget::resumeFile() {
    failure_ = file_.lackOfRoom(expectedLength() - length());
    if (!failure_.empty() && other_) {
        attempts_.askForWhole();
    }
    return failure_.empty();
}

bool DownloadTarget::receive(std::string_view bytes) {
    attempts_.received(bytes.size());
    return succeeded(file_.write(bytes));
}

bool DownloadTarget::finish() {
    if (isShort()) {
        failure_ = format("Only %ld of %ld bytes came", length(), expectedLength());
        return false;
    }
    return succeeded(file_.finish());
}

bool DownloadTarget::succeeded(const std::error_code &error) {
    if (error) {
        failure_ = file_.path() + ": " + error.message();
    }
    if (other_ && (error.value() == ENOSPC || error.value() == EDQUOT)) {
        wasFull_ = true;
        outgrown_ = std::max(outgrown_, length());
        attempts_.askForWhole();
    }
    return !error;
}

} // namespace kestrav::platform
