#include "mac_installer/archive/InflateAhead.h"

#include "platform/Signals.h"

#include <system_error>
#include <utility>

namespace kestrav {

std::unique_ptr<InflateAhead> InflateAhead::open(platform::FileDescriptor archive) {
    std::unique_ptr<InflateAhead> inflater(new InflateAhead(std::move(archive)));
    return inflater->file_.valid() ? std::move(inflater) : nullptr;
}

// The chunks are not initialised: each is filled before it is used, and a small archive never touches most of them.
InflateAhead::InflateAhead(platform::FileDescriptor archive) : file_(std::move(archive)) {}

InflateAhead::~InflateAhead() {
    if (thread_.joinable()) {
        {
            const std::lock_guard lock(mutex_);
            stopped_ = true;
        }
        changed_.notify_one();
        thread_.join();
    }
}

std::span<const char> InflateAhead::nextChunk() {
    while (end_ == End::none) {
        const Chunk &chunk = thread_.joinable() ? awaitChunk() : fill(ring_[current_]);
        if (!started_) {
            started_ = true;
            if (chunk.piece.count == chunkSize) { // smaller archives are not worth a thread
                startThread();
            }
        }
        if (chunk.piece.end != End::member) {
            end_ = chunk.piece.end;
        }
        if (!verify(chunk)) {
            end_ = End::damage;
        } else if (chunk.piece.count > 0) {
            return {chunk.bytes.data(), chunk.piece.count};
        }
    }
    return {};
}

std::string InflateAhead::failure() const {
    switch (end_) {
    case End::truncation:
    case End::damage:
        return damagedArchive;
    case End::error:
        return file_.error().message();
    default:
        return {};
    }
}

bool InflateAhead::verify(const Chunk &chunk) {
    const GzipReader::Piece &piece = chunk.piece;
    sum_.add(std::span(chunk.bytes).first(piece.count).subspan(piece.verified));
    return piece.end != End::member || std::exchange(sum_, {}) == piece.sum;
}

const InflateAhead::Chunk &InflateAhead::fill(Chunk &chunk) {
    chunk.piece = file_.read(chunk.bytes);
    return chunk;
}

void InflateAhead::startThread() {
    filled_ = 1;
    const platform::SignalsBlocked blocked;
    try {
        thread_ = platform::Thread([this] { inflateAhead(); });
    } catch (const std::system_error &) {
        // Without a thread, every chunk is inflated when it is asked for.
    }
}

void InflateAhead::inflateAhead() {
    for (std::size_t next = 1;; next = (next + 1) % chunkCount) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return stopped_ || filled_ < chunkCount; });
            if (stopped_) {
                return;
            }
        }
        const End end = fill(ring_[next]).piece.end;
        {
            const std::lock_guard lock(mutex_);
            ++filled_;
        }
        changed_.notify_one();
        if (end != End::none && end != End::member) {
            return;
        }
    }
}

const InflateAhead::Chunk &InflateAhead::awaitChunk() {
    std::unique_lock lock(mutex_);
    --filled_;
    current_ = (current_ + 1) % chunkCount;
    changed_.notify_one();
    changed_.wait(lock, [this] { return filled_ > 0; });
    return ring_[current_];
}

} // namespace kestrav
