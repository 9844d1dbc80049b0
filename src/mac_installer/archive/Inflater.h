#pragma once

#include <span>
#include <string>

namespace kestrav {

/// The reason that is given for a damaged archive.
inline constexpr const char *damagedArchive = "the archive is damaged";

/// The uncompressed bytes of one gzip file, in chunks. For one thread.
class Inflater {
public:
    Inflater() = default;
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;
    virtual ~Inflater() = default;

    /// The next bytes, valid until the next call; none at the end of the stream and where damage or a read error ends
    /// it.
    [[nodiscard]] virtual std::span<const char> nextChunk() = 0;

    /// True once there were no more bytes because of damage or a read error.
    [[nodiscard]] virtual bool isDamaged() const = 0;

    /// Once there were no more bytes: why the stream ended too early. Empty at a regular end.
    [[nodiscard]] virtual std::string failure() const = 0;
};

} // namespace kestrav
