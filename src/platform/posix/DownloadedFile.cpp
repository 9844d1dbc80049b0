#include "platform/posix/DownloadedFile.h"

#include "platform/PrivateFolder.h"
#include "platform/URLDownload.h"
#include "platform/path.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace kestrav::platform {

namespace {

std::error_code lastErrorUnless(bool succeeded) {
    return succeeded ? std::error_code() : std::error_code(errno, std::generic_category());
}

FileDescriptor createFile(const std::string &path) {
    return FileDescriptor::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
}

/// The note holds one line. If the line has its end, the note is complete.
std::string readNote(const std::string &path) {
    std::array<char, longestValidator + 2> text{};
    const FileDescriptor file = FileDescriptor::openRegularFile(path);
    const ssize_t count = uninterrupted([&] { return ::read(file.get(), text.data(), text.size()); });
    const std::string_view note(text.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return note.ends_with('\n') ? usableValidator(note.substr(0, note.size() - 1)) : std::string();
}

/// Failures are not reported, because without its note a part merely cannot be continued.
void writeNote(const std::string &path, const std::string &validator) {
    FileDescriptor file = createFile(path);
    if (!file.valid() || !writeAll(file.get(), validator + "\n") || !file.close()) {
        ::unlink(path.c_str());
    }
}

} // namespace

std::string usableValidator(std::string_view text) {
    const bool usable = text.size() <= longestValidator && std::none_of(text.begin(), text.end(), [](char character) {
                            return static_cast<unsigned char>(character) < ' ' || character == '\x7F';
                        });
    return usable ? std::string(text) : std::string();
}

std::string DownloadedFile::lackOfRoom(std::int64_t bytes) const {
    const std::string folder = deletingLastPathComponent(path_);
    const std::string objection = objectionToRoom(folder, bytes);
    return objection.empty() ? "" : folder + ": " + objection;
}

std::string DownloadedFile::writtenPath() const {
    return keepsPart_ ? partPath(path_) : path_;
}

std::optional<DownloadPart> DownloadedFile::openPart() {
    DownloadPart part{0, keepsPart_ ? readNote(partNotePath(path_)) : std::string()};
    if (part.validator.empty()) {
        return std::nullopt;
    }
    FileDescriptor file = FileDescriptor::open(writtenPath().c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK);
    struct stat status {};
    const bool isOurs = ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
                        status.st_nlink == 1 && status.st_size > 0;
    if (!isOurs) {
        return std::nullopt;
    }
    part.length = status.st_size;
    descriptor_ = std::move(file);
    opened_ = true;
    return part;
}

std::error_code DownloadedFile::create(const std::string &validator) {
    const std::string note = partNotePath(path_), written = writtenPath();
    if (keepsPart_) {
        ::unlink(note.c_str()); // before the file that it describes
    }
    if (allowOverwrite_ || keepsPart_ || opened_) {
        ::unlink(written.c_str()); // if that fails, opening the new file fails as well
    }
    descriptor_ = createFile(written);
    opened_ = descriptor_.valid();
    const std::error_code error = lastErrorUnless(opened_);
    if (opened_ && keepsPart_ && !validator.empty()) {
        writeNote(note, validator);
    }
    return error;
}

std::error_code DownloadedFile::write(std::string_view bytes) {
    return lastErrorUnless(writeAll(descriptor_.get(), bytes));
}

std::error_code DownloadedFile::finish() {
    if (!keepsPart_) {
        return lastErrorUnless(descriptor_.close());
    }
    // Synced, because after a loss of power the file counts as complete as soon as it has its name.
    const bool isStored = uninterrupted([&] { return ::fsync(descriptor_.get()); }) == 0 && descriptor_.close();
    const std::string part = partPath(path_);
    const bool isNamed = isStored && (allowOverwrite_ ? ::rename(part.c_str(), path_.c_str()) == 0
                                                      : ::link(part.c_str(), path_.c_str()) == 0);
    const std::error_code error = lastErrorUnless(isNamed);
    if (isNamed) {
        ::unlink(partNotePath(path_).c_str());
        ::unlink(part.c_str()); // it is gone already unless it was linked
    }
    return error;
}

void DownloadedFile::breakOff() {
    if (keepsPart_) {
        descriptor_.reset();
    } else {
        discard();
    }
}

void DownloadedFile::discard() {
    descriptor_.reset();
    if (!std::exchange(opened_, false)) {
        return;
    }
    if (keepsPart_) {
        ::unlink(partNotePath(path_).c_str());
    }
    ::unlink(writtenPath().c_str());
}

} // namespace kestrav::platform
