#include "mac_installer/InflateAhead.h"

#include "platform/SignalsBlocked.h"

#include <zlib.h>

#include <system_error>

namespace kestrav {

void InflateAhead::Close::operator()(gzFile_s *file) const {
    gzclose(file);
}

std::unique_ptr<InflateAhead> InflateAhead::open(platform::FileDescriptor archive) {
    gzFile_s *file = gzdopen(archive.get(), "r");
    if (file == nullptr) {
        return nullptr;
    }
    static_cast<void>(archive.release());
    gzbuffer(file, compressedBuffer);
    return std::unique_ptr<InflateAhead>(new InflateAhead(file));
}

// The chunks stay as they are: each is filled before it is used, and a small archive never touches most of them.
InflateAhead::InflateAhead(gzFile_s *file) : file_(file) {}

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
    if (end_ != End::none) {
        return {};
    }
    const Chunk &chunk = thread_.joinable() ? awaitChunk() : fill(ring_[current_]);
    if (chunk.count <= 0) {
        end_ = chunk.count < 0 ? End::damage : End::regular;
        return {};
    }
    if (!started_) {
        started_ = true;
        plain_ = gzdirect(file_.get()) != 0;
        if (static_cast<std::size_t>(chunk.count) == chunkSize) { // a small archive is not worth a thread
            startThread();
        }
    }
    return {chunk.bytes.data(), static_cast<std::size_t>(chunk.count)};
}

bool InflateAhead::isTruncated() const {
    int error = Z_OK;
    if (end_ != End::none) {
        gzerror(file_.get(), &error);
    }
    return error == Z_BUF_ERROR;
}

const InflateAhead::Chunk &InflateAhead::fill(Chunk &chunk) {
    chunk.count = gzread(file_.get(), chunk.bytes.data(), static_cast<unsigned>(chunk.bytes.size()));
    return chunk;
}

void InflateAhead::startThread() {
    filled_ = 1;
    const platform::SignalsBlocked blocked;
    try {
        thread_ = std::thread([this] { inflateAhead(); });
    } catch (const std::system_error &) {
        // Then every chunk is inflated when it is asked for.
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
        const bool last = fill(ring_[next]).count <= 0;
        {
            const std::lock_guard lock(mutex_);
            ++filled_;
        }
        changed_.notify_one();
        if (last) {
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
