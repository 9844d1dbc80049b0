#include "mac_installer/archive/GzipReader.h"

#include "platform/uninterrupted.h"

#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace kestrav {

namespace {

constexpr int gzipFormat = MAX_WBITS + 16;
constexpr int withoutHeader = -MAX_WBITS;
constexpr unsigned trailerSize = 8;

/// Reads a number whose lowest byte comes first.
std::uint32_t littleEndian(const unsigned char *bytes) {
    return bytes[0] | std::uint32_t{bytes[1]} << 8U | std::uint32_t{bytes[2]} << 16U | std::uint32_t{bytes[3]} << 24U;
}

} // namespace

void ContentSum::add(std::span<const char> bytes) {
    const auto *data = reinterpret_cast<const Bytef *>(bytes.data());
    checksum = static_cast<std::uint32_t>(crc32(checksum, data, static_cast<uInt>(bytes.size())));
    length += static_cast<std::uint32_t>(bytes.size());
}

void GzipReader::Close::operator()(z_stream_s *stream) const {
    inflateEnd(stream);
    std::default_delete<z_stream_s>()(stream);
}

GzipReader::GzipReader(platform::FileDescriptor archive)
    : file_(std::move(archive)), stream_(std::make_unique<z_stream_s>().release()) {
    stream_->next_in = input_.data();
    if (inflateInit2(stream_.get(), gzipFormat) != Z_OK) {
        stream_.reset();
    }
}

GzipReader::Piece GzipReader::read(std::span<char> buffer) {
    stream_->next_out = reinterpret_cast<Bytef *>(buffer.data());
    stream_->avail_out = static_cast<uInt>(buffer.size());
    const auto written = [&] { return buffer.size() - stream_->avail_out; };
    Piece piece;
    bool begunHere = false;
    while (end_ == End::none && piece.end == End::none && stream_->avail_out > 0) {
        if (state_ == State::between) {
            end_ = begin();
            begunHere = true;
        } else if (state_ == State::plain) {
            end_ = copy();
            piece.verified = written();
        } else if (const End end = inflate(piece.sum); end != End::member) {
            end_ = end;
        } else if (!begunHere) {
            piece.end = end;
        } else { // Small members are summed here. To hand each of them over would take longer.
            ContentSum sum;
            sum.add(buffer.first(written()).subspan(piece.verified));
            end_ = sum == piece.sum ? End::none : End::damage;
            piece.verified = written();
        }
    }
    piece.count = written();
    // What precedes the end of a file counts, even of a truncated one. What is mixed with damage does not.
    if (end_ == End::damage || end_ == End::error || (end_ != End::none && piece.count == 0)) {
        return {.end = end_};
    }
    return piece;
}

GzipReader::End GzipReader::begin() {
    constexpr unsigned markSize = 2;
    have(markSize);
    if (error_) {
        return End::error;
    }
    const unsigned char *mark = stream_->next_in;
    if (stream_->avail_in >= markSize && mark[0] == 0x1f && mark[1] == 0x8b) {
        return passHeader();
    }
    if (anyMember_ || stream_->avail_in == 0) { // as in zlib, what follows the last member does not matter
        return End::file;
    }
    state_ = State::plain;
    return End::none;
}

GzipReader::End GzipReader::passHeader() {
    constexpr int passed = 128; // a flag of zlib's
    int status = inflateReset2(stream_.get(), gzipFormat);
    stream_->data_type = 0;
    while (status == Z_OK && (stream_->data_type & passed) == 0) {
        if (!have(1)) {
            return missing();
        }
        status = ::inflate(stream_.get(), Z_BLOCK);
    }
    if (status == Z_OK) {
        status = inflateReset2(stream_.get(), withoutHeader);
    }
    anyMember_ = true;
    state_ = State::inMember;
    return status == Z_OK ? End::none : failed(status);
}

GzipReader::End GzipReader::inflate(ContentSum &sum) {
    int status = Z_OK;
    while (status == Z_OK && stream_->avail_out > 0) {
        if (!have(1)) {
            return missing();
        }
        status = ::inflate(stream_.get(), Z_NO_FLUSH);
    }
    if (status != Z_STREAM_END) {
        return status == Z_OK ? End::none : failed(status);
    }
    if (!have(trailerSize)) {
        return missing();
    }
    sum = {littleEndian(stream_->next_in), littleEndian(stream_->next_in + 4)};
    stream_->next_in += trailerSize;
    stream_->avail_in -= trailerSize;
    state_ = State::between;
    return End::member;
}

GzipReader::End GzipReader::copy() {
    if (!have(1)) {
        return error_ ? End::error : End::file;
    }
    const uInt count = std::min(stream_->avail_in, stream_->avail_out);
    stream_->next_out = std::copy_n(stream_->next_in, count, stream_->next_out);
    stream_->avail_out -= count;
    stream_->next_in += count;
    stream_->avail_in -= count;
    return End::none;
}

GzipReader::End GzipReader::failed(int status) {
    if (status == Z_MEM_ERROR) {
        error_ = std::make_error_code(std::errc::not_enough_memory);
    }
    return error_ ? End::error : End::damage;
}

GzipReader::End GzipReader::missing() const {
    return error_ ? End::error : End::truncation;
}

bool GzipReader::have(unsigned count) {
    if (stream_->avail_in >= count) {
        return true;
    }
    std::memmove(input_.data(), stream_->next_in, stream_->avail_in);
    stream_->next_in = input_.data();
    while (stream_->avail_in < count) {
        const std::span<unsigned char> room = std::span(input_).subspan(stream_->avail_in);
        const ssize_t got = platform::uninterrupted([&] { return ::read(file_.get(), room.data(), room.size()); });
        if (got <= 0) {
            error_ = got < 0 ? platform::lastError() : error_;
            return false;
        }
        stream_->avail_in += static_cast<uInt>(got);
    }
    return true;
}

} // namespace kestrav
