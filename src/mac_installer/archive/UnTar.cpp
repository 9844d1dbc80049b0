#include "mac_installer/archive/UnTar.h"

#include "mac_installer/archive/GzipStream.h"
#include "mac_installer/archive/TarHeader.h"
#include "platform/ConfinedDirectory.h"
#include "platform/DebugLog.h"
#include "platform/FileDescriptor.h"
#include "platform/SystemLog.h"
#include "platform/path.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

namespace kestrav {

using platform::FileDescriptor;
using platform::Log;

namespace {

constexpr const char *untarSignature = "+[UnTar untar:to:uncompressedLength:withProgress:]";
constexpr const char *extractSignature =
    "+[UnTar extractFile:name:fileLength:permissions:uncompressedLength:fileManager:progressBlock:]";
constexpr const char *notAnArchive = "it is no archive";
constexpr mode_t ownerReadWrite = 0600;
/// Without the bits that let a program run as somebody else: what an archive brings never gets those.
constexpr mode_t permissionBits = 0777;

} // namespace

/// What the operations of one run share.
struct UnTar::Extraction {
    GzipStream stream;
    platform::ConfinedDirectory directory;
    const std::string &to;
    std::int32_t uncompressedLength;
    const ProgressCallback &progress;
    std::string reason = {}; ///< of the error that ended the run

    [[nodiscard]] std::string path(const std::string &name) const { return platform::appendingPathComponent(to, name); }
    /// In single precision: so small a step of a large archive is no news.
    [[nodiscard]] float percent() const {
        return static_cast<float>(stream.position()) / static_cast<float>(uncompressedLength) * 100.0F;
    }
    void report() const {
        if (progress) {
            progress(percent(), std::nullopt);
        }
    }
    /// Records why the run ends.
    bool endWith(const std::string &why) {
        reason = why;
        return false;
    }
    /// The same where the archive holds less than it should, or something else.
    bool endWithDamage() {
        const std::string failure = stream.failure();
        return endWith(failure.empty() ? damagedArchive : failure);
    }
    /// Logs the error as well.
    bool fail(int line, std::string_view message, const std::string &why) {
        Log("%s [Line %d] ERROR: %s", untarSignature, line, message);
        return endWith(why);
    }
    bool fail(int line, std::string_view message) {
        static_cast<void>(fail(line, message, {}));
        return endWithDamage();
    }
};

namespace {

/// True if the block, of which the fields were read, is one of the zero blocks that close an archive.
bool isClosingBlock(GzipStream &stream, std::span<char, TarHeader::blockSize> block) {
    const auto rest = block.subspan<TarHeader::size>();
    return stream.read(rest) == static_cast<int>(rest.size()) &&
           std::all_of(block.begin(), block.end(), [](char byte) { return byte == '\0'; });
}

} // namespace

UntarResult UnTar::untar(const std::string &archive, const std::string &to, std::int32_t uncompressedLength,
                         const ProgressCallback &progress, const std::function<void()> &checkpoint) {
    UntarResult result;
    FileDescriptor file = FileDescriptor::openRegularFile(archive);
    if (!file.valid()) {
        result.reason = std::generic_category().message(errno);
        Log("%s [Line %d] error reading JRE %@", untarSignature, 174, result.reason);
        return result;
    }
    if (progress) {
        progress(0.0, to);
    }
    std::optional<GzipStream> stream = GzipStream::open(std::move(file), checkpoint);
    if (!stream) {
        Log("%s [Line %d] error opening gzip file", untarSignature, 263);
        result.reason = std::make_error_code(std::errc::not_enough_memory).message(); // zlib knows no other
    } else {
        Extraction extraction{std::move(*stream), platform::ConfinedDirectory(to), to, uncompressedLength, progress};
        const int error = errno;
        result.complete = extraction.directory.valid() ? extractEntries(extraction, result.topDirectory)
                                                       : extraction.fail(227, "extract creating directory",
                                                                         std::generic_category().message(error));
        result.reason = result.complete ? "" : std::move(extraction.reason);
    }
    if (progress) {
        progress(100.0, "");
    }
    return result;
}

bool UnTar::extractEntries(Extraction &extraction, std::optional<std::string> &topDirectory) {
    GzipStream &stream = extraction.stream;
    std::array<char, TarHeader::blockSize> block;
    const auto fields = std::span(block).first<TarHeader::size>();
    const TarHeader header(fields);
    bool anyEntry = false;
    bool anyFile = false;
    for (;; anyEntry = true) {
        const int count = stream.read(fields);
        if (count < 0) {
            return extraction.fail(197, "gzread failed");
        }
        if (count < static_cast<int>(fields.size())) {
            const bool whole = stream.failure().empty();
            if (whole && !anyEntry) {
                return count > 0 ? extraction.fail(203, "no magic number", notAnArchive)
                                 : extraction.fail(191, "unexpected eof", notAnArchive);
            }
            return (whole && count == 0 && anyFile) || extraction.fail(191, "unexpected eof");
        }
        if (!header.hasMagic()) {
            const bool closing = isClosingBlock(stream, block);
            if (!closing || !anyFile) {
                anyEntry ? extraction.fail(203, "no magic number")
                         : extraction.fail(203, "no magic number", notAnArchive);
            }
            return closing && anyEntry && (stream.finish() || extraction.fail(197, "gzread failed"));
        }
        if (!stream.skip(TarHeader::blockSize - TarHeader::size)) {
            return extraction.fail(209, "gzseek 1 failed");
        }
        const std::string name = header.name();
        std::vector<std::string> components = platform::pathComponents(name);
        if (components.size() >= 2) {
            topDirectory = std::move(components.front());
        }
        _DLog("%s [Line %d] extracting %@", untarSignature, 221, name);
        anyFile = anyFile || header.type() == TarHeader::Type::file;
        if (!extractEntry(extraction, header, name)) {
            return false;
        }
    }
}

bool UnTar::extractEntry(Extraction &extraction, const TarHeader &header, const std::string &name) {
    const std::int64_t length = header.fileLength();
    if (length < 0) {
        return extraction.fail(236, "extract file failed");
    }
    switch (header.type()) {
    case TarHeader::Type::file:
        extraction.report();
        if (length > std::numeric_limits<std::int32_t>::max()) {
            return extraction.fail(236, "extract file failed", "it holds a file of 2 GiB or more");
        }
        if (!extractFile(extraction, name, static_cast<std::int32_t>(length), header.mode())) {
            return extraction.fail(236, "extract file failed", extraction.reason);
        }
        break;
    case TarHeader::Type::symbolicLink:
        if (!extractLink(extraction, header, name)) {
            return false;
        }
        break;
    case TarHeader::Type::directory:
        if (!extractDirectory(extraction, name)) {
            return false;
        }
        break;
    default:
        if (!extraction.stream.skip(length)) {
            return extraction.fail(248, "gzseek 2 failed");
        }
    }
    constexpr std::int64_t block = TarHeader::blockSize;
    // Some writers leave out the padding at the very end.
    return extraction.stream.skip((block - length % block) % block) || extraction.stream.failure().empty() ||
           extraction.fail(255, "gzseek 3 failed");
}

bool UnTar::extractLink(Extraction &extraction, const TarHeader &header, const std::string &name) {
    const auto result = extraction.directory.createSymbolicLink(name, header.linkName());
    if (!result.succeeded()) {
        Log("%s [Line %d] ERROR: could not create symlink at %@ (%@)", untarSignature, 244, extraction.path(name),
            result.error.message());
    }
    return result.succeeded() || result.concernsPathAlone() || extraction.endWith(result.error.message());
}

bool UnTar::extractDirectory(Extraction &extraction, const std::string &name) {
    const auto result = extraction.directory.createDirectory(name);
    if (!result.succeeded()) {
        extraction.fail(227, "extract creating directory", result.error.message());
    }
    return result.succeeded() || result.refused;
}

bool UnTar::extractFile(Extraction &extraction, const std::string &name, std::int32_t fileLength, std::int64_t mode) {
    if (("/" + name).find("/._") != std::string::npos) {
        return skip(extraction, fileLength); // a platform's metadata, not the runtime's
    }
    const mode_t permissions = (static_cast<mode_t>(mode) & permissionBits) | ownerReadWrite;
    FileDescriptor file;
    const auto result = extraction.directory.createFile(name, permissions, file);
    if (!result.succeeded()) {
        Log("%s [Line %d] Could not create file %@ %d %s\n", extractSignature, 95, extraction.path(name),
            result.error.value(), result.error.message());
        return result.concernsPathAlone() ? skip(extraction, fileLength) : extraction.endWith(result.error.message());
    }
    return writeData(extraction, name, fileLength, std::move(file));
}

bool UnTar::writeData(Extraction &extraction, const std::string &name, std::int32_t fileLength, FileDescriptor file) {
    std::int32_t copied = 0;
    float lastPercent = 0.0F;
    int failure = 0; // the reason for which the file could not be written
    while (failure == 0 && copied < fileLength) {
        const std::span<const char> piece = extraction.stream.next(static_cast<std::size_t>(fileLength - copied));
        if (piece.empty()) {
            break;
        }
        copied += static_cast<std::int32_t>(piece.size());
        if (!platform::writeAll(file.get(), {piece.data(), piece.size()})) {
            failure = errno;
        } else if (const float percent = extraction.percent(); percent != lastPercent) {
            extraction.report();
            lastPercent = percent;
        }
    }
    if (!file.close() && failure == 0) {
        failure = errno;
    }
    if (failure != 0) {
        const std::string reason = std::generic_category().message(failure);
        Log("%s [Line %d] ERROR: stream error", extractSignature, 139);
        Log("%s [Line %d] could not write %@: %s", extractSignature, 139, extraction.path(name), reason);
        return extraction.endWith(reason);
    }
    if (copied < fileLength) {
        Log("%s [Line %d] ERROR: sizes don't match: %d, %d", extractSignature, 144, copied, fileLength);
        return extraction.endWithDamage();
    }
    return true;
}

bool UnTar::skip(Extraction &extraction, std::int32_t fileLength) {
    constexpr const char *signature = "+[UnTar skip:fileLength:]";
    if (!extraction.stream.skip(fileLength)) {
        Log("%s [Line %d] ERROR: gzseek 3 failed", signature, 158);
        return extraction.endWithDamage();
    }
    return true;
}

} // namespace kestrav
