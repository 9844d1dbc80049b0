#include "platform/linux/FileHeader.h"

#include "platform/FileDescriptor.h"
#include "platform/uninterrupted.h"

#include <elf.h>
#include <unistd.h>

namespace kestrav::platform {

FileHeader::FileHeader(const std::string &path) {
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

std::optional<std::uint32_t> FileHeader::number(std::size_t offset, std::size_t size, bool bigEndian) const {
    if (offset + size > size_) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value = (value << 8U) | bytes_[offset + (bigEndian ? index : size - 1 - index)];
    }
    return value;
}

std::optional<ElfMachine> elfMachine(const FileHeader &header) {
    constexpr std::uint32_t magic = 0x7F454C46;
    constexpr std::size_t machineOffset = 18;
    if (header.number(0, SELFMAG, true) != magic) {
        return std::nullopt;
    }
    const bool bigEndian = header.number(EI_DATA, 1, true) == ELFDATA2MSB;
    const auto number = header.number(machineOffset, 2, bigEndian);
    return number ? std::optional(ElfMachine{*number, bigEndian}) : std::nullopt;
}

} // namespace kestrav::platform
