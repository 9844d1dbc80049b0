#pragma once

#include "mac_installer/archive/Inflater.h"
#include "platform/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace kestrav {

/// One gzip file read from front to back; several members are one stream, and a file that is not compressed is read as
/// it is. It is inflated ahead on other threads, but a caller is told only what belongs to the position it has reached.
/// The checkpoint is called on the caller's thread before every piece (32768 bytes at most, also while skipping); what
/// it throws passes through.
class GzipStream {
public:
    static constexpr std::size_t chunkSize = 32768;

    /// Reads from the descriptor's position. Empty if the stream cannot be set up.
    [[nodiscard]] static std::optional<GzipStream> open(platform::FileDescriptor archive,
                                                        std::function<void()> checkpoint);

    /// Returns the next bytes: at most `limit` and at most `chunkSize`, often fewer. Valid until the next call of any
    /// operation. Empty at the end of the stream, and where damage or a read error ends it.
    [[nodiscard]] std::span<const char> next(std::size_t limit);

    /// Fills the buffer (of at most `chunkSize` bytes) and returns the number of bytes: fewer, or none, at the end of
    /// the stream or before damage; -1 where damage or a read error ends the stream.
    [[nodiscard]] int read(std::span<char> buffer);

    /// Skips `length` bytes; false if the stream has fewer, or if the length is below zero.
    [[nodiscard]] bool skip(std::int64_t length);

    /// Reads to the end, but at most 1 MiB, so that checksum and length are verified; false if anything is wrong.
    [[nodiscard]] bool finish();

    /// Once the end was reached: why the stream ended too early (damage, a file cut short, a read error). Empty at a
    /// regular end.
    [[nodiscard]] std::string failure() const { return inflater_->failure(); }

    /// Offset in the uncompressed stream.
    [[nodiscard]] std::int64_t position() const { return position_; }

private:
    GzipStream(std::unique_ptr<Inflater> inflater, std::function<void()> checkpoint)
        : inflater_(std::move(inflater)), checkpoint_(std::move(checkpoint)) {}

    void check() const;
    [[nodiscard]] std::span<const char> take(std::size_t limit);

    std::unique_ptr<Inflater> inflater_;
    std::function<void()> checkpoint_;
    std::span<const char> rest_; ///< what is left of the inflater's chunk
    std::int64_t position_ = 0;
};

} // namespace kestrav
