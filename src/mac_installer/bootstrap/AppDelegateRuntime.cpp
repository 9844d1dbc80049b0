#include "mac_installer/bootstrap/AppDelegate.h"
#include "mac_installer/launcher/archiveSize.h"

#include "mac_installer/archive/Cancellation.h"
#include "mac_installer/archive/UnTar.h"
#include "mac_installer/archive/Unpacker.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/RuntimeSource.h"
#include "mac_installer/launcher/failure.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/SystemLog.h"
#include "platform/path.h"
#include "platform/text.h"

#include <filesystem>

namespace kestrav {

using platform::appendingPathComponent;
using platform::Bundle;
using platform::OperationQueue;

namespace {

constexpr const char *signature = "-[AppDelegate worker:]";

// The bar during preparation: extraction up to the first figure, unpacking the rest.
constexpr double extractionShare = 0.7;
constexpr double unpackingShare = 0.3;
constexpr double unpackingStart = 70.0;

[[noreturn]] void raiseNotExtracted(const std::string &reason, bool isBad) {
    throw platform::Exception(isBad ? BadArchiveException : "ExtractionException",
                              "could not extract the runtime: " + reason);
}

/// Raises if one of the folders that are unpacked lies, through a link of the archive's, outside the extracted runtime.
void requireInside(const std::string &destination, const std::string &home) {
    const std::string inside = std::filesystem::canonical(destination).string() + "/";
    for (const char *folder : {"", "jre", "jre/lib", "jre/lib/ext", "lib", "lib/ext"}) {
        std::error_code error;
        const auto real = std::filesystem::canonical(appendingPathComponent(home, folder), error);
        const bool missing = error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
        if (error ? !missing : !(real.string() + "/").starts_with(inside)) {
            raiseNotExtracted(error ? error.message() : "a link in it leads out of its folder", !error);
        }
    }
}

} // namespace

std::optional<JavaRuntime> AppDelegate::obtainRuntime(Launcher &launcher) {
    RuntimeSource source = findRuntimeSource(launcher);
    return source.archive ? obtainFromArchive(source.archive->origin, source.archive->isShipped)
                          : std::move(source.runtime);
}

std::string AppDelegate::download(const std::string &url, const std::string &destination, bool keepsPart) {
    downloadConditionLock = std::make_unique<platform::ConditionLock>(0);
    otherDestination = std::make_shared<OtherDestination>();
    expectedLength = -1;
    bytesReceived = 0;
    OperationQueue &mainQueue = OperationQueue::mainQueue();
    mainQueue.addOperation([=, this] { startDownload(url, destination, keepsPart); });

    _DLog("%s [Line %d] waiting for download to finish", signature, __LINE__);
    awaitDownload();
    _DLog("%s [Line %d] download returned", signature, __LINE__);

    raiseIfCancelled();
    if (auto folder = otherDestination->takeFolder()) {
        removeTemporaryDirectory(); // the first one, which was too small
        tempDir = std::move(folder);
    }
    std::string file = otherDestination->path().value_or(destination);
    if (downloadFailed || !platform::fileExistsAtPath(file)) {
        removeTemporaryDirectory();
        otherDestination->raiseFailure();
        Launcher::displayError("DownloadJreError");
        platform::endProcess(1);
    }
    mainQueue.addOperation([this] {
        controls->progressBar.setIndeterminate(false);
        controls->progressBar.setDoubleValue(0.0);
        controls->label.setStringValue(
            platform::format(Bundle::mainBundle().localizedStringForKey("PrepareInstaller", ""), bundleName()));
    });
    return file;
}

void AppDelegate::awaitDownload() {
    constexpr int patience = 200; // milliseconds
    bool cancelledBefore = false;
    while (!downloadConditionLock->lockWhenCondition(1, patience)) {
        if (cancelledBefore) {
            raiseCancelled(); // the main thread, which should have woken us, is held up
        }
        cancelledBefore = cancelled;
    }
    downloadConditionLock->unlockWithCondition(0);
}

void AppDelegate::handleTar(const std::string &tarFile, const std::string &destination) {
    static constexpr const char *tarSignature = "-[AppDelegate handleTar:fileManager:]";
    const auto checkpoint = [this] { raiseIfCancelled(); };
    const auto extracted = UnTar::untar(
        tarFile, destination, expectedSize(tarFile).value_or(usualSize),
        [this](double percentage) {
            raiseIfCancelled();
            postProgress(percentage * extractionShare);
        },
        checkpoint);
    if (!extracted.complete) {
        raiseNotExtracted(extracted.reason, extracted.isBad);
    }
    _DLog("%s [Line %d] jre destination %@", tarSignature, __LINE__, destination);

    const std::string home = getJreLocation(extractedRuntime(destination));
    const std::string inner = appendingPathComponent(home, "jre");
    raiseIfCancelled();
    requireInside(destination, home);
    const bool unpacked = Unpacker::unpack(platform::fileExistsAtPath(inner) ? inner : home, [this](double percentage) {
        raiseIfCancelled();
        postProgress(percentage * unpackingShare + unpackingStart);
    });
    if (!unpacked) {
        // What was extracted is left to be examined, until the next run removes it.
        Launcher::displayError("dorvik.InternalError", "could not run unpack200");
        platform::endProcess(1);
    }
}

void AppDelegate::postProgress(double percentage) {
    OperationQueue::mainQueue().addMergedOperation("progress",
                                                   [=, this] { controls->progressBar.setDoubleValue(percentage); });
}

void AppDelegate::removeTemporaryDirectory() {
    for (auto *const folder : {&tempDir, &archiveDir}) {
        const auto error = *folder ? (*folder)->remove() : std::error_code();
        if (error) {
            try {
                platform::Log("%s [Line %d] could not remove %@: %@", signature, __LINE__, (*folder)->path(),
                              error.message());
            } catch (const std::exception &) {
                tellOfRemainder((*folder)->path());
            }
        }
        folder->reset();
    }
}

void AppDelegate::raiseIfCancelled() const {
    if (cancelled) {
        raiseCancelled();
    }
}

} // namespace kestrav
