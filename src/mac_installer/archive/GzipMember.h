#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav {

/// A gzip member that gives its own length, so that the next one is found without inflating: archives of such members
/// can be inflated by several threads. The length is in a subfield "Kv" of the header's extra field (RFC 1952), which
/// other programs ignore.
struct GzipMember {
    /// The bytes of content in each member; only the last may have fewer.
    static constexpr std::size_t contentSize = std::size_t{1} << 20U;
    /// The largest size of a header, in bytes.
    static constexpr std::size_t longestHeader = 28;

    std::uint32_t length = 0; ///< including header and trailer
    /// In the first member: the bytes of content in all members.
    std::optional<std::uint64_t> totalSize = std::nullopt;

    /// Reads a member's header; empty if the member is of another kind.
    [[nodiscard]] static std::optional<GzipMember> parse(std::string_view header);
    [[nodiscard]] std::string header() const;
};

} // namespace kestrav
