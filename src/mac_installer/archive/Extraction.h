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
            progress(percent());
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
        platform::Log("%s [Line %d] ERROR: %s", untarSignature, line, message);
        return endWith(why);
    }
    bool fail(int line, std::string_view message) {
        static_cast<void>(fail(line, message, {}));
        return endWithDamage();
    }
    /// Passes over what fills up the last block of data of that length. Some writers leave it out at the very end.
    [[nodiscard]] bool skipPadding(std::int64_t length) {
        constexpr std::int64_t block = TarHeader::blockSize;
        return stream.skip((block - length % block) % block) || stream.failure().empty() ||
               fail(255, "gzseek 3 failed");
    }
};

} // namespace kestrav
