#include "mac_installer/bootstrap/AppDelegate.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "platform/Bundle.h"
#include "platform/Clock.h"
#include "platform/DebugLog.h"
#include "platform/ProcessInfo.h"
#include "platform/SystemLog.h"
#include "platform/format.h"

#include <algorithm>
#include <limits>
#include <utility>

// All of this runs on the main thread.

namespace kestrav {

namespace {

constexpr double timeoutSeconds = 60;
constexpr std::int64_t labelInterval = 500'000; // microseconds
constexpr double bytesPerKilobyte = 1024;
constexpr double bytesPerMegabyte = 1024 * 1024;
constexpr double microsecondsPerSecond = 1'000'000;

/// Toward zero, and as far as the type reaches.
int truncated(double value) {
    constexpr double largest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, -largest, largest));
}

std::string megabytes(std::int64_t bytes) {
    return platform::format("%.1f", static_cast<double>(bytes) / bytesPerMegabyte);
}

std::string localized(std::string_view key) {
    return platform::Bundle::mainBundle().localizedStringForKey(key, "");
}

} // namespace

void AppDelegate::startDownload(const std::string &url, const std::string &destination, bool keepsPart) {
    downloadConditionLock->lockWhenCondition(0); // the main thread's until the download has ended
    if (cancelled) {
        endDownload(false);
        return;
    }
    controls->label.setStringValue(platform::format(localized("DownloadingJre"), bundleName()));
    downloader = platform::URLDownload::create({url, timeoutSeconds}, *this);
    if (!downloader) {
        endDownload(true);
        return;
    }
    downloader->setDeletesFileUponFailure(!keepsPart);
    downloader->setOtherDestination([other = otherDestination](std::int64_t bytes) { return other->make(bytes); });
    downloader->setDestination(destination, true);
}

bool AppDelegate::shouldDecodeSourceDataOfMIMEType(std::string_view /*type*/) {
    return false; // the archive is unpacked here
}

void AppDelegate::didReceiveResponse(std::int64_t expectedContentLength) {
    showProgressFrom(0, expectedContentLength);
}

void AppDelegate::willResumeFromByte(std::int64_t fromByte, std::int64_t expectedContentLength) {
    showProgressFrom(fromByte, expectedContentLength);
}

void AppDelegate::showProgressFrom(std::int64_t received, std::int64_t expectedContentLength) {
    bytesReceived = received;
    bytesBefore = received;
    expectedLength = expectedContentLength;
    downloadStartTime = platform::currentMicroseconds();
    lastProgressUpdate = downloadStartTime;
    if (expectedLength >= 1) {
        controls->progressBar.setIndeterminate(false); // the answer before may have told no length
    }
    if (std::exchange(waitsToRetry, false)) {
        controls->label.setStringValue(platform::format(localized("DownloadingJre"), bundleName()));
    }
}

void AppDelegate::willTryAgain(const platform::URLError &error, double afterSeconds) {
    static constexpr const char *signature = "-[AppDelegate download:willTryAgain:]";
    _DLog("%s [Line %d] %@ %@, trying again in %.1f s", signature, __LINE__, error.localizedDescription,
          error.failingURL, afterSeconds);
    waitsToRetry = true;
    // A vendor's own table may be older than the message.
    const auto &bundle = platform::Bundle::mainBundle();
    const std::string text = bundle.localizedStringForKey("DownloadRetry", localized("DownloadingJre"));
    controls->label.setStringValue(platform::format(text, bundleName()));
}

void AppDelegate::didReceiveDataOfLength(std::int64_t length) {
    bytesReceived += length;
    if (expectedLength < 1) {
        controls->progressBar.setIndeterminate(true);
        controls->progressBar.startAnimation();
        return;
    }
    const auto received = static_cast<double>(bytesReceived);
    const double percentage = received / static_cast<double>(expectedLength) * 100.0;
    controls->progressBar.setDoubleValue(percentage);

    const std::int64_t now = platform::currentMicroseconds();
    if (now <= lastProgressUpdate + labelInterval) {
        return;
    }
    lastProgressUpdate = now;
    const auto elapsed = static_cast<double>(now - downloadStartTime);
    const auto receivedSince = static_cast<double>(bytesReceived - bytesBefore);
    const double speed = receivedSince / bytesPerKilobyte * microsecondsPerSecond / elapsed; // kilobytes per second
    controls->progressLabel.setStringValue(platform::format(localized("DownloadProgress"), megabytes(bytesReceived),
                                                            megabytes(expectedLength), truncated(percentage),
                                                            truncated(speed)));
}

void AppDelegate::didFailWithError(const platform::URLError &error) {
    static constexpr const char *signature = "-[AppDelegate download:didFailWithError:]";
    platform::Log("%s [Line %d] Download failed! Error - %@ %@", signature, __LINE__, error.localizedDescription,
                  error.failingURL);
    endDownload(true);
}

void AppDelegate::endDownload(bool failed) {
    downloader.reset();
    downloadFailed = failed;
    downloadConditionLock->unlockWithCondition(1);
}

void AppDelegate::downloadDidFinish() {
    static constexpr const char *signature = "-[AppDelegate downloadDidFinish:]";
    controls->progressLabel.setStringValue("");
    _DLog("%s [Line %d] downloadDidFinish", signature, __LINE__);
    endDownload(false);
}

} // namespace kestrav
