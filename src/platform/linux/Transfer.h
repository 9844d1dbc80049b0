#pragma once

#include "platform/FileDescriptor.h"
#include "platform/URLDownload.h"
#include "platform/linux/DownloadModule.h"
#include "platform/posix/DownloadTarget.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// A download by the module, on a thread of its own. The object is shared with the thread, which may be stuck in a
/// library after everybody else has stopped waiting for it.
class Transfer : public std::enable_shared_from_this<Transfer> {
public:
    Transfer(URLRequest request, URLDownloadDelegate &delegate);

    // Main thread.
    /// To be set up before `start`; afterwards it belongs to the transfer's thread.
    [[nodiscard]] DownloadTarget &target() { return target_; }
    void start(const std::string &path, bool allowOverwrite);
    void cancel();

private:
    // The transfer's thread.
    void run();
    [[nodiscard]] bool transfer();
    [[nodiscard]] bool attempt(const KestravDownloadModule &module, bool &broken);
    [[nodiscard]] KestravTransfer describeTransfer();
    [[nodiscard]] bool wait(std::int64_t microseconds);
    bool receiveAnswer(const DownloadAnswer &answer);
    bool receiveData(std::string_view bytes);
    int step();
    void report();

    using Call = std::function<void(URLDownloadDelegate &)>;
    void post(Call call, bool last = false);
    void end(bool complete);
    bool tryToEnd(bool complete) noexcept;
    [[nodiscard]] URLError error() const;
    [[nodiscard]] bool isCancelled();

    static Transfer &fromHost(void *host) { return *static_cast<Transfer *>(host); }
    /// The result of a call from the module; `otherwise` after an exception, which must not reach the module.
    template <class Action> int guarded(int otherwise, Action action) noexcept {
        try {
            return action(*this);
        } catch (const std::exception &) {
            failure_.assign("out of memory"); // short enough to need no allocation
            return otherwise;
        }
    }

    const URLRequest request_;
    const std::string bundlePath_;
    const std::string certificateFile_;
    const FileDescriptor wake_; // readable once the transfer is cancelled

    URLDownloadDelegate *delegate_; // main thread; null once it is told nothing more

    std::mutex mutex_; // guards the following; while it is held, no other thread changes the file
    bool cancelled_ = false;
    DownloadTarget target_;

    // The transfer's thread alone.
    std::string failure_; // of the last attempt; empty: the module's message counts, if any
    std::int64_t unreported_ = 0;
    std::chrono::steady_clock::time_point lastReport_;
};

} // namespace kestrav::platform
