#include "platform/URLDownload.h"

#include "platform/linux/Transfer.h"

namespace kestrav::platform {

namespace {

class Download final : public URLDownload {
public:
    Download(const URLRequest &request, URLDownloadDelegate &delegate)
        : transfer_(std::make_shared<Transfer>(request, delegate)) {}
    Download(const Download &) = delete;
    Download &operator=(const Download &) = delete;
    ~Download() override { transfer_->cancel(); }

    void setDeletesFileUponFailure(bool deletes) override { transfer_->target().setKeepsPart(!deletes); }
    void setOtherDestination(OtherDestination other) override {
        transfer_->target().setOtherDestination(std::move(other));
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
