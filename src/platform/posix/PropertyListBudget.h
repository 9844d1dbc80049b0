#pragma once

#include <cstdint>

namespace kestrav::platform {

/// A rough limit of what the values of one property list may take up in memory, because a few bytes can refer to the
/// same large value many times.
class PropertyListBudget {
public:
    /// The bytes that a value takes up in addition to its content.
    static constexpr std::uint64_t valueSize = 128;

    /// For a list that was read from this many bytes.
    explicit PropertyListBudget(std::uint64_t bytes) : left_(sizeLimit + sizePerByte * bytes) {}

    /// False if the values grow beyond the limit; nothing is left then.
    [[nodiscard]] bool spend(std::uint64_t size) {
        const bool enough = size <= left_;
        left_ -= enough ? size : left_;
        return enough;
    }

    [[nodiscard]] bool isSpent() const { return left_ == 0; }

private:
    static constexpr std::uint64_t sizeLimit = std::uint64_t{1} << 26U;
    static constexpr std::uint64_t sizePerByte = 32;

    std::uint64_t left_;
};

} // namespace kestrav::platform
