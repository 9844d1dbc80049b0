#pragma once

#include "platform/FileDescriptor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <system_error>

struct z_stream_s;

namespace kestrav {

/// What a gzip member's trailer tells of its content.
struct ContentSum {
    std::uint32_t checksum = 0;
    std::uint32_t length = 0; ///< the lowest 32 bits

    void add(std::span<const char> bytes);
    bool operator==(const ContentSum &) const = default;
};

/// The content of one gzip file, inflated piece by piece on the calling thread; a file that is not compressed is passed
/// through. The sums of large members are left to the caller, because another thread can compute them meanwhile.
class GzipReader {
public:
    enum class End {
        none,
        member, ///< one that began in an earlier piece
        file,
        truncation,
        damage,
        error, ///< of the system
    };
    struct Piece {
        std::size_t count = 0;    ///< of bytes; 0 at every end except a member's
        std::size_t verified = 0; ///< the first of these; the others belong to one member and are for the caller to sum
        End end = End::none;
        ContentSum sum = {}; ///< at the end of a member: what its content must have
    };

    /// Reads from the descriptor's position.
    explicit GzipReader(platform::FileDescriptor archive);

    /// False if there is too little memory; then nothing can be read.
    [[nodiscard]] bool valid() const { return stream_ != nullptr; }
    /// Fills the buffer, except at an end. After every end except a member's there are no more pieces.
    [[nodiscard]] Piece read(std::span<char> buffer);
    /// What happened, where an error of the system ended the file.
    [[nodiscard]] std::error_code error() const { return error_; }

private:
    struct Close {
        void operator()(z_stream_s *stream) const;
    };
    enum class State { between, inMember, plain }; ///< plain: in a file that is not compressed

    /// Reads on until so many bytes are at hand; false if there are fewer.
    bool have(unsigned count);
    [[nodiscard]] End missing() const;
    /// Finds what comes next and passes over a member's header. As the operations below, returns why there is no more.
    [[nodiscard]] End begin();
    [[nodiscard]] End passHeader();
    /// Inflates what fits into the buffer. At the member's end, `sum` is set to what its trailer tells.
    [[nodiscard]] End inflate(ContentSum &sum);
    [[nodiscard]] End copy();
    /// The same for one that zlib tells.
    [[nodiscard]] End failed(int status);

    static constexpr std::size_t inputSize = std::size_t{128} * 1024;

    platform::FileDescriptor file_;
    std::unique_ptr<z_stream_s, Close> stream_;
    State state_ = State::between;
    bool anyMember_ = false;
    End end_ = End::none; ///< of the file
    std::error_code error_;
    std::array<unsigned char, inputSize> input_; ///< not initialised
};

} // namespace kestrav
