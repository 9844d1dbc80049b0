#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace kestrav::platform {

/// Owns one descriptor and closes it. Movable, not copyable.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept;
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return descriptor_; }
    [[nodiscard]] bool valid() const { return descriptor_ >= 0; }
    void reset();
    /// Closes the file and returns whether everything written was stored: some file systems report a full disk only
    /// here.
    [[nodiscard]] bool close();
    /// Hands the descriptor over to the caller.
    [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }

    /// Opens a file, close-on-exec; invalid with errno set when that fails.
    [[nodiscard]] static FileDescriptor open(const char *path, int flags, unsigned mode = 0);
    /// The same for a path relative to an open directory.
    [[nodiscard]] static FileDescriptor openAt(int directory, const char *path, int flags, unsigned mode = 0);
    /// Opens a file for reading if it is a regular file, since a FIFO or a device could keep the reader waiting.
    [[nodiscard]] static FileDescriptor openRegularFile(const std::string &path);

private:
    int descriptor_ = -1;
};

/// Writes all bytes, however many calls that takes; false with errno set if writing fails.
[[nodiscard]] bool writeAll(int descriptor, std::string_view bytes);

/// Writes all bytes, but waits at most `milliseconds` each time until the receiver accepts more; false if it accepts no
/// more or fails. For receivers that may have stopped reading, such as standard error.
[[nodiscard]] bool writeWithin(int descriptor, std::string_view bytes, int milliseconds);

/// Opens /dev/null for each of the three standard descriptors that is closed, so that nothing the process opens later
/// is taken for one of them.
void ensureStandardDescriptors();

} // namespace kestrav::platform
