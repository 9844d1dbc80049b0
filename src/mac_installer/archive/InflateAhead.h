#pragma once

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

struct gzFile_s;

namespace kestrav {

/// The uncompressed bytes of one gzip file, in chunks; a file that is not compressed is passed through as it is. From
/// the second chunk on they are inflated on a thread of its own, which runs a bounded number of chunks ahead of whoever
/// uses them; where no thread can be started, by the caller. The operations are for one thread; the destructor ends the
/// other one, wherever it is.
class InflateAhead : public Inflater {
public:
    /// Reads from the descriptor's position. Null if the stream cannot be set up.
    [[nodiscard]] static std::unique_ptr<InflateAhead> open(platform::FileDescriptor archive);
    ~InflateAhead() override;

    [[nodiscard]] std::span<const char> nextChunk() override;
    [[nodiscard]] bool isDamaged() const override { return end_ == End::damage; }
    [[nodiscard]] std::string failure() const override;

private:
    // zlib inflates straight into buffers that hold twice its own. Chunks are this large because each may cost waking
    // the other thread up.
    static constexpr unsigned compressedBuffer = 128 * 1024;
    static constexpr std::size_t chunkSize = 2 * std::size_t{compressedBuffer};
    static constexpr std::size_t chunkCount = 4;

    struct Close {
        void operator()(gzFile_s *file) const;
    };
    struct Chunk {
        std::array<char, chunkSize> bytes;
        int count; ///< as zlib says it: 0 at the end, below zero for damage; both are last
    };
    enum class End { none, regular, damage };

    explicit InflateAhead(gzFile_s *file);
    const Chunk &fill(Chunk &chunk);
    void startThread();
    /// The thread: fills chunks until the last one, or until it is stopped.
    void inflateAhead();
    /// Gives the current chunk back to the thread and waits for the next.
    [[nodiscard]] const Chunk &awaitChunk();

    std::unique_ptr<gzFile_s, Close> file_; ///< the thread's, from its start until its last chunk is taken
    bool started_ = false;
    End end_ = End::none;

    std::array<Chunk, chunkCount> ring_;
    std::size_t current_ = 0; ///< the chunk that the caller uses
    std::mutex mutex_;
    std::condition_variable changed_; ///< the two threads never wait on it at the same time
    std::size_t filled_ = 0;          ///< chunks from the current one on; the mutex guards it
    bool stopped_ = false;            ///< the mutex guards it
    platform::Thread thread_;
};

} // namespace kestrav
