#pragma once

#include "mac_installer/Progress.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace kestrav {

class GzipStream;
class TarHeader;

struct UntarResult {
    /// First path component of the last entry whose name has two or more.
    std::optional<std::string> topDirectory;
    /// False if something ended the extraction early or the archive is damaged in any way. An entry that could not be
    /// created was logged and passed over; that does not count.
    bool complete = false;
};

/// Extraction of gzip-compressed tar archives as ordinary tools make them from a runtime's directory: regular files
/// with their permission bits, directories and symbolic links, with names of up to 99 bytes; everything else in the
/// archive is skipped. Nothing is written outside the destination. Failures are logged, never thrown.
class UnTar {
public:
    /// Extracts an archive into an existing directory. `uncompressedLength` is the expected size in bytes, for the
    /// percentage alone. `progress` is called with 0 and the destination's path, with the position before each file and
    /// whenever it changed, and with 100 and "" at the end; `checkpoint` before every piece of at most 32 KiB is read,
    /// whatever becomes of it. What either throws ends the extraction and passes through; what was extracted stays.
    [[nodiscard]] static UntarResult untar(const std::string &archive, const std::string &to,
                                           std::int32_t uncompressedLength, const ProgressCallback &progress = {},
                                           const std::function<void()> &checkpoint = {});

private:
    struct Extraction;

    /// False if the run ended on an error, which is logged by then; so with the operations below.
    static bool extractEntries(Extraction &extraction, std::optional<std::string> &topDirectory);
    static bool extractEntry(Extraction &extraction, const TarHeader &header, const std::string &name);
    /// A file that cannot be created is logged and skipped.
    static bool extractFile(Extraction &extraction, const std::string &name, std::int32_t fileLength,
                            std::int64_t mode);
    static bool skip(GzipStream &stream, std::int32_t fileLength);
};

} // namespace kestrav
