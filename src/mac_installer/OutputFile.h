#pragma once

#include "platform/FileDescriptor.h"

#include <unistd.h>

#include <string_view>
#include <utility>

namespace kestrav {

/// Owns the descriptor of a file that is written, and tells of every failure up to and including closing it, where some
/// file systems report that the disk is full. Without `close` the file is closed in the end, whatever comes of it.
class OutputFile {
public:
    OutputFile() = default;
    explicit OutputFile(int descriptor) : descriptor_(descriptor) {}
    OutputFile(OutputFile &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    OutputFile &operator=(OutputFile &&other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    ~OutputFile() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    [[nodiscard]] bool write(std::string_view bytes) const { return platform::writeAll(descriptor_, bytes); }
    [[nodiscard]] bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_ = -1;
};

} // namespace kestrav
