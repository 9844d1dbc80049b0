#pragma once

#include "mac_installer/archive/Progress.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace kestrav::platform {
class FileDescriptor;
}

namespace kestrav {

class TarExtensions;
class TarHeader;
struct TarEntry;

struct UntarResult {
    /// The first path component of the last entry whose name has two or more.
    std::optional<std::string> topDirectory;
    /// False if something ended the extraction early or the archive is damaged in any way. Entries whose names were
    /// refused or whose parents are missing are logged and skipped; they do not count.
    bool complete = false;
    /// True if a file has the name of a runtime's program.
    bool holdsJava = false;
    /// Why the extraction is incomplete, for the user.
    std::string reason;
    /// True if that is the archive's own fault, so that it would fail anywhere.
    bool isBad = false;
};

/// Extraction of tar archives, compressed with gzip or not, as tar programs write them: regular files with their
/// permission bits, directories, symbolic and hard links, with names of any length (ustar prefixes, GNU long names, pax
/// records). Sparse files are refused; other kinds of entries are skipped. Nothing is written outside the destination.
/// Failures are logged, never thrown.
class UnTar {
public:
    /// Extracts an archive into an existing directory; hard links only if that is empty. `uncompressedLength` is the
    /// expected size in bytes, for the percentage alone. `progress` is called with 0 and the destination's path, with
    /// the position before each file and whenever it changed, and with 100 and "" at the end; `checkpoint` before every
    /// piece of at most 32 KiB is read, whatever becomes of it. What either throws ends the extraction and passes
    /// through; what was extracted stays.
    [[nodiscard]] static UntarResult untar(const std::string &archive, const std::string &to,
                                           std::int32_t uncompressedLength, const ProgressCallback &progress = {},
                                           const std::function<void()> &checkpoint = {});

    /// Reads all of an archive as `untar` does, but writes nothing.
    [[nodiscard]] static UntarResult examine(const std::string &archive, const std::function<void()> &checkpoint);

private:
    struct Extraction;
    struct Found;

    static UntarResult run(const std::string &archive, const std::string &to, std::int32_t uncompressedLength,
                           const ProgressCallback &progress, const std::function<void()> &checkpoint, bool onlyReads);

    /// False if the run ended because of an error, which has then been logged and stored; the same holds for the
    /// operations below.
    static bool extractEntries(Extraction &extraction, UntarResult &result);
    /// Ends the extraction where the file ends without a closing block, perhaps within a header.
    static bool endAtEndOfFile(Extraction &extraction, bool withinHeader, Found found);
    /// Ends the extraction at a block that is not a header.
    static bool endAtBlock(Extraction &extraction, bool closing, Found found);
    static bool readExtension(Extraction &extraction, const TarHeader &header, TarExtensions &extensions);
    static bool extractEntry(Extraction &extraction, const TarEntry &entry);
    /// Extracts a file; one whose path is at fault is logged and skipped.
    static bool extractFile(Extraction &extraction, const TarEntry &entry, std::int32_t fileLength);
    static bool extractLink(Extraction &extraction, const TarEntry &entry);
    static bool extractDirectory(Extraction &extraction, const TarEntry &entry);
    static bool writeData(Extraction &extraction, const std::string &name, std::int32_t fileLength,
                          platform::FileDescriptor file);
    static bool skip(Extraction &extraction, std::int32_t fileLength);
};

} // namespace kestrav
