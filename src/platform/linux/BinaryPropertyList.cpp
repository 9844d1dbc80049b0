#include "platform/linux/BinaryPropertyList.h"

#include "platform/posix/PropertyListBudget.h"
#include "platform/posix/XMLPropertyList.h"
#include "platform/text.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace kestrav::platform {

namespace {

/// Reads the values that an object table refers to. Numbers are big-endian; the trailer of 32 bytes says where the
/// table is.
class Reader {
public:
    explicit Reader(std::string_view bytes) : bytes_(bytes), budget_(bytes.size()) {
        if (bytes.size() < headerSize + trailerSize) {
            return;
        }
        const std::size_t trailer = bytes.size() - trailerSize;
        offsetSize_ = number(trailer + 6, 1);
        referenceSize_ = number(trailer + 7, 1);
        const std::uint64_t count = number(trailer + 8, 8);
        root_ = number(trailer + 16, 8);
        table_ = number(trailer + 24, 8);
        const bool sizesAreSound = offsetSize_ != 0 && offsetSize_ <= 8 && referenceSize_ != 0 && referenceSize_ <= 8;
        if (sizesAreSound && table_ <= trailer && count <= (trailer - table_) / offsetSize_) {
            count_ = count;
        }
    }

    [[nodiscard]] std::optional<PropertyList> run() { return value(root_, 0); }

private:
    static constexpr std::size_t headerSize = 8;
    static constexpr std::size_t trailerSize = 32;

    /// The kind of a value, from the upper half of its first byte.
    enum Kind : std::uint8_t {
        simple = 0,
        integer = 1,
        real = 2,
        date = 3,
        data = 4,
        ascii = 5,
        unicode = 6,
        identifier = 8,
        array = 0xA,
        dictionary = 0xD
    };

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

    std::optional<PropertyList> value(std::uint64_t object, std::size_t depth) {
        // A value that contains itself is infinitely deep.
        if (object >= count_ || depth > deepestNesting || !budget_.spend(PropertyListBudget::valueSize)) {
            return std::nullopt;
        }
        const std::uint64_t offset = number(table_ + object * offsetSize_, offsetSize_);
        if (offset < headerSize || !holds(offset, 1)) {
            return std::nullopt;
        }
        const std::uint64_t marker = number(offset, 1);
        const std::uint64_t kind = marker >> 4U;
        return kind < data || kind == identifier ? plainValue(kind, marker & 0xFU, offset + 1)
                                                 : countedValue(kind, marker & 0xFU, offset + 1, depth);
    }

    /// A value whose first byte gives its size.
    [[nodiscard]] std::optional<PropertyList> plainValue(std::uint64_t kind, std::uint64_t low,
                                                         std::uint64_t offset) const {
        constexpr std::uint64_t falseMark = 8;
        constexpr std::uint64_t trueMark = 9;
        if (kind == simple) {
            return low == falseMark || low == trueMark ? std::optional<PropertyList>(low == trueMark) : std::nullopt;
        }
        if (kind == identifier) { // used only by archives of objects
            return PropertyList();
        }
        const std::uint64_t size = std::uint64_t{1} << low;
        if (!holds(offset, size)) {
            return std::nullopt;
        }
        if (kind == integer) {
            return integerValue(offset, size);
        }
        if (size == sizeof(float) && kind == real) {
            return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(number(offset, size))));
        }
        if (size != sizeof(double)) {
            return std::nullopt;
        }
        const auto value = std::bit_cast<double>(number(offset, size));
        return kind == real ? PropertyList(value) : PropertyList(PropertyList::Date{value});
    }

    /// Numbers of eight bytes are signed, shorter ones are not; of sixteen bytes the lower half counts, if it is
    /// positive.
    [[nodiscard]] std::optional<PropertyList> integerValue(std::uint64_t offset, std::uint64_t size) const {
        constexpr std::uint64_t largestSize = 16;
        constexpr auto largest = std::numeric_limits<std::int64_t>::max();
        if (size < largestSize) {
            return static_cast<std::int64_t>(number(offset, size));
        }
        const std::uint64_t low = size == largestSize ? number(offset + size / 2, size / 2) : 0;
        return size == largestSize
                   ? std::optional<PropertyList>(
                         low <= static_cast<std::uint64_t>(largest) ? static_cast<std::int64_t>(low) : largest)
                   : std::nullopt;
    }

    /// A value that holds `size` bytes, characters or values; 15 means that the count follows as an integer.
    std::optional<PropertyList> countedValue(std::uint64_t kind, std::uint64_t count, std::uint64_t offset,
                                             std::size_t depth) {
        if (count == 0xF) {
            const std::uint64_t sizeOfCount = holds(offset, 1) ? std::uint64_t{1} << (number(offset, 1) & 0xFU) : 0;
            if (sizeOfCount == 0 || sizeOfCount > 8 || !holds(offset + 1, sizeOfCount)) {
                return std::nullopt;
            }
            count = number(offset + 1, sizeOfCount);
            offset += 1 + sizeOfCount;
        }
        const std::uint64_t unit = kind >= array ? referenceSize_ : (kind == unicode ? 2 : 1);
        const std::uint64_t entries = kind == dictionary ? 2 : 1;
        if (count > bytes_.size() || !holds(offset, count * entries * unit)) {
            return std::nullopt;
        }
        switch (kind) {
        case array:
            return arrayValue(offset, count, depth);
        case dictionary:
            return dictionaryValue(offset, count, depth);
        default:
            return budget_.spend(count * unit) ? textValue(kind, offset, count * unit) : std::nullopt;
        }
    }

    [[nodiscard]] std::optional<PropertyList> textValue(std::uint64_t kind, std::uint64_t offset,
                                                        std::uint64_t size) const {
        const auto bytes = bytes_.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
        if (kind == data) {
            return PropertyList::Data{{bytes.begin(), bytes.end()}};
        }
        std::u16string units;
        for (std::uint64_t index = 0; kind == unicode && index < size; index += 2) {
            units += static_cast<char16_t>(number(offset + index, 2));
        }
        if (kind == unicode) {
            return units.find(u'\0') == std::u16string::npos ? std::optional<PropertyList>(utf8(units)) : std::nullopt;
        }
        const bool sound = kind == ascii && bytes.find('\0') == std::string_view::npos;
        // Some makers write UTF-8 there.
        return sound ? std::optional<PropertyList>(isValidUTF8(bytes) ? std::string(bytes) : utf8(utf16(bytes)))
                     : std::nullopt;
    }

    std::optional<PropertyList> referredValue(std::uint64_t offset, std::uint64_t index, std::size_t depth) {
        return value(number(offset + index * referenceSize_, referenceSize_), depth + 1);
    }

    std::optional<PropertyList> arrayValue(std::uint64_t offset, std::uint64_t count, std::size_t depth) {
        PropertyList::Array values;
        for (std::uint64_t index = 0; index < count; ++index) {
            auto value = referredValue(offset, index, depth);
            if (!value) {
                return std::nullopt;
            }
            values.push_back(*std::move(value));
        }
        return values;
    }

    std::optional<PropertyList> dictionaryValue(std::uint64_t offset, std::uint64_t count, std::size_t depth) {
        PropertyList::Dictionary values;
        for (std::uint64_t index = 0; index < count; ++index) {
            auto key = referredValue(offset, index, depth);
            auto *text = key ? key->as<std::string>() : nullptr;
            auto value = text != nullptr ? referredValue(offset, count + index, depth) : std::nullopt;
            if (!value) {
                return std::nullopt;
            }
            values.insert_or_assign(std::move(*text), *std::move(value));
        }
        return values;
    }

    std::string_view bytes_;
    PropertyListBudget budget_;
    std::uint64_t offsetSize_ = 0;
    std::uint64_t referenceSize_ = 0;
    std::uint64_t root_ = 0;
    std::uint64_t table_ = 0;
    std::uint64_t count_ = 0; // of objects
};

} // namespace

std::optional<PropertyList> readBinaryPropertyList(std::string_view bytes) {
    return Reader(bytes).run();
}

} // namespace kestrav::platform
