#pragma once

#include <span>
#include <string>

namespace kestrav {

/// The reason that a damaged archive gives.
inline constexpr const char *damagedArchive = "the archive is damaged";

/// The uncompressed bytes of one gzip file, in chunks. For one thread.
class Inflater {
public:
    Inflater() = default;
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;
    virtual ~Inflater() = default;

    /// The bytes that follow, valid until the next call; none at the end of the stream, or if damage or a read error is
    /// all that is left.
    [[nodiscard]] virtual std::span<const char> nextChunk() = 0;

    /// True once there were no more bytes because of damage or a read error.
    [[nodiscard]] virtual bool isDamaged() const = 0;

    /// Once there were no more bytes: why there should have been more. Empty at a regular end.
    [[nodiscard]] virtual std::string failure() const = 0;
};

} // namespace kestrav
