#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kestrav::platform {

/// The bytes at the beginning of a file, as many as a program's header can have; none if the file cannot be read.
class FileHeader {
public:
    explicit FileHeader(const std::string &path);

    /// An unsigned number of `size` bytes, empty where the file is shorter.
    [[nodiscard]] std::optional<std::uint32_t> number(std::size_t offset, std::size_t size, bool bigEndian) const;

private:
    static constexpr std::size_t longest = 1416; // a fat Mach-O file of 44 architectures
    std::array<std::uint8_t, longest> bytes_{};
    std::size_t size_ = 0;
};

/// The machine that an ELF file is for, as <elf.h> numbers them.
struct ElfMachine {
    std::uint32_t number = 0;
    bool bigEndian = false;
    bool operator==(const ElfMachine &) const = default;
};

/// Empty if the file is not an ELF file.
[[nodiscard]] std::optional<ElfMachine> elfMachine(const FileHeader &header);

} // namespace kestrav::platform
