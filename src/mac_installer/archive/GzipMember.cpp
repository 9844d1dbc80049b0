#include "mac_installer/archive/GzipMember.h"

namespace kestrav {

namespace {

using namespace std::string_view_literals;

/// The beginning of each header: deflated, with an extra field and nothing else, without a time, of an unknown system.
constexpr std::string_view memberStart = "\x1f\x8b\x08\x04\0\0\0\0\0\xff"sv;
constexpr std::string_view identifier = "Kv";
constexpr std::size_t lengthSize = 4;
constexpr std::size_t totalSizeSize = 8;
constexpr std::size_t shortField = lengthSize;
constexpr std::size_t longField = lengthSize + totalSizeSize;
/// What follows: the extra field's size, the subfield's identifier and the subfield's size.
constexpr std::size_t fieldStart = 2 + identifier.size() + 2;

/// Reads a number whose lowest byte comes first.
std::string littleEndian(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (; bytes.size() < size; value >>= 8U) {
        bytes += static_cast<char>(value & 0xffU);
    }
    return bytes;
}

std::uint64_t littleEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (; !bytes.empty(); bytes.remove_suffix(1)) {
        value = value << 8U | static_cast<unsigned char>(bytes.back());
    }
    return value;
}

std::string fieldHeader(std::size_t size) {
    return littleEndian(identifier.size() + 2 + size, 2) + std::string(identifier) + littleEndian(size, 2);
}

} // namespace

std::optional<GzipMember> GzipMember::parse(std::string_view header) {
    if (!header.starts_with(memberStart)) {
        return std::nullopt;
    }
    const std::string_view field = header.substr(memberStart.size());
    for (const std::size_t size : {shortField, longField}) {
        if (field.size() >= fieldStart + size && field.starts_with(fieldHeader(size))) {
            const std::string_view data = field.substr(fieldStart, size);
            GzipMember member{.length = static_cast<std::uint32_t>(littleEndian(data.substr(0, lengthSize)))};
            if (size == longField) {
                member.totalSize = littleEndian(data.substr(lengthSize));
            }
            return member;
        }
    }
    return std::nullopt;
}

std::string GzipMember::header() const {
    return std::string(memberStart) + fieldHeader(totalSize ? longField : shortField) +
           littleEndian(length, lengthSize) + (totalSize ? littleEndian(*totalSize, totalSizeSize) : "");
}

} // namespace kestrav
