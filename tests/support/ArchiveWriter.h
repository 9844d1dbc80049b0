#pragma once

#include "mac_installer/archive/GzipMember.h"

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kestrav::tests {

/// Compresses the bytes into one gzip member.
inline std::string gzip(std::string_view bytes) {
    z_stream stream{};
    constexpr int gzipFormat = 15 + 16;
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzipFormat, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("no compressor");
    }
    std::string result(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

/// The bytes as members that tell their lengths.
inline std::string gzipMembers(std::string_view bytes) {
    std::string result;
    for (std::size_t at = 0; at < bytes.size(); at += GzipMember::contentSize) {
        const std::string data = gzip(bytes.substr(at, GzipMember::contentSize)).substr(10); // without its header
        GzipMember member;
        member.totalSize = at == 0 ? std::optional<std::uint64_t>(bytes.size()) : std::nullopt;
        member.length = static_cast<std::uint32_t>(member.header().size() + data.size());
        result += member.header() + data;
    }
    return result;
}

/// Builds tar archives byte by byte, including damaged ones.
class ArchiveWriter {
public:
    ArchiveWriter &file(std::string_view name, std::string_view data = "", unsigned mode = 0644) {
        return entry('0', name, data, mode);
    }
    ArchiveWriter &directory(std::string_view name) { return entry('5', name); }
    ArchiveWriter &link(std::string_view name, std::string_view to) { return entry('2', name).patch(157, to); }

    /// An extended header with one record, for the next entry or, with type 'g', for all that follow.
    ArchiveWriter &record(const std::string &keyword, const std::string &value, char type = 'x') {
        std::size_t length = 0;
        for (std::string rest = " " + keyword + "=" + value + "\n";
             length != std::to_string(length).size() + rest.size();) {
            length = std::to_string(length).size() + rest.size();
        }
        return entry(type, "record", std::to_string(length) + " " + keyword + "=" + value + "\n");
    }

    ArchiveWriter &entry(char type, std::string_view name, std::string_view data = "", unsigned mode = 0644) {
        header_ = tar_.size();
        tar_.append(512, '\0');
        patch(0, name).patch(100, octal(mode, 7)).size(data.size());
        patch(156, std::string_view(&type, 1)).patch(257, std::string_view("ustar\00000", 8));
        tar_.append(data).append((512 - data.size() % 512) % 512, '\0');
        return *this;
    }
    /// Sets the size in the last header, regardless of the data.
    ArchiveWriter &size(unsigned long size) { return patch(124, octal(size, 11)); }
    /// Overwrites bytes of the last header.
    ArchiveWriter &patch(std::size_t offset, std::string_view bytes) {
        std::copy(bytes.begin(), bytes.end(), tar_.begin() + static_cast<std::ptrdiff_t>(header_ + offset));
        return *this;
    }
    ArchiveWriter &raw(std::string_view bytes) {
        tar_ += bytes;
        return *this;
    }

    [[nodiscard]] const std::string &unclosed() const { return tar_; }
    [[nodiscard]] std::string closed() const { return tar_ + std::string(1024, '\0'); }

private:
    static std::string octal(unsigned long value, int digits) {
        char text[24];
        std::snprintf(text, sizeof text, "%0*lo", digits, value);
        return text;
    }

    std::string tar_;
    std::size_t header_ = 0;
};

} // namespace kestrav::tests
