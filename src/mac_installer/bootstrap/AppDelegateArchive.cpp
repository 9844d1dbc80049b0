#include "mac_installer/archive/Cancellation.h"
#include "mac_installer/bootstrap/AppDelegate.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/archiveSize.h"
#include "mac_installer/launcher/failure.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/PrivateFolder.h"
#include "platform/downloadRules.h"
#include "platform/format.h"
#include "platform/path.h"

#include <utility>
#include <variant>

// From an archive to a runtime. All of this runs on the worker's thread.

namespace kestrav {

using platform::appendingPathComponent;

namespace {

constexpr const char *signature = "-[AppDelegate worker:]";

constexpr const char *digestErrorKey = "JreDigestError";

/// True if nothing but another archive would help.
bool isBadArchive(const platform::Exception &exception) {
    const auto *notice = dynamic_cast<const NoticeException *>(&exception);
    return exception.name() == BadArchiveException || (notice != nullptr && notice->key() == digestErrorKey);
}

void logNotKept(const platform::Exception &exception) {
    _DLog("%s [Line %d] the runtime is not kept: %@", signature, __LINE__, exception.reason());
}

JavaRuntime runtimeAt(const std::string &path) {
    return Launcher::chosenRuntime(path, openRuntime(path).get());
}

} // namespace

JavaRuntime AppDelegate::obtainFromArchive(const std::string &origin, bool isShipped) {
    const auto place = placeOfRuntime(origin, isShipped);
    constexpr int attempts = 3; // somebody may remove the runtime just after it was made
    for (int attempt = 0; place && attempt < attempts; ++attempt) {
        const auto making = seekKept(*place);
        if (kept) {
            JavaRuntime runtime = runtimeAt(kept->path());
            runtime.tarFile = isShipped ? OptionalText(origin) : std::nullopt;
            return runtime;
        }
        if (!making) {
            break;
        }
        if (auto runtime = makeKept(*making, origin, isShipped)) {
            return *runtime;
        }
    }
    if (obtainsOnly) {
        return {};
    }
    std::string archive = origin;
    if (!isShipped) {
        tempDir = createTemporaryDirectory(configuredSizeWithArchive());
        archive = download(origin, appendingPathComponent(tempDir->path(), "jre.tar.gz"), false);
    }
    requireDigest(archive, origin);
    return extractTemporarily(archive);
}

/// Empty if the runtime is kept now, or if its archive, which an earlier run had downloaded, was bad and is removed. A
/// good archive outlives a run that was cancelled or failed, so that the next one need not download it again.
std::optional<JavaRuntime> AppDelegate::makeKept(const NewRuntime &making, const std::string &origin, bool isShipped) {
    const bool isLeft = !isShipped && making.hasArchive();
    const std::string archive = isShipped ? origin
                                : isLeft  ? making.archivePath()
                                          : download(origin, making.archivePath(), true);
    try {
        requireDigest(archive, origin);
        if (keep(making, archive)) {
            removeTemporaryDirectory(); // the archive is there if the cache had no room for it
            return std::nullopt;
        }
        if (obtainsOnly) {
            return JavaRuntime(); // a temporary one would not outlive this process
        }
        JavaRuntime runtime = extractTemporarily(archive);
        making.removeArchive();
        runtime.tarFile = platform::fileExistsAtPath(archive) ? runtime.tarFile : std::nullopt;
        return runtime;
    } catch (const platform::Exception &exception) {
        if (!isBadArchive(exception)) {
            throw;
        }
        making.removeArchive();
        if (!isLeft) {
            throw;
        }
        _DLog("%s [Line %d] %@: %@", signature, __LINE__, archive, exception.reason());
        return std::nullopt;
    }
}

/// The right to make the runtime, unless it is kept already or cannot be.
std::optional<NewRuntime> AppDelegate::seekKept(const RuntimePlace &place) {
    try {
        auto found = place.store.obtain(place.name, [this] { raiseIfCancelled(); });
        if (auto *runtime = std::get_if<KeptRuntime>(&found)) {
            _DLog("%s [Line %d] the runtime is kept: %@", signature, __LINE__, runtime->path());
            kept = std::move(*runtime);
            return std::nullopt;
        }
        place.store.removeUnused(keepingTime());
        return std::get<NewRuntime>(std::move(found));
    } catch (const platform::Exception &exception) {
        if (exception.name() != NotKeptException) {
            throw;
        }
        logNotKept(exception);
        return std::nullopt;
    }
}

/// True if the runtime is in its place now. Where that fails a folder for temporary files may do, but not for an
/// archive that is bad.
bool AppDelegate::keep(const NewRuntime &making, const std::string &archive) {
    try {
        handleTar(archive, making.makeFolder(expectedSize(archive)));
        making.finish();
        return true;
    } catch (const platform::Exception &exception) {
        if (exception.name() == CancelledException || isBadArchive(exception)) {
            throw;
        }
        logNotKept(exception);
        making.removeFolder();
        return false;
    }
}

void AppDelegate::requireDigest(const std::string &archive, const std::string &origin) {
    if (const auto difference = differenceOfDigest(archive, [this] { raiseIfCancelled(); })) {
        const std::string where = archive == origin ? origin : platform::withoutSecrets(origin);
        throw NoticeException(
            digestErrorKey, {difference->expected, difference->found, where},
            platform::format("the SHA-256 of %@ is %@, not %@", where, difference->found, difference->expected));
    }
}

JavaRuntime AppDelegate::extractTemporarily(const std::string &archive) {
    const auto size = expectedSize(archive);
    // The folder of a download was chosen before this size was known.
    if (!tempDir || !platform::objectionToRoom(tempDir->path(), size.value_or(0)).empty()) {
        auto folder = createTemporaryDirectory(size);
        archiveDir = std::exchange(tempDir, std::move(folder));
    }
    const std::string destination = appendingPathComponent(tempDir->path(), "jre.bundle");
    if (const auto error = platform::createDirectoryAtPath(destination, false)) {
        throw platform::Exception("ExtractionException", platform::format("could not create the directory %@: %@",
                                                                          destination, error.message()));
    }
    handleTar(archive, destination);
    JavaRuntime runtime = runtimeAt(extractedRuntime(destination));
    runtime.tarFile = archive;
    return runtime;
}

} // namespace kestrav
