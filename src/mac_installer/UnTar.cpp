#include "mac_installer/UnTar.h"

#include "mac_installer/GzipStream.h"
#include "mac_installer/TarHeader.h"
#include "mac_installer/global.h"
#include "platform/ConfinedDirectory.h"
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

/// What the operations of one run share.
struct UnTar::Extraction {
    GzipStream stream;
    platform::ConfinedDirectory directory;
    const std::string &to;
    std::int32_t uncompressedLength;
    const ProgressCallback &progress;

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
};

namespace {

constexpr const char *untarSignature = "+[UnTar untar:to:uncompressedLength:withProgress:]";
constexpr mode_t ownerReadWrite = 0600;
/// Without the bits that let a program run as somebody else: what an archive brings never gets those.
constexpr mode_t permissionBits = 0777;

bool fail(int line, std::string_view message) {
    Log("%s [Line %d] ERROR: %s", untarSignature, line, message);
    return false;
}

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
        Log("%s [Line %d] error reading JRE %@", untarSignature, 174, std::generic_category().message(errno));
        return result;
    }
    if (progress) {
        progress(0.0, to);
    }
    std::optional<GzipStream> stream = GzipStream::open(std::move(file), checkpoint);
    if (!stream) {
        Log("%s [Line %d] error opening gzip file", untarSignature, 263);
    } else {
        Extraction extraction{std::move(*stream), platform::ConfinedDirectory(to), to, uncompressedLength, progress};
        result.complete = extraction.directory.valid() ? extractEntries(extraction, result.topDirectory)
                                                       : fail(227, "extract creating directory");
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
        if (count < 0 || (count > 0 && stream.isPlain())) {
            return fail(197, "gzread failed");
        }
        if (count < static_cast<int>(fields.size())) {
            return (count == 0 && anyFile && !stream.isTruncated()) || fail(191, "unexpected eof");
        }
        if (!header.hasMagic()) {
            const bool closing = isClosingBlock(stream, block);
            if (!closing || !anyFile) {
                fail(203, "no magic number");
            }
            return closing && anyEntry && (stream.finish() || fail(197, "gzread failed"));
        }
        if (!stream.skip(TarHeader::blockSize - TarHeader::size)) {
            return fail(209, "gzseek 1 failed");
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
        return fail(236, "extract file failed");
    }
    switch (header.type()) {
    case TarHeader::Type::file:
        extraction.report();
        if (length > std::numeric_limits<std::int32_t>::max() ||
            !extractFile(extraction, name, static_cast<std::int32_t>(length), header.mode())) {
            return fail(236, "extract file failed");
        }
        break;
    case TarHeader::Type::symbolicLink: {
        const auto result = extraction.directory.createSymbolicLink(name, header.linkName());
        if (!result.succeeded()) {
            Log("%s [Line %d] ERROR: could not create symlink at %@ (%@)", untarSignature, 244, extraction.path(name),
                result.error.message());
        }
        break;
    }
    case TarHeader::Type::directory: {
        const auto result = extraction.directory.createDirectory(name);
        if (!result.succeeded()) {
            fail(227, "extract creating directory");
            if (!result.refused) {
                return false;
            }
        }
        break;
    }
    default:
        if (!extraction.stream.skip(length)) {
            return fail(248, "gzseek 2 failed");
        }
    }
    constexpr std::int64_t block = TarHeader::blockSize;
    return extraction.stream.skip((block - length % block) % block) || fail(255, "gzseek 3 failed");
}

bool UnTar::extractFile(Extraction &extraction, const std::string &name, std::int32_t fileLength, std::int64_t mode) {
    constexpr const char *signature =
        "+[UnTar extractFile:name:fileLength:permissions:uncompressedLength:fileManager:progressBlock:]";
    if (("/" + name).find("/._") != std::string::npos) {
        return skip(extraction.stream, fileLength); // a platform's metadata, not the runtime's
    }
    const mode_t permissions = (static_cast<mode_t>(mode) & permissionBits) | ownerReadWrite;
    FileDescriptor file;
    const auto result = extraction.directory.createFile(name, permissions, file);
    if (!result.succeeded()) {
        Log("%s [Line %d] Could not create file %@ %d %s\n", signature, 95, extraction.path(name), result.error.value(),
            result.error.message());
        return skip(extraction.stream, fileLength);
    }
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
        Log("%s [Line %d] ERROR: stream error", signature, 139);
        Log("%s [Line %d] could not write %@: %s", signature, 139, extraction.path(name),
            std::generic_category().message(failure));
        return false;
    }
    if (copied < fileLength) {
        Log("%s [Line %d] ERROR: sizes don't match: %d, %d", signature, 144, copied, fileLength);
        return false;
    }
    return true;
}

bool UnTar::skip(GzipStream &stream, std::int32_t fileLength) {
    constexpr const char *signature = "+[UnTar skip:fileLength:]";
    if (!stream.skip(fileLength)) {
        Log("%s [Line %d] ERROR: gzseek 3 failed", signature, 158);
        return false;
    }
    return true;
}

} // namespace kestrav
