#include "platform/URLDownload.h"

#include "platform/Bundle.h"
#include "platform/Clock.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/Thread.h"
#include "platform/linux/DownloadModule.h"
#include "platform/linux/DownloadedFile.h"
#include "platform/linux/Module.h"
#include "platform/posix/downloadRules.h"

#include <sys/eventfd.h>

#include <array>
#include <chrono>
#include <climits>
#include <exception>
#include <functional>
#include <mutex>
#include <system_error>

namespace kestrav::platform {

namespace {

using Clock = std::chrono::steady_clock;

/// Received bytes are reported at most this often, however small the pieces they come in.
constexpr std::chrono::milliseconds reportInterval{20};

constexpr std::size_t errorSize = 512;

/// One transfer. Shared with its thread, which may be stuck in a library for longer than anybody waits for it.
class Transfer : public std::enable_shared_from_this<Transfer> {
public:
    Transfer(URLRequest request, URLDownloadDelegate &delegate)
        : request_(std::move(request)), bundlePath_(Bundle::mainBundle().bundlePath()),
          certificateFile_(ProcessInfo::processInfo().environmentVariable("SSL_CERT_FILE").value_or("")),
          wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), delegate_(&delegate) {}

    // Main thread.
    void setDeletesFile(bool deletes);
    void start(DownloadedFile file);
    void cancel();

private:
    // The transfer's thread.
    void run();
    [[nodiscard]] bool transfer();
    bool receiveResponse(std::int64_t length);
    bool receiveData(std::string_view bytes);
    int step();
    void report();

    using Call = std::function<void(URLDownloadDelegate &)>;
    void post(Call call, bool last = false);
    void end(bool complete);
    bool tryToEnd(bool complete) noexcept;

    static Transfer &of(void *host) { return *static_cast<Transfer *>(host); }
    /// What a call of the module's comes to; `otherwise` after an exception, which may not get there.
    template <class Action> int guarded(int otherwise, Action action) noexcept {
        try {
            return action(*this);
        } catch (const std::exception &) {
            failure_.assign("out of memory"); // so short that it needs none
            return otherwise;
        }
    }

    const URLRequest request_;
    const std::string bundlePath_;
    const std::string certificateFile_;
    const FileDescriptor wake_; // readable once the transfer is cancelled

    URLDownloadDelegate *delegate_; // main thread; null once it hears nothing more

    std::mutex mutex_; // guards the following; while it is held, nobody else changes the file
    bool cancelled_ = false;
    bool deletesFile_ = false;
    DownloadedFile file_;

    // The transfer's thread alone.
    std::string failure_; // empty: the module's text, if any
    std::int64_t unreported_ = 0;
    Clock::time_point lastReport_;
};

void Transfer::setDeletesFile(bool deletes) {
    const std::lock_guard lock(mutex_);
    deletesFile_ = deletes;
}

void Transfer::start(DownloadedFile file) {
    file_ = std::move(file);
    try {
        Thread([self = shared_from_this()] { self->run(); }).detach();
    } catch (const std::system_error &error) {
        failure_ = error.what();
        end(false);
    }
}

void Transfer::cancel() {
    if (std::exchange(delegate_, nullptr) == nullptr) {
        return; // over already
    }
    const std::lock_guard lock(mutex_);
    cancelled_ = true;
    file_.discard();
    static_cast<void>(eventfd_write(wake_.get(), 1)); // it only makes the thread end sooner
}

void Transfer::run() {
    bool complete = false;
    try {
        complete = transfer();
        report();
    } catch (const std::exception &error) {
        complete = false;
        failure_ = error.what();
    }
    constexpr std::int64_t pause = 10'000; // microseconds
    constexpr int patience = 200;
    for (int attempt = 0; !tryToEnd(complete); ++attempt) {
        if (attempt == patience) {
            std::terminate(); // whoever waits for the end cannot be told
        }
        sleepMicroseconds(pause);
    }
}

bool Transfer::transfer() {
    const auto module = openModule<KestravDownloadModule>(bundlePath_);
    if (!module.failure.empty()) {
        failure_ = module.failure;
        return false;
    }

    KestravTransfer transfer{};
    transfer.url = request_.url.c_str();
    transfer.certificateFile = certificateFile_.empty() ? nullptr : certificateFile_.c_str();
    transfer.timeoutMilliseconds = static_cast<std::int64_t>(request_.timeoutSeconds * 1000);
    transfer.wakeDescriptor = wake_.get();
    transfer.host = this;
    transfer.response = [](void *host, std::int64_t length) noexcept {
        return of(host).guarded(0, [&](Transfer &self) { return static_cast<int>(self.receiveResponse(length)); });
    };
    transfer.data = [](void *host, const char *bytes, std::size_t count) noexcept {
        return of(host).guarded(0, [&](Transfer &self) { return static_cast<int>(self.receiveData({bytes, count})); });
    };
    transfer.step = [](void *host) noexcept {
        return of(host).guarded(-1, [](Transfer &self) { return self.step(); });
    };

    std::array<char, errorSize> error{};
    const bool complete = module.functions.transfer(&transfer, error.data(), error.size()) == 1;
    if (failure_.empty() && !complete) {
        failure_ = hostMayBeSecret(request_.url) ? untoldFailure : error.data();
    }
    return complete;
}

bool Transfer::receiveResponse(std::int64_t length) {
    const std::lock_guard lock(mutex_);
    if (cancelled_) {
        return false;
    }
    if (const std::error_code error = file_.create()) {
        failure_ = file_.path() + ": " + error.message();
        return false;
    }
    post([length](URLDownloadDelegate &delegate) { delegate.didReceiveResponse(length); });
    return true;
}

bool Transfer::receiveData(std::string_view bytes) {
    {
        const std::lock_guard lock(mutex_);
        if (cancelled_) {
            return false;
        }
        if (const std::error_code error = file_.write(bytes)) {
            failure_ = file_.path() + ": " + error.message();
            return false;
        }
    }
    unreported_ += static_cast<std::int64_t>(bytes.size());
    if (Clock::now() - lastReport_ >= reportInterval) {
        report();
    }
    return true;
}

int Transfer::step() {
    {
        const std::lock_guard lock(mutex_);
        if (cancelled_) {
            return -1;
        }
    }
    if (unreported_ == 0) {
        return INT_MAX;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(lastReport_ + reportInterval - Clock::now());
    if (left.count() > 0) {
        return static_cast<int>(left.count());
    }
    report();
    return INT_MAX;
}

void Transfer::report() {
    if (unreported_ > 0) {
        post([count = unreported_](URLDownloadDelegate &delegate) { delegate.didReceiveDataOfLength(count); });
        unreported_ = 0;
        lastReport_ = Clock::now();
    }
}

void Transfer::post(Call call, bool last) {
    OperationQueue::mainQueue().addOperation([self = shared_from_this(), call = std::move(call), last] {
        URLDownloadDelegate *const delegate = last ? std::exchange(self->delegate_, nullptr) : self->delegate_;
        if (delegate != nullptr) {
            call(*delegate);
        }
    });
}

/// False if there is no memory for it: somebody waits for the end.
bool Transfer::tryToEnd(bool complete) noexcept {
    try {
        end(complete);
        return true;
    } catch (const std::exception &) {
        return false;
    }
}

void Transfer::end(bool complete) {
    {
        const std::lock_guard lock(mutex_);
        if (const std::error_code error = file_.close(); error && complete) {
            failure_ = file_.path() + ": " + error.message();
            complete = false;
        }
        if (!complete && deletesFile_ && !cancelled_) {
            file_.discard();
        }
    }
    if (complete) {
        post([](URLDownloadDelegate &delegate) { delegate.downloadDidFinish(); }, true);
    } else {
        const URLError error{failure_, withoutSecrets(request_.url)};
        post([error](URLDownloadDelegate &delegate) { delegate.didFailWithError(error); }, true);
    }
}

class Download final : public URLDownload {
public:
    Download(const URLRequest &request, URLDownloadDelegate &delegate)
        : transfer_(std::make_shared<Transfer>(request, delegate)) {}
    Download(const Download &) = delete;
    Download &operator=(const Download &) = delete;
    ~Download() override { transfer_->cancel(); }

    void setDeletesFileUponFailure(bool deletes) override { transfer_->setDeletesFile(deletes); }
    void setDestination(const std::string &path, bool allowOverwrite) override {
        transfer_->start(DownloadedFile(path, allowOverwrite));
    }
    void cancel() override { transfer_->cancel(); }

private:
    std::shared_ptr<Transfer> transfer_;
};

} // namespace

std::unique_ptr<URLDownload> URLDownload::create(const URLRequest &request, URLDownloadDelegate &delegate) {
    return std::make_unique<Download>(request, delegate);
}

} // namespace kestrav::platform
