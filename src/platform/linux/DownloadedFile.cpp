#include "platform/linux/DownloadedFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace kestrav::platform {

std::error_code DownloadedFile::create() {
    if (allowOverwrite_) {
        unlink(path_.c_str()); // what cannot be removed makes the opening fail
    }
    descriptor_ = FileDescriptor::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    created_ = descriptor_.valid();
    return created_ ? std::error_code() : std::error_code(errno, std::generic_category());
}

std::error_code DownloadedFile::write(std::string_view bytes) {
    return writeAll(descriptor_.get(), bytes) ? std::error_code() : std::error_code(errno, std::generic_category());
}

std::error_code DownloadedFile::close() {
    return descriptor_.close() ? std::error_code() : std::error_code(errno, std::generic_category());
}

void DownloadedFile::discard() {
    descriptor_.reset();
    if (created_) {
        unlink(path_.c_str());
        created_ = false;
    }
}

} // namespace kestrav::platform
