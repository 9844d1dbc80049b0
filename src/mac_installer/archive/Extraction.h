#pragma once

#include "mac_installer/archive/GzipStream.h"
#include "mac_installer/archive/Progress.h"
#include "mac_installer/archive/TarHeader.h"
#include "mac_installer/archive/UnTar.h"
#include "platform/ConfinedDirectory.h"
#include "platform/SystemLog.h"
#include "platform/path.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav {

inline constexpr const char *untarSignature = "+[UnTar untar:to:uncompressedLength:withProgress:]";

/// The state that the operations of one extraction share.
struct UnTar::Extraction {
    GzipStream stream;
    platform::ConfinedDirectory directory;
    const std::string &to;
    std::int32_t uncompressedLength;
    const ProgressCallback &progress;
    bool onlyReads;          ///< nothing is created, and there is no directory
    std::string reason = {}; ///< why the run ended early
    bool isBad = false;      ///< the archive itself is to blame for that

    [[nodiscard]] std::string path(const std::string &name) const { return platform::appendingPathComponent(to, name); }
    /// In single precision, so that a tiny step in a large archive does not count as a change.
    [[nodiscard]] float percent() const {
        return static_cast<float>(stream.position()) / static_cast<float>(uncompressedLength) * 100.0F;
    }
    void report() const {
        if (progress) {
            progress(percent());
        }
    }
    /// Stores the reason for which the run ends; false.
    bool endWith(const std::string &why) {
        reason = why;
        return false;
    }
    /// The same if the archive is too short or damaged.
    bool endWithDamage() {
        const std::string failure = stream.failure();
        isBad = true;
        return endWith(failure.empty() ? damagedArchive : failure);
    }
    /// Logs the error and ends the run.
    bool fail(int line, std::string_view message, const std::string &why) {
        platform::Log("%s [Line %d] ERROR: %s", untarSignature, line, message);
        return endWith(why);
    }
    /// The same if the archive is to blame.
    bool refuse(int line, std::string_view message, const std::string &why) {
        isBad = true;
        return fail(line, message, why);
    }
    bool fail(int line, std::string_view message) {
        static_cast<void>(fail(line, message, {}));
        return endWithDamage();
    }
    /// Skips the padding after `length` bytes of data. Some writers leave it out at the end of the archive.
    [[nodiscard]] bool skipPadding(std::int64_t length) {
        constexpr std::int64_t block = TarHeader::blockSize;
        return stream.skip((block - length % block) % block) || stream.failure().empty() ||
               fail(255, "gzseek 3 failed");
    }
};

} // namespace kestrav
