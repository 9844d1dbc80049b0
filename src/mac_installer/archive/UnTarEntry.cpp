#include "mac_installer/archive/UnTar.h"

#include "mac_installer/archive/Extraction.h"
#include "platform/FileDescriptor.h"

#include <cerrno>
#include <limits>
#include <span>
#include <system_error>
#include <utility>

namespace kestrav {

using platform::ConfinedDirectory;
using platform::ConfinedPath;
using platform::FileDescriptor;
using platform::Log;

namespace {

constexpr const char *extractSignature =
    "+[UnTar extractFile:name:fileLength:permissions:uncompressedLength:fileManager:progressBlock:]";
constexpr mode_t ownerReadWrite = 0600;
/// The bits that are kept. Files from an archive never get those that let a program run as another user.
constexpr mode_t permissionBits = 0777;

/// True for platforms' metadata, which are not part of the runtime.
bool isMetadata(const std::string &name) {
    return ("/" + name).find("/._") != std::string::npos;
}

} // namespace

bool UnTar::extractEntry(Extraction &extraction, const TarEntry &entry) {
    const std::int64_t length = entry.fileLength;
    if (length < 0) {
        return extraction.fail(236, "extract file failed");
    }
    if (entry.sparse) {
        return extraction.refuse(236, "extract file failed", "it holds the sparse file " + entry.name);
    }
    switch (entry.type) {
    case TarHeader::Type::file:
        extraction.report();
        if (length > std::numeric_limits<std::int32_t>::max()) {
            return extraction.refuse(236, "extract file failed", "it holds a file of 2 GiB or more");
        }
        if (!extractFile(extraction, entry, static_cast<std::int32_t>(length))) {
            return extraction.fail(236, "extract file failed", extraction.reason);
        }
        break;
    case TarHeader::Type::symbolicLink:
        if (!extractLink(extraction, entry)) {
            return false;
        }
        break;
    case TarHeader::Type::directory:
        if (!extractDirectory(extraction, entry)) {
            return false;
        }
        break;
    case TarHeader::Type::hardLink:
        if (!extractLink(extraction, entry)) {
            return false;
        }
        [[fallthrough]]; // some writers store the content with each name
    default:
        if (!extraction.stream.skip(length)) {
            return extraction.fail(248, "gzseek 2 failed");
        }
    }
    return extraction.skipPadding(length);
}

bool UnTar::extractLink(Extraction &extraction, const TarEntry &entry) {
    const bool isHard = entry.type == TarHeader::Type::hardLink;
    if (extraction.onlyReads || (isHard && isMetadata(entry.name))) {
        return true;
    }
    const auto path = ConfinedPath::parse(entry.name);
    const auto target = isHard ? ConfinedPath::parse(entry.linkName) : std::nullopt;
    auto result = ConfinedDirectory::Result::refusal();
    if (path && target) {
        result = extraction.directory.createHardLink(*path, *target);
    } else if (path && !isHard) {
        result = extraction.directory.createSymbolicLink(*path, entry.linkName);
    }
    if (!result.succeeded()) {
        Log("%s [Line %d] ERROR: could not create %s at %@ (%@)", untarSignature, 244, isHard ? "hard link" : "symlink",
            extraction.path(entry.name), result.error.message());
    }
    return result.succeeded() || result.concernsPathAlone() || extraction.endWith(result.error.message());
}

bool UnTar::extractDirectory(Extraction &extraction, const TarEntry &entry) {
    if (extraction.onlyReads) {
        return true;
    }
    const auto path = ConfinedPath::parse(entry.name);
    const auto result = path ? extraction.directory.createDirectory(*path) : ConfinedDirectory::Result::refusal();
    if (!result.succeeded()) {
        extraction.fail(227, "extract creating directory", result.error.message());
    }
    return result.succeeded() || result.refused;
}

bool UnTar::extractFile(Extraction &extraction, const TarEntry &entry, std::int32_t fileLength) {
    if (extraction.onlyReads || isMetadata(entry.name)) {
        return skip(extraction, fileLength);
    }
    const mode_t permissions = (static_cast<mode_t>(entry.mode) & permissionBits) | ownerReadWrite;
    const auto path = ConfinedPath::parse(entry.name);
    FileDescriptor file;
    const auto result =
        path ? extraction.directory.createFile(*path, permissions, file) : ConfinedDirectory::Result::refusal();
    if (!result.succeeded()) {
        Log("%s [Line %d] Could not create file %@ %d %s\n", extractSignature, 95, extraction.path(entry.name),
            result.error.value(), result.error.message());
        return result.concernsPathAlone() ? skip(extraction, fileLength) : extraction.endWith(result.error.message());
    }
    return writeData(extraction, entry.name, fileLength, std::move(file));
}

bool UnTar::writeData(Extraction &extraction, const std::string &name, std::int32_t fileLength, FileDescriptor file) {
    std::int32_t copied = 0;
    float lastPercent = 0.0F;
    int failure = 0; // the error number of a failed write
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
