#include "mac_installer/GzipStream.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <utility>

namespace kestrav {

namespace {
constexpr unsigned compressedBuffer = 256 * 1024;
constexpr std::int64_t longestTail = 1 << 20;
} // namespace

void GzipStream::Close::operator()(gzFile_s *file) const {
    gzclose(file);
}

std::optional<GzipStream> GzipStream::open(platform::FileDescriptor archive, std::function<void()> checkpoint) {
    gzFile_s *file = gzdopen(archive.get(), "r");
    if (file == nullptr) {
        return std::nullopt;
    }
    static_cast<void>(archive.release());
    gzbuffer(file, compressedBuffer);
    return GzipStream(file, std::move(checkpoint));
}

int GzipStream::read(std::span<char> buffer) {
    if (checkpoint_) {
        checkpoint_();
    }
    const int count = gzread(file_.get(), buffer.data(), static_cast<unsigned>(std::min(buffer.size(), chunkSize)));
    position_ += std::max(count, 0);
    return count;
}

bool GzipStream::skip(std::int64_t length) {
    // Reading, where gzseek would only note the wish down: it would succeed beyond the end of the stream, and pass over
    // gigabytes without a checkpoint.
    std::array<char, chunkSize> chunk;
    while (length > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(length, chunkSize));
        const int count = read(std::span(chunk).first(wanted));
        if (count <= 0) {
            return false;
        }
        length -= count;
    }
    return length == 0;
}

bool GzipStream::finish() {
    std::array<char, chunkSize> chunk;
    for (std::int64_t passed = 0; passed < longestTail;) {
        const int count = read(chunk);
        if (count <= 0) {
            return count == 0 && !isTruncated();
        }
        passed += count;
    }
    return true;
}

bool GzipStream::isPlain() const {
    return gzdirect(file_.get()) != 0;
}

bool GzipStream::isTruncated() const {
    int error = Z_OK;
    gzerror(file_.get(), &error);
    return error == Z_BUF_ERROR;
}

} // namespace kestrav
