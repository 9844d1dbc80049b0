#include "mac_installer/archive/GzipStream.h"

#include "mac_installer/archive/InflateAhead.h"
#include "mac_installer/archive/InflateMembers.h"

#include <algorithm>

namespace kestrav {

namespace {
constexpr std::int64_t longestTail = 1 << 20;
} // namespace

std::optional<GzipStream> GzipStream::open(platform::FileDescriptor archive, std::function<void()> checkpoint) {
    std::unique_ptr<Inflater> inflater = InflateMembers::open(archive);
    if (!inflater) {
        inflater = InflateAhead::open(std::move(archive));
    }
    if (!inflater) {
        return std::nullopt;
    }
    return GzipStream(std::move(inflater), std::move(checkpoint));
}

std::span<const char> GzipStream::next(std::size_t limit) {
    check();
    return take(std::min(limit, chunkSize));
}

int GzipStream::read(std::span<char> buffer) {
    check();
    std::size_t count = 0;
    while (count < buffer.size()) {
        const std::span<const char> piece = take(buffer.size() - count);
        if (piece.empty()) {
            break;
        }
        std::copy(piece.begin(), piece.end(), buffer.data() + count);
        count += piece.size();
    }
    return count == 0 && inflater_->isDamaged() ? -1 : static_cast<int>(count);
}

bool GzipStream::skip(std::int64_t length) {
    while (length > 0) {
        const auto passed = next(static_cast<std::size_t>(std::min<std::int64_t>(length, chunkSize))).size();
        if (passed == 0) {
            return false;
        }
        length -= static_cast<std::int64_t>(passed);
    }
    return length == 0;
}

bool GzipStream::finish() {
    for (std::int64_t passed = 0; passed < longestTail;) {
        const auto count = next(chunkSize).size();
        if (count == 0) {
            return failure().empty();
        }
        passed += static_cast<std::int64_t>(count);
    }
    return true;
}

void GzipStream::check() const {
    if (checkpoint_) {
        checkpoint_();
    }
}

std::span<const char> GzipStream::take(std::size_t limit) {
    if (rest_.empty()) {
        rest_ = inflater_->nextChunk();
    }
    const std::span<const char> piece = rest_.first(std::min(limit, rest_.size()));
    rest_ = rest_.subspan(piece.size());
    position_ += static_cast<std::int64_t>(piece.size());
    return piece;
}

} // namespace kestrav
