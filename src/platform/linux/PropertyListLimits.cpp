#include "platform/linux/PropertyListLimits.h"

#include "platform/posix/XMLPropertyList.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kestrav::platform {

namespace {

/// Bytes that the list may take in memory, roughly.
constexpr std::uint64_t sizeLimit = std::uint64_t{1} << 28U;
constexpr std::uint64_t nodeSize = 128;

/// The object table of a binary list. Numbers are big-endian; the trailer of 32 bytes says where the table is.
class ObjectTable {
public:
    explicit ObjectTable(std::string_view bytes) : bytes_(bytes) {
        if (bytes.size() < headerSize + trailerSize) {
            return;
        }
        const std::size_t trailer = bytes.size() - trailerSize;
        offsetSize_ = number(trailer + 6, 1);
        referenceSize_ = number(trailer + 7, 1);
        const std::uint64_t count = number(trailer + 8, 8);
        root_ = number(trailer + 16, 8);
        table_ = number(trailer + 24, 8);
        if (offsetSize_ == 0 || offsetSize_ > 8 || referenceSize_ == 0 || referenceSize_ > 8 || table_ > trailer ||
            count > (trailer - table_) / offsetSize_) {
            return;
        }
        sizes_.resize(static_cast<std::size_t>(count));
    }

    [[nodiscard]] bool acceptable() { return expandedSize(root_, 0).has_value(); }

private:
    static constexpr std::size_t headerSize = 8;
    static constexpr std::size_t trailerSize = 32;
    // Kinds of objects, the upper half of an object's first byte.
    static constexpr std::uint64_t asciiKind = 5;
    static constexpr std::uint64_t utf16Kind = 6;
    static constexpr std::uint64_t uidKind = 8;
    static constexpr std::uint64_t arrayKind = 0xA;
    static constexpr std::uint64_t dictionaryKind = 0xD;

    [[nodiscard]] std::uint64_t number(std::uint64_t offset, std::uint64_t size) const {
        std::uint64_t value = 0;
        for (std::uint64_t index = 0; index < size; ++index) {
            value = (value << 8U) | static_cast<unsigned char>(bytes_[static_cast<std::size_t>(offset + index)]);
        }
        return value;
    }

    [[nodiscard]] bool holds(std::uint64_t offset, std::uint64_t size) const {
        return offset <= table_ && size <= table_ - offset;
    }

    /// The size of an object with everything below it, each repetition counted; empty if it is beyond the limits.
    std::optional<std::uint64_t> expandedSize(std::uint64_t object, std::size_t depth) {
        // An object that contains itself is infinitely deep.
        if (object >= sizes_.size() || depth > deepestNesting) {
            return std::nullopt;
        }
        const auto index = static_cast<std::size_t>(object);
        if (sizes_[index].size == 0) {
            const std::optional<Measure> measured = measure(number(table_ + object * offsetSize_, offsetSize_), depth);
            if (!measured) {
                return std::nullopt;
            }
            sizes_[index] = *measured;
        }
        height_ = sizes_[index].height;
        return depth + height_ <= deepestNesting ? std::optional(sizes_[index].size) : std::nullopt;
    }

    struct Measure {
        std::uint64_t size = 0; // 0: not known yet
        std::size_t height = 0;
    };

    std::optional<Measure> measure(std::uint64_t offset, std::size_t depth) {
        if (offset < headerSize || !holds(offset, 1)) {
            return std::nullopt;
        }
        const std::uint64_t marker = number(offset++, 1);
        const std::uint64_t kind = marker >> 4U;
        std::uint64_t count = marker & 0xFU;
        const bool counted = kind >= 4 && kind != uidKind;
        if (counted && count == 0xF) {
            // The count follows as an integer object.
            const std::uint64_t sizeOfCount = holds(offset, 1) ? std::uint64_t{1} << (number(offset, 1) & 0xFU) : 0;
            if (sizeOfCount == 0 || sizeOfCount > 8 || !holds(offset + 1, sizeOfCount)) {
                return std::nullopt;
            }
            count = number(offset + 1, sizeOfCount);
            offset += 1 + sizeOfCount;
        }
        if (kind < arrayKind) {
            const std::uint64_t size = counted ? count * (kind == utf16Kind ? 2 : 1) : 0;
            const bool acceptable = count <= bytes_.size() && holds(offset, size) && !hasNul(offset, size, kind);
            return acceptable ? std::optional(Measure{nodeSize + 2 * size, 0}) : std::nullopt;
        }
        return measureReferences(offset, kind == dictionaryKind ? 2 * count : count, depth);
    }

    /// libplist ends the process over a key that holds a NUL character, and cuts other texts off there.
    [[nodiscard]] bool hasNul(std::uint64_t offset, std::uint64_t size, std::uint64_t kind) const {
        const std::string_view text = bytes_.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
        if (kind == asciiKind) {
            return text.find('\0') != std::string_view::npos;
        }
        for (std::size_t index = 0; kind == utf16Kind && index < text.size(); index += 2) {
            if (text[index] == '\0' && text[index + 1] == '\0') {
                return true;
            }
        }
        return false;
    }

    std::optional<Measure> measureReferences(std::uint64_t offset, std::uint64_t count, std::size_t depth) {
        if (count > bytes_.size() || !holds(offset, count * referenceSize_)) {
            return std::nullopt;
        }
        Measure sum{nodeSize, 0};
        for (std::uint64_t index = 0; index < count; ++index) {
            const auto size = expandedSize(number(offset + index * referenceSize_, referenceSize_), depth + 1);
            if (!size || *size > sizeLimit - sum.size) {
                return std::nullopt;
            }
            sum.size += *size;
            sum.height = sum.height > height_ + 1 ? sum.height : height_ + 1;
        }
        return sum;
    }

    std::string_view bytes_;
    std::uint64_t offsetSize_ = 0;
    std::uint64_t referenceSize_ = 0;
    std::uint64_t root_ = 0;
    std::uint64_t table_ = 0;
    std::vector<Measure> sizes_; // by object
    std::size_t height_ = 0;     // of the object looked at last
};

} // namespace

bool binaryPropertyListIsAcceptable(std::string_view bytes) {
    return ObjectTable(bytes).acceptable();
}

} // namespace kestrav::platform
