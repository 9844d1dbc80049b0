#include "mac_installer/archive/UnTar.h"

#include "mac_installer/archive/Extraction.h"
#include "mac_installer/archive/TarExtensions.h"
#include "platform/DebugLog.h"
#include "platform/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

namespace kestrav {

using platform::ConfinedDirectory;
using platform::FileDescriptor;
using platform::Log;

namespace {

constexpr const char *notAnArchive = "it is no archive";

/// True if the block, of which the fields were read, is one of the zero blocks that close an archive.
bool isClosingBlock(GzipStream &stream, std::span<char, TarHeader::blockSize> block) {
    const auto rest = block.subspan<TarHeader::size>();
    return stream.read(rest) == static_cast<int>(rest.size()) &&
           std::all_of(block.begin(), block.end(), [](char byte) { return byte == '\0'; });
}

} // namespace

UntarResult UnTar::untar(const std::string &archive, const std::string &to, std::int32_t uncompressedLength,
                         const ProgressCallback &progress, const std::function<void()> &checkpoint) {
    return run(archive, to, uncompressedLength, progress, checkpoint, false);
}

UntarResult UnTar::examine(const std::string &archive, const std::function<void()> &checkpoint) {
    return run(archive, "", 1, {}, checkpoint, true);
}

UntarResult UnTar::run(const std::string &archive, const std::string &to, std::int32_t uncompressedLength,
                       const ProgressCallback &progress, const std::function<void()> &checkpoint, bool onlyReads) {
    UntarResult result;
    FileDescriptor file = FileDescriptor::openRegularFile(archive);
    if (!file.valid()) {
        result.reason = std::generic_category().message(errno);
        Log("%s [Line %d] error reading JRE %@", untarSignature, 174, result.reason);
        return result;
    }
    if (progress) {
        progress(0.0);
    }
    std::optional<GzipStream> stream = GzipStream::open(std::move(file), checkpoint);
    if (!stream) {
        Log("%s [Line %d] error opening gzip file", untarSignature, 263);
        result.reason = std::make_error_code(std::errc::not_enough_memory).message(); // zlib fails for no other reason
    } else {
        Extraction extraction{std::move(*stream), ConfinedDirectory(to), to, uncompressedLength, progress, onlyReads};
        const int error = errno;
        result.complete =
            onlyReads || extraction.directory.valid()
                ? extractEntries(extraction, result)
                : extraction.fail(227, "extract creating directory", std::generic_category().message(error));
        result.reason = result.complete ? "" : std::move(extraction.reason);
        result.isBad = !result.complete && extraction.isBad;
    }
    if (progress) {
        progress(100.0);
    }
    return result;
}

/// What an archive has held up to some place.
struct UnTar::Found {
    bool anyEntry = false;
    bool anyFile = false;
};

bool UnTar::endAtEndOfFile(Extraction &extraction, bool withinHeader, Found found) {
    const bool whole = extraction.stream.failure().empty();
    if (whole && !found.anyEntry) {
        return withinHeader ? extraction.refuse(203, "no magic number", notAnArchive)
                            : extraction.refuse(191, "unexpected eof", notAnArchive);
    }
    return (whole && !withinHeader && found.anyFile) || extraction.fail(191, "unexpected eof");
}

bool UnTar::endAtBlock(Extraction &extraction, bool closing, Found found) {
    if (!closing || !found.anyFile) {
        found.anyEntry ? extraction.fail(203, "no magic number")
                       : extraction.refuse(203, "no magic number", notAnArchive);
    }
    return closing && found.anyEntry && (extraction.stream.finish() || extraction.fail(197, "gzread failed"));
}

bool UnTar::extractEntries(Extraction &extraction, UntarResult &result) {
    GzipStream &stream = extraction.stream;
    std::array<char, TarHeader::blockSize> block;
    const auto fields = std::span(block).first<TarHeader::size>();
    const TarHeader header(fields);
    TarExtensions extensions;
    Found found;
    for (;; found.anyEntry = true) {
        const int count = stream.read(fields);
        if (count < static_cast<int>(fields.size())) {
            return count < 0 ? extraction.fail(197, "gzread failed") : endAtEndOfFile(extraction, count > 0, found);
        }
        if (!header.hasMagic()) {
            return endAtBlock(extraction, isClosingBlock(stream, block), found);
        }
        if (!stream.skip(TarHeader::blockSize - TarHeader::size)) {
            return extraction.fail(209, "gzseek 1 failed");
        }
        if (TarExtensions::extends(header.type())) {
            if (!readExtension(extraction, header, extensions)) {
                return false;
            }
            continue;
        }
        const TarEntry entry = extensions.take(header);
        std::vector<std::string> components = platform::pathComponents(entry.name);
        if (components.size() >= 2) {
            result.topDirectory = std::move(components.front());
        }
        _DLog("%s [Line %d] extracting %@", untarSignature, 221, entry.name);
        found.anyFile = found.anyFile || entry.type == TarHeader::Type::file;
        result.holdsJava = result.holdsJava || ("/" + entry.name).ends_with("/bin/java");
        if (!extractEntry(extraction, entry)) {
            return false;
        }
    }
}

bool UnTar::readExtension(Extraction &extraction, const TarHeader &header, TarExtensions &extensions) {
    const std::int64_t length = header.fileLength();
    if (length < 0 || !extensions.read(extraction.stream, header.type(), length)) {
        return extraction.fail(248, "gzseek 2 failed");
    }
    return extraction.skipPadding(length);
}

} // namespace kestrav
