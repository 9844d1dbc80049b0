#include "platform/Bundle.h"

#include "platform/FileDescriptor.h"
#include "platform/path.h"
#include "platform/posix/uninterrupted.h"

#include <array>
#include <cstddef>
#include <unistd.h>

namespace kestrav::platform {

namespace {

using Architectures = std::vector<std::optional<std::int32_t>>;

// CPU types as Mach-O files name them.
constexpr std::int32_t cpuTypeX86 = 7;
constexpr std::int32_t cpuTypeX86_64 = 0x01000007;
constexpr std::int32_t cpuTypeArm64 = 0x0100000C;

constexpr std::uint32_t fatEntryLimit = 44;
constexpr std::size_t fatHeaderSize = 8;
constexpr std::size_t fatEntrySize = 20;
constexpr std::size_t fat64EntrySize = 32;

/// The bytes at the beginning of a file, as many as a header can have.
class Header {
public:
    explicit Header(const std::string &path) {
        const FileDescriptor file = FileDescriptor::openRegularFile(path);
        while (file.valid() && size_ < bytes_.size()) {
            const ssize_t count =
                uninterrupted([&] { return ::read(file.get(), bytes_.data() + size_, bytes_.size() - size_); });
            if (count <= 0) {
                return;
            }
            size_ += static_cast<std::size_t>(count);
        }
    }

    /// An unsigned number of `size` bytes, empty where the file is shorter.
    [[nodiscard]] std::optional<std::uint32_t> number(std::size_t offset, std::size_t size, bool bigEndian) const {
        if (offset + size > size_) {
            return std::nullopt;
        }
        std::uint32_t value = 0;
        for (std::size_t index = 0; index < size; ++index) {
            value = (value << 8U) | bytes_[offset + (bigEndian ? index : size - 1 - index)];
        }
        return value;
    }

private:
    std::array<std::uint8_t, fatHeaderSize + fatEntryLimit * fat64EntrySize> bytes_{};
    std::size_t size_ = 0;
};

std::optional<Architectures> fatArchitectures(const Header &header, std::size_t entrySize) {
    const std::optional<std::uint32_t> count = header.number(4, 4, true);
    // Java class files begin like fat files; their version, 45 or more, stands where the number of entries does.
    if (!count || *count > fatEntryLimit) {
        return std::nullopt;
    }
    Architectures architectures;
    for (std::size_t index = 0; index < *count; ++index) {
        const auto cpuType = header.number(fatHeaderSize + index * entrySize, 4, true);
        architectures.push_back(cpuType ? std::optional(static_cast<std::int32_t>(*cpuType)) : std::nullopt);
    }
    return architectures;
}

std::optional<Architectures> thinArchitecture(const Header &header, bool bigEndian) {
    const auto cpuType = header.number(4, 4, bigEndian);
    return cpuType ? std::optional(Architectures{static_cast<std::int32_t>(*cpuType)}) : std::nullopt;
}

std::optional<Architectures> elfArchitecture(const Header &header) {
    constexpr std::uint32_t bigEndianData = 2;
    const auto machine = header.number(18, 2, header.number(5, 1, true) == bigEndianData);
    switch (machine.value_or(0)) {
    case 3:
        return Architectures{cpuTypeX86};
    case 62:
        return Architectures{cpuTypeX86_64};
    case 183:
        return Architectures{cpuTypeArm64};
    default:
        return std::nullopt;
    }
}

std::optional<Architectures> architecturesOfFile(const std::string &path) {
    const Header header(path);
    switch (header.number(0, 4, true).value_or(0)) {
    case 0xCAFEBABE:
        return fatArchitectures(header, fatEntrySize);
    case 0xCAFEBABF:
        return fatArchitectures(header, fat64EntrySize);
    case 0xFEEDFACE:
    case 0xFEEDFACF:
        return thinArchitecture(header, true);
    case 0xCEFAEDFE:
    case 0xCFFAEDFE:
        return thinArchitecture(header, false);
    case 0x7F454C46:
        return elfArchitecture(header);
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<std::vector<std::optional<std::int32_t>>> Bundle::executableArchitectures() const {
    const auto name = infoDictionary().stringForKey("CFBundleExecutable");
    if (!name || name->empty()) {
        return std::nullopt;
    }
    auto architectures = architecturesOfFile(appendingPathComponent(bundlePath() + "/Contents/MacOS", *name));
    return architectures ? architectures : architecturesOfFile(appendingPathComponent(bundlePath(), *name));
}

} // namespace kestrav::platform
