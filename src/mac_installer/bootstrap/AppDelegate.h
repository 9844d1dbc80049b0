#pragma once

#include "mac_installer/bootstrap/JavaProcess.h"
#include "mac_installer/bootstrap/OtherDestination.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeKeeping.h"
#include "platform/Application.h"
#include "platform/ConditionLock.h"
#include "platform/Signals.h"
#include "platform/TemporaryFolder.h"
#include "platform/URLDownload.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kestrav {

/// Name of the exception that says why an archive is not extracted: it is damaged, or not the archive of a runtime.
inline constexpr const char *BadArchiveException = "BadArchiveException";

/// Bootstrap mode: fills the progress window, obtains a runtime and runs the Java program as a child on a worker
/// thread, and ends the process with the child's exit status. One instance, which lives until the process ends.
class AppDelegate final : public platform::ApplicationDelegate, public platform::URLDownloadDelegate {
public:
    /// `onlyObtain`: no program is run. The process puts the runtime into the place where it is kept, and ends with an
    /// `Obtained`, or when its standard input, a pipe, has ended: the one that waits for the runtime is gone then.
    explicit AppDelegate(bool onlyObtain = false) : obtainsOnly(onlyObtain) {}

    // The application's callbacks; main thread.
    void setControls(platform::WindowControls &windowControls) override { controls = &windowControls; }
    void applicationWillFinishLaunching() override;
    void applicationDidFinishLaunching() override;
    void cancel() override;
    bool open(const std::string &document) override;
    void quit(bool systemAsksProgram) override;
    void endAfterFailure() override;

    // The download's callbacks; main thread.
    bool shouldDecodeSourceDataOfMIMEType(std::string_view type) override;
    void didReceiveResponse(std::int64_t expectedContentLength) override;
    void willResumeFromByte(std::int64_t fromByte, std::int64_t expectedContentLength) override;
    void didReceiveDataOfLength(std::int64_t length) override;
    void willTryAgain(const platform::URLError &error, double afterSeconds) override;
    void didFailWithError(const platform::URLError &error) override;
    void downloadDidFinish() override;

    /// A signal from outside: passed on to the child while it runs, else a cancel. Any thread.
    void terminate(platform::TerminationSignal signal);

    /// What the system wanted opened until now, as arguments for the program; it takes no more from then on. Any
    /// thread.
    [[nodiscard]] std::vector<std::string> takeDocuments();

    /// The worker: obtains a runtime, runs the program, ends the process. Its own thread.
    [[noreturn]] void worker();

private:
    // Obtaining a runtime; worker thread.
    [[nodiscard]] std::optional<JavaRuntime> obtainRuntime(Launcher &launcher);
    /// The runtime of a shipped archive, or of one at an address: one that is kept, or a new one, kept if it can be.
    [[nodiscard]] JavaRuntime obtainFromArchive(const std::string &origin, bool isShipped);
    [[nodiscard]] std::optional<NewRuntime> seekKept(const RuntimePlace &place);
    [[nodiscard]] std::optional<JavaRuntime> makeKept(const NewRuntime &making, const std::string &origin,
                                                      bool isShipped);
    [[nodiscard]] bool keep(const NewRuntime &making, const std::string &archive);
    void requireDigest(const std::string &archive, const std::string &origin);
    [[nodiscard]] JavaRuntime extractTemporarily(const std::string &archive);
    /// Downloads an archive into a file, which may be continued by a later run, or elsewhere if there is no room.
    [[nodiscard]] std::string download(const std::string &url, const std::string &destination, bool keepsPart);
    void awaitDownload();
    void handleTar(const std::string &tarFile, const std::string &destination);
    void postProgress(double percentage);
    void removeTemporaryDirectory();
    void raiseIfCancelled() const;

    /// Starts the download of an archive into a file; main thread.
    void startDownload(const std::string &url, const std::string &destination, bool keepsPart);

    /// Has the worker end the run, unless the child is there; the mutex of the child is held.
    void requestCancel();

    /// Has bar and figures go on from so many bytes.
    void showProgressFrom(std::int64_t received, std::int64_t expectedContentLength);

    /// Gives the lock back to the worker: the download has ended, and so has the main thread's part in it.
    void endDownload(bool failed);

    // Running the program; worker thread.
    [[nodiscard]] int runProgram(const Launcher &launcher);
    void startChild(const std::shared_ptr<JavaProcess> &process);
    void closeWindowLater();
    /// Leaves the place of an application to the child. Main thread.
    void closeWindow();

    const bool obtainsOnly;

    platform::WindowControls *controls = nullptr;

    std::atomic<bool> cancelled = false; // set by a cancel or a signal, for good; polled by the worker

    std::optional<platform::TemporaryFolder> tempDir;    // the run's temporary directory, if one was made; the worker's
    std::optional<platform::TemporaryFolder> archiveDir; // where its archive lies, if that is another; the worker's
    std::optional<KeptRuntime> kept;                     // the runtime, if it is kept; the worker's

    // The download. The worker sets these up before it posts the start. From then on they are the main thread's, which
    // takes the lock and gives it back with condition 1 in the end. A cancelled worker does not wait for a main thread
    // that is held up; it uses none of them afterwards.
    std::unique_ptr<platform::URLDownload> downloader;
    std::unique_ptr<platform::ConditionLock> downloadConditionLock;
    std::shared_ptr<OtherDestination> otherDestination;
    bool downloadFailed = false;         // the worker's again once it has the lock
    std::int64_t expectedLength = -1;    // bytes; below 1: unknown
    std::int64_t bytesReceived = 0;      // bytes
    std::int64_t bytesBefore = 0;        // those of them that came before the clock was started
    bool waitsToRetry = false;           // the caption says so
    std::int64_t downloadStartTime = 0;  // microseconds since the epoch
    std::int64_t lastProgressUpdate = 0; // microseconds since the epoch

    std::mutex documentsMutex;
    std::optional<std::vector<std::string>> documents{std::in_place}; // empty once the program has taken them

    std::mutex childMutex; // a signal either cancels before the child is started or reaches the child
    std::shared_ptr<JavaProcess> child;
    platform::ConditionLock mayEndWithChild{0}; // 1 after the first seconds, or once a signal was passed on
};

} // namespace kestrav
