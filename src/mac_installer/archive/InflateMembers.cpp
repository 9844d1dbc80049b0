#include "mac_installer/archive/InflateMembers.h"

#include "platform/Signals.h"
#include "platform/uninterrupted.h"

#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace kestrav {

namespace {

constexpr std::size_t mostThreads = 8;
constexpr std::size_t fewestMembers = 3; // fewer are not worth the threads
/// For each thread one member that is being inflated and one that is ready: at most 16 MiB.
constexpr std::size_t slotsPerThread = 2;

std::string_view bytesAt(const platform::FileDescriptor &file, std::int64_t offset,
                         std::array<char, GzipMember::longestHeader> &buffer) {
    const ssize_t count =
        platform::uninterrupted([&] { return ::pread(file.get(), buffer.data(), buffer.size(), offset); });
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

} // namespace

std::unique_ptr<Inflater> InflateMembers::open(platform::FileDescriptor &archive) {
    std::array<char, GzipMember::longestHeader> buffer;
    const auto first = GzipMember::parse(bytesAt(archive, 0, buffer));
    const std::size_t threads = std::min<std::size_t>(std::thread::hardware_concurrency(), mostThreads);
    if (!first || first->totalSize.value_or(0) < fewestMembers * GzipMember::contentSize || threads < 2) {
        return nullptr;
    }
    std::unique_ptr<InflateMembers> members(new InflateMembers(std::move(archive), threads));
    if (!members->startThreads(threads)) {
        archive = std::move(members->file_);
        return nullptr;
    }
    return members;
}

InflateMembers::InflateMembers(platform::FileDescriptor archive, std::size_t threadCount) : file_(std::move(archive)) {
    for (std::size_t count = 0; count < threadCount * slotsPerThread; ++count) {
        // Unlike `make_unique` this leaves the bytes untouched until they are needed.
        slots_.push_back(std::unique_ptr<Slot>(new Slot)); // NOLINT(modernize-make-unique)
    }
}

InflateMembers::~InflateMembers() {
    stopThreads();
}

bool InflateMembers::startThreads(std::size_t count) {
    const platform::SignalsBlocked blocked;
    threads_.reserve(count);
    try {
        while (threads_.size() < count) {
            threads_.emplace_back([this] { inflateMembers(); });
        }
    } catch (const std::system_error &) {
        // The threads started so far do the work.
    }
    return !threads_.empty();
}

void InflateMembers::stopThreads() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    freed_.notify_all();
    for (platform::Thread &thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

std::span<const char> InflateMembers::nextChunk() {
    while (end_ == End::none && !rest_) {
        std::unique_lock lock(mutex_);
        if (std::exchange(inUse_, false)) {
            slots_[taken_++ % slots_.size()]->ready = false;
            freed_.notify_all();
        }
        const Slot &slot = *slots_[taken_ % slots_.size()];
        filled_.wait(lock, [&] { return slot.ready; });
        if (!slot.whole) {
            lock.unlock();
            return readRest(slot.offset);
        }
        inUse_ = true;
        if (slot.count > 0) {
            return {slot.bytes.data(), slot.count};
        }
    }
    return rest_ ? rest_->nextChunk() : std::span<const char>();
}

std::span<const char> InflateMembers::readRest(std::int64_t offset) {
    stopThreads();
    std::array<char, 2> mark{};
    const ssize_t count =
        platform::uninterrupted([&] { return ::pread(file_.get(), mark.data(), mark.size(), offset); });
    // An error is left to the other reader, which meets it as well.
    if (count >= 0 && std::string_view(mark.data(), static_cast<std::size_t>(count)) != "\x1f\x8b") {
        end_ = End::regular; // zlib ignores what follows the last member, too
        return {};
    }
    slots_.clear();
    rest_ = ::lseek(file_.get(), offset, SEEK_SET) == offset ? InflateAhead::open(std::move(file_)) : nullptr;
    if (!rest_) {
        end_ = End::noMemory;
        return {};
    }
    return rest_->nextChunk();
}

bool InflateMembers::isDamaged() const {
    return end_ == End::noMemory || (rest_ && rest_->isDamaged());
}

std::string InflateMembers::failure() const {
    return rest_                   ? rest_->failure()
           : end_ == End::noMemory ? std::make_error_code(std::errc::not_enough_memory).message()
                                   : "";
}

void InflateMembers::inflateMembers() {
    constexpr int gzipOnly = MAX_WBITS + 16;
    z_stream stream{};
    const bool ready = inflateInit2(&stream, gzipOnly) == Z_OK;
    std::unique_lock lock(mutex_);
    while (Slot *slot = claim(lock)) {
        lock.unlock();
        const bool whole = ready && slot->length > 0 && inflate(*slot, stream);
        lock.lock();
        slot->whole = whole;
        slot->ready = true;
        filled_.notify_one();
    }
    lock.unlock();
    inflateEnd(&stream);
}

InflateMembers::Slot *InflateMembers::claim(std::unique_lock<std::mutex> &lock) {
    freed_.wait(lock, [this] { return stopped_ || allClaimed_ || claimed_ < taken_ + slots_.size(); });
    if (stopped_ || allClaimed_) {
        return nullptr;
    }
    Slot &slot = *slots_[claimed_++ % slots_.size()];
    const auto member = memberAt(nextOffset_);
    slot.offset = nextOffset_;
    slot.length = member ? member->length : 0;
    nextOffset_ += slot.length;
    allClaimed_ = slot.length == 0;
    if (allClaimed_) {
        freed_.notify_all();
    }
    return &slot;
}

std::optional<GzipMember> InflateMembers::memberAt(std::int64_t offset) const {
    std::array<char, GzipMember::longestHeader> buffer;
    return GzipMember::parse(bytesAt(file_, offset, buffer));
}

bool InflateMembers::inflate(Slot &slot, z_stream_s &stream) const {
    std::array<unsigned char, 65536> input;
    int status = inflateReset(&stream);
    stream.next_out = reinterpret_cast<Bytef *>(slot.bytes.data());
    stream.avail_out = static_cast<uInt>(slot.bytes.size());
    std::int64_t done = 0;
    while (status == Z_OK && done < slot.length && !stopped_) {
        const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(slot.length - done, input.size()));
        const ssize_t count =
            platform::uninterrupted([&] { return ::pread(file_.get(), input.data(), wanted, slot.offset + done); });
        if (count <= 0) {
            return false;
        }
        done += count;
        stream.next_in = input.data();
        stream.avail_in = static_cast<uInt>(count);
        while (status == Z_OK && stream.avail_in > 0) {
            status = ::inflate(&stream, Z_NO_FLUSH); // once the buffer is full, this only looks for the member's end
        }
    }
    slot.count = slot.bytes.size() - stream.avail_out;
    return status == Z_STREAM_END && done == slot.length && stream.avail_in == 0 && slot.count > 0;
}

} // namespace kestrav
