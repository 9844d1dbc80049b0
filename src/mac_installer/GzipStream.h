#pragma once

#include "platform/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

struct gzFile_s;

namespace kestrav {

/// One gzip file read from front to back; several members are one stream. The checkpoint is called before every piece
/// is inflated (32768 bytes at most, also while skipping); what it throws passes through.
class GzipStream {
public:
    static constexpr std::size_t chunkSize = 32768;

    /// Reads from the descriptor's position. Empty if the stream cannot be set up.
    [[nodiscard]] static std::optional<GzipStream> open(platform::FileDescriptor archive,
                                                        std::function<void()> checkpoint);

    /// Fills the buffer (at most `chunkSize` bytes). Fewer bytes, or none, at the end of the stream or before damage;
    /// -1 if damage or a read error is all that is left.
    [[nodiscard]] int read(std::span<char> buffer);

    /// Passes over that many bytes; false if the stream has fewer, or for a length below zero.
    [[nodiscard]] bool skip(std::int64_t length);

    /// Reads to the end, but 1 MiB at most, so that check sum and length are verified; false if anything is wrong.
    [[nodiscard]] bool finish();

    /// True if the file, of which something was read, is no gzip file: it would be passed through as it is.
    [[nodiscard]] bool isPlain() const;

    /// True once the file turned out to end in the middle of the compressed data.
    [[nodiscard]] bool isTruncated() const;

    /// Offset in the uncompressed stream.
    [[nodiscard]] std::int64_t position() const { return position_; }

private:
    struct Close {
        void operator()(gzFile_s *file) const;
    };
    GzipStream(gzFile_s *file, std::function<void()> checkpoint) : file_(file), checkpoint_(std::move(checkpoint)) {}

    std::unique_ptr<gzFile_s, Close> file_;
    std::function<void()> checkpoint_;
    std::int64_t position_ = 0;
};

} // namespace kestrav
