#include "platform/linux/Transfer.h"

#include "platform/Bundle.h"
#include "platform/Clock.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/Thread.h"
#include "platform/downloadRules.h"
#include "platform/linux/Module.h"

#include <sys/eventfd.h>

#include <array>
#include <climits>
#include <exception>
#include <system_error>
#include <utility>

namespace kestrav::platform {

namespace {

using Clock = std::chrono::steady_clock;

/// Received bytes are reported no more often than this, however small the pieces are.
constexpr std::chrono::milliseconds reportInterval{20};

constexpr std::size_t errorSize = 512;

} // namespace

Transfer::Transfer(URLRequest request, URLDownloadDelegate &delegate)
    : request_(std::move(request)), bundlePath_(Bundle::mainBundle().bundlePath()),
      certificateFile_(ProcessInfo::processInfo().environmentVariable("SSL_CERT_FILE").value_or("")),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), delegate_(&delegate) {}

void Transfer::start(const std::string &path, bool allowOverwrite) {
    target_.open(path, allowOverwrite);
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
    target_.breakOff();
    static_cast<void>(eventfd_write(wake_.get(), 1)); // if it fails, the thread ends a little later
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
            std::terminate(); // the end cannot be reported, and the program would wait for it for ever
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
        const auto pause = target_.pauseBeforeNext(broken);
        if (!pause || !wait(*pause)) {
            return false;
        }
    }
}

/// True if the file is complete.
bool Transfer::attempt(const KestravDownloadModule &module, bool &broken) {
    KestravTransfer transfer = describeTransfer();
    const auto rest = target_.beginAttempt();
    const std::string range = rest ? "Range: " + rest->bytes : "";
    const std::string condition = rest ? "If-Range: " + rest->condition : "";
    transfer.range = rest ? range.c_str() : nullptr;
    transfer.rangeCondition = rest ? condition.c_str() : nullptr;

    failure_.clear();
    std::array<char, errorSize> text{};
    const int result = module.transfer(&transfer, text.data(), text.size());
    const std::lock_guard lock(mutex_);
    if (result == 1 && (cancelled_ || target_.finish())) {
        return true;
    }
    broken = result == -1 || (result == 1 && target_.isShort());
    if (failure_.empty()) {
        failure_ = target_.failure();
    }
    if (failure_.empty()) {
        failure_ = hostMayBeSecret(request_.url) ? untoldFailure : text.data();
    }
    return false;
}

KestravTransfer Transfer::describeTransfer() {
    KestravTransfer transfer{};
    transfer.url = request_.url.c_str();
    transfer.certificateFile = certificateFile_.empty() ? nullptr : certificateFile_.c_str();
    transfer.timeoutMilliseconds = static_cast<std::int64_t>(request_.timeoutSeconds * 1000);
    transfer.wakeDescriptor = wake_.get();
    transfer.host = this;
    transfer.response = [](void *host, const KestravAnswer *answer) noexcept {
        return fromHost(host).guarded(0, [&](Transfer &self) {
            return static_cast<int>(self.receiveAnswer({answer->status, answer->length, answer->entityTag,
                                                        answer->lastModified, answer->date, answer->contentRange}));
        });
    };
    transfer.data = [](void *host, const char *bytes, std::size_t count) noexcept {
        return fromHost(host).guarded(0, [&](Transfer &self) {
            return static_cast<int>(self.receiveData({bytes, count}));
        });
    };
    transfer.step = [](void *host) noexcept {
        return fromHost(host).guarded(-1, [](Transfer &self) { return self.step(); });
    };
    return transfer;
}

/// Waits before the next attempt; false if the transfer was cancelled.
bool Transfer::wait(std::int64_t microseconds) {
    constexpr std::int64_t slice = 50'000;
    if (microseconds > 0) {
        const double seconds = static_cast<double>(microseconds) / 1'000'000;
        post([error = error(), seconds](URLDownloadDelegate &delegate) { delegate.willTryAgain(error, seconds); });
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

/// False if the answer's body is not wanted.
bool Transfer::receiveAnswer(const DownloadAnswer &answer) {
    const std::lock_guard lock(mutex_);
    if (cancelled_ || !target_.receiveAnswer(answer)) {
        return false;
    }
    post([there = target_.length(), length = target_.expectedLength()](URLDownloadDelegate &delegate) {
        if (there == 0) {
            delegate.didReceiveResponse(length);
        } else {
            delegate.willResumeFromByte(there, length);
        }
    });
    return true;
}

bool Transfer::receiveData(std::string_view bytes) {
    {
        const std::lock_guard lock(mutex_);
        if (cancelled_ || !target_.receive(bytes)) {
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

URLError Transfer::error() const {
    return {failure_, withoutSecrets(request_.url)};
}

/// False if there is no memory for it. The caller tries again, because the program waits for the end.
bool Transfer::tryToEnd(bool complete) noexcept {
    try {
        end(complete);
        return true;
    } catch (const std::exception &) {
        return false;
    }
}

void Transfer::end(bool complete) {
    if (complete) {
        post([](URLDownloadDelegate &delegate) { delegate.downloadDidFinish(); }, true);
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        if (!cancelled_) {
            target_.breakOff();
        }
    }
    post([error = error()](URLDownloadDelegate &delegate) { delegate.didFailWithError(error); }, true);
}

} // namespace kestrav::platform
