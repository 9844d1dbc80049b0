#include "MachO.h"

#include "platform/FileDescriptor.h"

#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace kestrav::tools {

namespace {

// As in Apple's <mach-o/loader.h> and <mach-o/fat.h>.
constexpr std::uint32_t magic32 = 0xFEEDFACE;
constexpr std::uint32_t magic64 = 0xFEEDFACF;
constexpr std::uint32_t fatMagic32 = 0xCAFEBABE; // also that of a Java class
constexpr std::uint32_t fatMagic64 = 0xCAFEBABF;
constexpr std::uint32_t executableType = 2;

constexpr std::size_t headerSize = 32;
using Header = std::array<unsigned char, headerSize>;

/// The number at an offset in multiples of four bytes.
std::uint32_t number(const Header &header, std::size_t index, bool bigEndian) {
    constexpr std::size_t size = 4;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value * 256 + header.at(index * size + (bigEndian ? i : size - 1 - i));
    }
    return value;
}

bool readHeader(const platform::FileDescriptor &file, std::uint64_t offset, Header &header) {
    return ::pread(file.get(), header.data(), header.size(), static_cast<off_t>(offset)) ==
           static_cast<ssize_t>(header.size());
}

/// Where the code for the first processor begins; 0 if there is none.
std::uint64_t firstCode(const Header &header) {
    constexpr std::uint32_t mostProcessors = 40; // a class has its version there, which is 45 at least
    const std::uint32_t magic = number(header, 0, true);
    const std::uint32_t processors = number(header, 1, true);
    if (processors == 0 || processors > mostProcessors) {
        return 0;
    }
    constexpr unsigned bitsOfHalf = 32;
    if (magic == fatMagic64) {
        return (std::uint64_t{number(header, 4, true)} << bitsOfHalf) + number(header, 5, true);
    }
    return magic == fatMagic32 ? number(header, 4, true) : 0;
}

} // namespace

MachOKind machOKind(const std::string &path) {
    const auto file = platform::FileDescriptor::openRegularFile(path);
    Header header{};
    if (!file.valid() || !readHeader(file, 0, header)) {
        return MachOKind::none;
    }
    if (const std::uint64_t code = firstCode(header); code != 0 && !readHeader(file, code, header)) {
        return MachOKind::none;
    }
    const std::uint32_t magic = number(header, 0, false);
    if (magic != magic32 && magic != magic64) {
        return MachOKind::none;
    }
    return number(header, 3, false) == executableType ? MachOKind::program : MachOKind::library;
}

} // namespace kestrav::tools
