#include "GzipMemberWriter.h"

#include "FileTree.h"
#include "mac_installer/archive/GzipMember.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <new>

namespace kestrav::tools {

namespace {

void appendLittleEndian(std::string &bytes, std::uint32_t value) {
    for (int count = 0; count < 4; ++count, value >>= 8U) {
        bytes += static_cast<char>(value & 0xffU);
    }
}

} // namespace

GzipMemberWriter::GzipMemberWriter(const std::string &path)
    : file_(platform::FileDescriptor::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, fileMode)),
      stream_(std::make_unique<z_stream_s>()) {
    constexpr int withoutHeader = -MAX_WBITS;
    constexpr int usualMemory = 8;
    if (deflateInit2(stream_.get(), Z_DEFAULT_COMPRESSION, Z_DEFLATED, withoutHeader, usualMemory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
}

GzipMemberWriter::~GzipMemberWriter() {
    deflateEnd(stream_.get());
}

bool GzipMemberWriter::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), GzipMember::contentSize - content_.size());
        content_.append(bytes.substr(0, count));
        bytes.remove_prefix(count);
        if (content_.size() == GzipMember::contentSize && !writeMember()) {
            return false;
        }
    }
    return true;
}

bool GzipMemberWriter::close() {
    if ((!content_.empty() || firstLength_ == 0) && !writeMember()) {
        return false;
    }
    const std::string header = GzipMember{.length = firstLength_, .totalSize = size_}.header();
    const auto written =
        platform::uninterrupted([&] { return ::pwrite(file_.get(), header.data(), header.size(), 0); });
    return written == static_cast<ssize_t>(header.size()) && file_.close();
}

bool GzipMemberWriter::writeMember() {
    const auto *content = reinterpret_cast<const Bytef *>(content_.data());
    const auto size = static_cast<uInt>(content_.size());
    std::string data(deflateBound(stream_.get(), size), '\0');
    deflateReset(stream_.get());
    stream_->next_in = const_cast<Bytef *>(content);
    stream_->avail_in = size;
    stream_->next_out = reinterpret_cast<Bytef *>(data.data());
    stream_->avail_out = static_cast<uInt>(data.size());
    deflate(stream_.get(), Z_FINISH); // there is always room
    data.resize(stream_->total_out);
    appendLittleEndian(data, static_cast<std::uint32_t>(crc32(crc32(0, nullptr, 0), content, size)));
    appendLittleEndian(data, size);

    GzipMember member;
    if (firstLength_ == 0) {
        member.totalSize = 0; // until it is known
    }
    member.length = static_cast<std::uint32_t>(member.header().size() + data.size());
    firstLength_ = firstLength_ == 0 ? member.length : firstLength_;
    size_ += size;
    content_.clear();
    return platform::writeAll(file_.get(), member.header() + data);
}

} // namespace kestrav::tools
