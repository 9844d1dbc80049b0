#include "mac_installer/archive/InflateAhead.h"

#include "platform/Signals.h"

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

// The chunks are not initialised: each is filled before it is used, and a small archive never touches most of them.
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
        if (static_cast<std::size_t>(chunk.count) == chunkSize) { // smaller archives are not worth a thread
            startThread();
        }
    }
    return {chunk.bytes.data(), static_cast<std::size_t>(chunk.count)};
}

std::string InflateAhead::failure() const {
    int code = Z_OK;
    const std::string text = end_ == End::none ? "" : gzerror(file_.get(), &code);
    switch (code) {
    case Z_OK:
        return {};
    case Z_ERRNO: {
        const std::size_t name = text.find(": "); // zlib puts its own name for the file before the system's message
        return name == std::string::npos ? text : text.substr(name + 2);
    }
    case Z_MEM_ERROR:
        return std::make_error_code(std::errc::not_enough_memory).message();
    default:
        return damagedArchive;
    }
}

const InflateAhead::Chunk &InflateAhead::fill(Chunk &chunk) {
    chunk.count = gzread(file_.get(), chunk.bytes.data(), static_cast<unsigned>(chunk.bytes.size()));
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
