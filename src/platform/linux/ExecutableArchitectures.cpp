#include "platform/Bundle.h"

#include "platform/linux/FileHeader.h"
#include "platform/path.h"

#include <cstddef>
#include <elf.h>

namespace kestrav::platform {

namespace {

using Architectures = std::vector<std::optional<std::int32_t>>;

// CPU types as they are numbered in Mach-O files.
constexpr std::int32_t cpuTypeX86 = 7;
constexpr std::int32_t cpuTypeX86_64 = 0x01000007;
constexpr std::int32_t cpuTypeArm64 = 0x0100000C;

constexpr std::uint32_t fatEntryLimit = 44;
constexpr std::size_t fatHeaderSize = 8;
constexpr std::size_t fatEntrySize = 20;
constexpr std::size_t fat64EntrySize = 32;

std::optional<Architectures> fatArchitectures(const FileHeader &header, std::size_t entrySize) {
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

std::optional<Architectures> thinArchitecture(const FileHeader &header, bool bigEndian) {
    const auto cpuType = header.number(4, 4, bigEndian);
    return cpuType ? std::optional(Architectures{static_cast<std::int32_t>(*cpuType)}) : std::nullopt;
}

std::optional<Architectures> elfArchitecture(const FileHeader &header) {
    switch (elfMachine(header).value_or(ElfMachine()).number) {
    case EM_386:
        return Architectures{cpuTypeX86};
    case EM_X86_64:
        return Architectures{cpuTypeX86_64};
    case EM_AARCH64:
        return Architectures{cpuTypeArm64};
    default:
        return std::nullopt;
    }
}

std::optional<Architectures> architecturesOfFile(const std::string &path) {
    const FileHeader header(path);
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
