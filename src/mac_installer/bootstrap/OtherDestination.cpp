#include "mac_installer/bootstrap/OtherDestination.h"

#include "mac_installer/launcher/archiveSize.h"
#include "mac_installer/launcher/failure.h"
#include "platform/DebugLog.h"
#include "platform/format.h"
#include "platform/path.h"

#include <utility>

namespace kestrav {

namespace {

constexpr const char *signature = "-[AppDelegate worker:]";

NoticeException noticeOf(const platform::NoRoom &lack) {
    constexpr std::int64_t megabyte = std::int64_t{1024} * 1024;
    const auto rounded = [](std::int64_t bytes, std::int64_t up) { return std::to_string((bytes + up) / megabyte); };
    return {"DiskSpaceError",
            {rounded(lack.needed(), megabyte - 1), rounded(lack.available(), 0), lack.folder()},
            lack.reason()};
}

} // namespace

platform::TemporaryFolder createTemporaryDirectory(std::optional<std::int64_t> room,
                                                   const platform::KnownRoom &knownRoom) {
    const NeededRoom needed = roomFor(room);
    try {
        auto folder = platform::TemporaryFolder::create(needed.wished, needed.least, knownRoom);
        if (!folder.passedOver().empty()) {
            _DLog("%s [Line %d] temporary files go to %@ (%@)", signature, __LINE__, folder.path(),
                  folder.passedOver());
        }
        return folder;
    } catch (const platform::NoRoom &lack) {
        throw noticeOf(lack);
    }
}

std::string OtherDestination::make(std::int64_t bytes) {
    const std::lock_guard lock(mutex_);
    try {
        path_.reset();
        if (folder_) {
            knownRoom_[platform::deletingLastPathComponent(folder_->path())] = bytes - 1;
            folder_->remove(); // what cannot be removed is left to the next run
        }
        folder_ = createTemporaryDirectory(bytes + configuredSize().value_or(0), knownRoom_);
        path_ = platform::appendingPathComponent(folder_->path(), "jre.tar.gz");
        return *path_;
    } catch (const std::exception &) {
        failure_ = std::current_exception();
        throw;
    }
}

std::optional<platform::TemporaryFolder> OtherDestination::takeFolder() {
    const std::lock_guard lock(mutex_);
    return std::exchange(folder_, std::nullopt);
}

std::optional<std::string> OtherDestination::path() const {
    const std::lock_guard lock(mutex_);
    return path_;
}

void OtherDestination::raiseFailure() const {
    const std::lock_guard lock(mutex_);
    if (failure_) {
        std::rethrow_exception(failure_);
    }
}

} // namespace kestrav
