#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kestrav {

/// The value of a numeric field (POSIX ustar): octal text, ended by a NUL or by a space after the first digit. Digits
/// are not checked. A base-256 field (GNU) begins with a byte of 128 or more and so comes out negative.
[[nodiscard]] std::int64_t parseOctalField(std::string_view field);

/// Reads the fields of one header block; refers to the block and does not own it. Check sums are not verified.
class TarHeader {
public:
    static constexpr std::size_t blockSize = 512;
    /// The part of the block that carries fields.
    static constexpr std::size_t size = 500;

    enum class Type : char { file = '0', symbolicLink = '2', directory = '5' };

    explicit TarHeader(std::span<const char, size> bytes) : bytes_(bytes.data(), bytes.size()) {}

    /// True for POSIX and GNU headers alike.
    [[nodiscard]] bool hasMagic() const { return bytes_.substr(257, 5) == "ustar"; }
    /// Up to the first NUL, also where that lies beyond the field: such names exist, and the same rule makes them fail
    /// in the same way everywhere.
    [[nodiscard]] std::string name() const { return std::string(bytes_.substr(0, bytes_.find('\0'))); }
    [[nodiscard]] std::string linkName() const;
    /// Permission bits as the archive has them, setuid and other bits included.
    [[nodiscard]] std::int64_t mode() const { return parseOctalField(bytes_.substr(100, 8)); }
    /// Length of the data in bytes; below zero if the field is damaged or in base 256.
    [[nodiscard]] std::int64_t fileLength() const { return parseOctalField(bytes_.substr(124, 12)); }
    /// May be none of the enumerators.
    [[nodiscard]] Type type() const { return static_cast<Type>(bytes_[156]); }

private:
    std::string_view bytes_;
};

} // namespace kestrav
