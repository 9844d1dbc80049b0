#pragma once

#include "platform/FileDescriptor.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct z_stream_s;

namespace kestrav::tools {

/// Writes a gzip file of members that tell their lengths, which the launcher inflates on several threads at once. The
/// operations return false with errno set if something cannot be written.
class GzipMemberWriter {
public:
    /// Creates the file; whether that succeeded is told by the first operation.
    explicit GzipMemberWriter(const std::string &path);
    GzipMemberWriter(const GzipMemberWriter &) = delete;
    GzipMemberWriter &operator=(const GzipMemberWriter &) = delete;
    ~GzipMemberWriter();

    [[nodiscard]] bool write(std::string_view bytes);
    /// Writes what is left, and the size of the whole into the first member.
    [[nodiscard]] bool close();

private:
    [[nodiscard]] bool writeMember();

    platform::FileDescriptor file_;
    std::unique_ptr<z_stream_s> stream_;
    std::string content_;           ///< of the member that is being filled
    std::uint64_t size_ = 0;        ///< of the content of the members that were written
    std::uint32_t firstLength_ = 0; ///< of the first member, 0 before it is written
};

} // namespace kestrav::tools
