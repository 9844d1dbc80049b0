#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kestrav {

/// The value of a numeric field: octal text (POSIX ustar), ended by a NUL or by a space after the first digit, whose
/// digits are not checked; or base 256 (GNU), which begins with a byte of 128 or more. -1 for a base-256 number below
/// zero or of more than 63 bits.
[[nodiscard]] std::int64_t parseNumericField(std::string_view field);

/// Reads the fields of one header block; refers to the block and does not own it. Check sums are not verified.
class TarHeader {
public:
    static constexpr std::size_t blockSize = 512;
    /// The part of the block that carries fields.
    static constexpr std::size_t size = 500;

    enum class Type : char {
        file = '0',
        hardLink = '1',
        symbolicLink = '2',
        directory = '5',
        // Entries that say something about the next entry, or about all that follow.
        longName = 'L',
        longLinkName = 'K',
        records = 'x',
        globalRecords = 'g',
        sparseFile = 'S',
    };

    explicit TarHeader(std::span<const char, size> bytes) : bytes_(bytes.data(), bytes.size()) {}

    /// True for POSIX and GNU headers alike.
    [[nodiscard]] bool hasMagic() const { return bytes_.substr(257, 5) == "ustar"; }
    /// The name with its prefix, which only POSIX headers have.
    [[nodiscard]] std::string name() const;
    [[nodiscard]] std::string linkName() const { return text(157, 100); }
    /// The permission bits as they are in the archive, including setuid and the like.
    [[nodiscard]] std::int64_t mode() const { return parseNumericField(bytes_.substr(100, 8)); }
    /// Length of the data in bytes; below zero if the field is damaged.
    [[nodiscard]] std::int64_t fileLength() const { return parseNumericField(bytes_.substr(124, 12)); }
    /// The result may be a value that is not an enumerator.
    [[nodiscard]] Type type() const { return static_cast<Type>(bytes_[156]); }

private:
    /// A text field, which ends with its first NUL.
    [[nodiscard]] std::string text(std::size_t offset, std::size_t length) const;

    std::string_view bytes_;
};

/// One entry of an archive, with everything that is said about it.
struct TarEntry {
    TarHeader::Type type = TarHeader::Type::file;
    std::string name;
    std::string linkName;
    std::int64_t mode = 0;
    std::int64_t fileLength = 0;
    bool sparse = false; ///< the data are not simply the file's content
};

} // namespace kestrav
