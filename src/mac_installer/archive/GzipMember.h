#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav {

/// A gzip member that tells its own length, so that the one behind it is found without inflating: archives of such
/// members can be inflated by several threads. The length stands in a subfield "Kv" of the header's extra field (RFC
/// 1952), which other programs pass over.
struct GzipMember {
    /// So many bytes of content each member has, but the last fewer.
    static constexpr std::size_t contentSize = std::size_t{1} << 20U;
    /// A header has no more bytes than this.
    static constexpr std::size_t longestHeader = 28;

    std::uint32_t length = 0; ///< with header and trailer
    /// In the first member: how many bytes all members hold.
    std::optional<std::uint64_t> totalSize = std::nullopt;

    /// The member that begins so; empty for one of another kind.
    [[nodiscard]] static std::optional<GzipMember> parse(std::string_view header);
    [[nodiscard]] std::string header() const;
};

} // namespace kestrav
