#pragma once

#include "mac_installer/archive/GzipReader.h"
#include "mac_installer/archive/Inflater.h"
#include "platform/FileDescriptor.h"
#include "platform/Thread.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string>

namespace kestrav {

/// The uncompressed bytes of one gzip file, in chunks; a file that is not compressed is passed through as it is. From
/// the second chunk on they are inflated on another thread, at most a few chunks ahead of the caller; if no thread can
/// be started, they are inflated on the caller's. Checksums are computed on the caller's thread. The operations are for
/// one thread. The destructor ends the other thread, whatever that is doing.
class InflateAhead : public Inflater {
public:
    /// Reads from the descriptor's position. Null if the stream cannot be set up.
    [[nodiscard]] static std::unique_ptr<InflateAhead> open(platform::FileDescriptor archive);
    InflateAhead(const InflateAhead &) = delete;
    InflateAhead &operator=(const InflateAhead &) = delete;
    ~InflateAhead() override;

    [[nodiscard]] std::span<const char> nextChunk() override;
    [[nodiscard]] bool isDamaged() const override { return end_ == End::damage || end_ == End::error; }
    [[nodiscard]] std::string failure() const override;

private:
    using End = GzipReader::End;

    // Chunks are this large because the other thread may have to be woken up for each.
    static constexpr std::size_t chunkSize = std::size_t{256} * 1024;
    static constexpr std::size_t chunkCount = 4;

    struct Chunk {
        std::array<char, chunkSize> bytes;
        GzipReader::Piece piece;
    };

    explicit InflateAhead(platform::FileDescriptor archive);
    const Chunk &fill(Chunk &chunk);
    void startThread();
    /// Runs on the other thread: fills chunks until the last one, or until it is stopped.
    void inflateAhead();
    /// Returns the current chunk to the other thread and waits for the next.
    [[nodiscard]] const Chunk &awaitChunk();

    /// Sums what was not verified yet; false if it is not what the member must have.
    [[nodiscard]] bool verify(const Chunk &chunk);

    GzipReader file_; ///< used by the other thread, from its start until its last chunk is taken
    bool started_ = false;
    End end_ = End::none; ///< of the file
    ContentSum sum_;      ///< of the member so far

    std::array<Chunk, chunkCount> ring_;
    std::size_t current_ = 0; ///< the chunk that the caller uses
    std::mutex mutex_;
    std::condition_variable changed_; ///< the two threads never wait on it at the same time
    std::size_t filled_ = 0;          ///< chunks from the current one on; the mutex guards it
    bool stopped_ = false;            ///< the mutex guards it
    platform::Thread thread_;
};

} // namespace kestrav
