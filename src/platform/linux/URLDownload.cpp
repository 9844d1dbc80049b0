#include "platform/URLDownload.h"

#include "platform/Bundle.h"
#include "platform/Clock.h"
#include "platform/Exception.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/Thread.h"
#include "platform/linux/DownloadModule.h"
#include "platform/linux/Module.h"
#include "platform/posix/DownloadAttempts.h"
#include "platform/posix/DownloadedFile.h"
#include "platform/posix/downloadRules.h"

#include <sys/eventfd.h>

#include <array>
#include <chrono>
#include <climits>
#include <exception>
#include <functional>
#include <mutex>
#include <system_error>
#include <utility>

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
    void setDeletesFile(bool deletes) { deletesFile_ = deletes; }
    void setOtherDestination(URLDownload::OtherDestination other) { otherDestination_ = std::move(other); }
    void start(const std::string &path, bool allowOverwrite);
    void cancel();

private:
    // The transfer's thread.
    void run();
    [[nodiscard]] bool transfer();
    [[nodiscard]] bool attempt(const KestravDownloadModule &module, bool &broken);
    [[nodiscard]] KestravTransfer describeTransfer();
    [[nodiscard]] bool wait(std::int64_t microseconds);
    bool receiveResponse(const DownloadAnswer &answer);
    [[nodiscard]] bool beginFile();
    [[nodiscard]] bool resumeFile();
    bool receiveData(std::string_view bytes);
    int step();
    void report();

    using Call = std::function<void(URLDownloadDelegate &)>;
    void post(Call call, bool last = false);
    void end(bool complete);
    [[nodiscard]] URLError failure() const { return {failure_, withoutSecrets(request_.url)}; }
    [[nodiscard]] bool isCancelled();
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
    bool deletesFile_ = true;   // like the next one, set before the start
    URLDownload::OtherDestination otherDestination_;

    URLDownloadDelegate *delegate_; // main thread; null once it hears nothing more

    std::mutex mutex_; // guards the following; while it is held, nobody else changes the file
    bool cancelled_ = false;
    DownloadedFile file_;

    // The transfer's thread alone.
    std::string failure_; // of the last attempt; empty: the module's text, if any
    DownloadAttempts attempts_;
    std::int64_t unreported_ = 0;
    Clock::time_point lastReport_;
};

void Transfer::start(const std::string &path, bool allowOverwrite) {
    file_ = DownloadedFile(path, allowOverwrite, !deletesFile_);
    try {
        if (auto part = file_.openPart()) {
            attempts_ = DownloadAttempts(std::move(*part));
        }
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
    file_.breakOff();
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
    for (;;) {
        bool broken = false;
        if (attempt(module.functions, broken)) {
            return true;
        }
        report();
        const auto pause = attempts_.pauseBeforeNext(broken);
        if (!pause || !wait(*pause)) {
            return false;
        }
    }
}

/// True if the file is whole.
bool Transfer::attempt(const KestravDownloadModule &module, bool &broken) {
    KestravTransfer transfer = describeTransfer();
    const auto rest = attempts_.begin();
    const std::string range = rest ? "Range: " + rest->bytes : "";
    const std::string condition = rest ? "If-Range: " + rest->condition : "";
    transfer.range = rest ? range.c_str() : nullptr;
    transfer.rangeCondition = rest ? condition.c_str() : nullptr;

    failure_.clear();
    std::array<char, errorSize> error{};
    const int result = module.transfer(&transfer, error.data(), error.size());
    const bool complete = result == 1 && attempts_.lack().empty();
    broken = failure_.empty() && (result == -1 || (result == 1 && !complete));
    if (failure_.empty() && !complete) {
        failure_ = result == 1 ? attempts_.lack() : hostMayBeSecret(request_.url) ? untoldFailure : error.data();
    }
    return complete;
}

KestravTransfer Transfer::describeTransfer() {
    KestravTransfer transfer{};
    transfer.url = request_.url.c_str();
    transfer.certificateFile = certificateFile_.empty() ? nullptr : certificateFile_.c_str();
    transfer.timeoutMilliseconds = static_cast<std::int64_t>(request_.timeoutSeconds * 1000);
    transfer.wakeDescriptor = wake_.get();
    transfer.host = this;
    transfer.response = [](void *host, const KestravAnswer *answer) noexcept {
        return of(host).guarded(0, [&](Transfer &self) {
            return static_cast<int>(self.receiveResponse({answer->status, answer->length, answer->entityTag,
                                                          answer->lastModified, answer->date, answer->contentRange}));
        });
    };
    transfer.data = [](void *host, const char *bytes, std::size_t count) noexcept {
        return of(host).guarded(0, [&](Transfer &self) { return static_cast<int>(self.receiveData({bytes, count})); });
    };
    transfer.step = [](void *host) noexcept {
        return of(host).guarded(-1, [](Transfer &self) { return self.step(); });
    };
    return transfer;
}

/// Waits before the next attempt; false if the transfer was cancelled.
bool Transfer::wait(std::int64_t microseconds) {
    constexpr std::int64_t slice = 50'000;
    if (microseconds > 0) {
        const double seconds = static_cast<double>(microseconds) / 1'000'000;
        post([error = failure(), seconds](URLDownloadDelegate &delegate) { delegate.willTryAgain(error, seconds); });
    }
    for (; microseconds > 0 && !isCancelled(); microseconds -= slice) {
        sleepMicroseconds(slice);
    }
    return !isCancelled();
}

bool Transfer::isCancelled() {
    const std::lock_guard lock(mutex_);
    return cancelled_;
}

/// False if its body is not wanted.
bool Transfer::receiveResponse(const DownloadAnswer &answer) {
    switch (attempts_.judge(answer)) {
    case AnswerUse::WholeFile:
        return beginFile();
    case AnswerUse::RestOfFile:
        return resumeFile();
    default:
        return false;
    }
}

bool Transfer::beginFile() {
    const std::int64_t length = attempts_.expectedLength();
    {
        const std::lock_guard lock(mutex_);
        if (cancelled_) {
            return false;
        }
        file_.discard(); // an earlier part needs room as well
    }
    failure_ = file_.lackOfRoom(length);
    if (!failure_.empty() && otherDestination_) {
        std::string other;
        try {
            other = std::exchange(otherDestination_, nullptr)(length);
        } catch (const Exception &exception) {
            failure_ = exception.what();
            return false;
        }
        const std::lock_guard lock(mutex_);
        file_.discard();
        file_ = DownloadedFile(std::move(other), true, false);
        failure_.clear();
    }
    const std::lock_guard lock(mutex_);
    if (cancelled_ || !failure_.empty()) {
        return false;
    }
    if (const std::error_code error = file_.create(attempts_.part().validator)) {
        failure_ = file_.path() + ": " + error.message();
        return false;
    }
    post([length](URLDownloadDelegate &delegate) { delegate.didReceiveResponse(length); });
    return true;
}

bool Transfer::resumeFile() {
    const std::int64_t there = attempts_.part().length;
    const std::int64_t length = attempts_.expectedLength();
    const std::string lack = file_.lackOfRoom(length - there);
    if (!lack.empty() && otherDestination_) {
        attempts_.refuseRest();
        return false;
    }
    failure_ = lack;
    if (!lack.empty()) {
        return false;
    }
    post([there, length](URLDownloadDelegate &delegate) { delegate.willResumeFromByte(there, length); });
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
    attempts_.received(bytes.size());
    unreported_ += static_cast<std::int64_t>(bytes.size());
    if (Clock::now() - lastReport_ >= reportInterval) {
        report();
    }
    return true;
}

int Transfer::step() {
    if (isCancelled()) {
        return -1;
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
        if (const std::error_code error = complete && !cancelled_ ? file_.finish() : std::error_code()) {
            failure_ = file_.path() + ": " + error.message();
            complete = false;
        }
        if (!complete && !cancelled_) {
            file_.breakOff();
        }
    }
    if (complete) {
        post([](URLDownloadDelegate &delegate) { delegate.downloadDidFinish(); }, true);
    } else {
        post([error = failure()](URLDownloadDelegate &delegate) { delegate.didFailWithError(error); }, true);
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
    void setOtherDestination(OtherDestination otherDestination) override {
        transfer_->setOtherDestination(std::move(otherDestination));
    }
    void setDestination(const std::string &path, bool allowOverwrite) override {
        transfer_->start(path, allowOverwrite);
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
