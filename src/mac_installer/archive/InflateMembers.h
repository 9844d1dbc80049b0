#pragma once

#include "mac_installer/archive/GzipMember.h"
#include "mac_installer/archive/InflateAhead.h"
#include "mac_installer/archive/Inflater.h"
#include "platform/FileDescriptor.h"
#include "platform/Thread.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

struct z_stream_s;

namespace kestrav {

/// The uncompressed bytes of a gzip file whose members give their lengths, inflated by several threads. A member is
/// accepted if it ends where its length says, is not empty and not larger than such members may be, and has the right
/// checksum. From the first member that is not accepted, the file is read like any other, so that the bytes and the end
/// are always the same as when the file is read from front to back.
class InflateMembers : public Inflater {
public:
    /// Null, with the descriptor unchanged, if the file is of another kind or too small to be worth threads, or if
    /// there is only one processor.
    [[nodiscard]] static std::unique_ptr<Inflater> open(platform::FileDescriptor &archive);
    InflateMembers(const InflateMembers &) = delete;
    InflateMembers &operator=(const InflateMembers &) = delete;
    ~InflateMembers() override;

    [[nodiscard]] std::span<const char> nextChunk() override;
    [[nodiscard]] bool isDamaged() const override;
    [[nodiscard]] std::string failure() const override;

private:
    /// One member that a thread inflates for the caller.
    struct Slot {
        std::array<char, GzipMember::contentSize> bytes;
        std::int64_t offset;
        std::int64_t length;
        std::size_t count; ///< of the bytes
        bool ready = false;
        bool whole; ///< otherwise the file is read like any other from the offset on
    };

    InflateMembers(platform::FileDescriptor archive, std::size_t threadCount);
    [[nodiscard]] bool startThreads(std::size_t count);
    void stopThreads();
    /// Runs on each thread: inflates one member after another, until there are no more or it is stopped.
    void inflateMembers();
    /// Waits for a free slot and finds the next member. Null if there is nothing more to do.
    [[nodiscard]] Slot *claim(std::unique_lock<std::mutex> &lock);
    [[nodiscard]] bool inflate(Slot &slot, z_stream_s &stream) const;
    [[nodiscard]] std::optional<GzipMember> memberAt(std::int64_t offset) const;
    /// Continues from there as with any other file.
    [[nodiscard]] std::span<const char> readRest(std::int64_t offset);

    platform::FileDescriptor file_;
    std::vector<std::unique_ptr<Slot>> slots_;
    std::unique_ptr<InflateAhead> rest_;
    enum class End { none, regular, noMemory } end_ = End::none;
    bool inUse_ = false; ///< the caller is using the bytes of the slot before the next one

    std::mutex mutex_; ///< guards what follows, and whether slots are ready
    std::condition_variable freed_;
    std::condition_variable filled_;
    std::size_t taken_ = 0;       ///< members that the caller has finished with
    std::size_t claimed_ = 0;     ///< members that threads have started
    std::int64_t nextOffset_ = 0; ///< of the member that is claimed next
    bool allClaimed_ = false;
    std::atomic<bool> stopped_ = false;
    std::vector<platform::Thread> threads_;
};

} // namespace kestrav
