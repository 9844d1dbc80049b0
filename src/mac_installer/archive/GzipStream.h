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
/// it is. It is inflated ahead on other threads, but what a caller learns is what belongs to the position it has
/// reached. The checkpoint is called on the caller's thread before every piece is handed out (32768 bytes at most, also
/// while skipping); what it throws passes through.
class GzipStream {
public:
    static constexpr std::size_t chunkSize = 32768;

    /// Reads from the descriptor's position. Empty if the stream cannot be set up.
    [[nodiscard]] static std::optional<GzipStream> open(platform::FileDescriptor archive,
                                                        std::function<void()> checkpoint);

    /// Hands out what follows: `limit` bytes at most, `chunkSize` at most, often fewer. Valid until the next call of
    /// any operation. Nothing at the end of the stream, or if damage or a read error is all that is left.
    [[nodiscard]] std::span<const char> next(std::size_t limit);

    /// Fills the buffer (of at most `chunkSize` bytes). Fewer bytes, or none, at the end of the stream or before
    /// damage; -1 if damage or a read error is all that is left.
    [[nodiscard]] int read(std::span<char> buffer);

    /// Passes over that many bytes; false if the stream has fewer, or for a length below zero.
    [[nodiscard]] bool skip(std::int64_t length);

    /// Reads to the end, but 1 MiB at most, so that check sum and length are verified; false if anything is wrong.
    [[nodiscard]] bool finish();

    /// Once the end was reached: why there should have been more (damage, a file cut short, a read error). Empty at a
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
    std::span<const char> rest_; ///< of the inflater's chunk
    std::int64_t position_ = 0;
};

} // namespace kestrav
