#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// What is asked for: always from the source itself, never from a cache.
struct URLRequest {
    std::string url;
    double timeoutSeconds = 60.0; // without a sign of life from the other side
};

struct URLError {
    std::string localizedDescription;
    std::optional<std::string> failingURL; // its password replaced by "***"
};

/// Told how a download goes. All calls come on the main thread, in order, none after `URLDownload::cancel`. Each may
/// destroy the download.
class URLDownloadDelegate {
public:
    virtual ~URLDownloadDelegate() = default;
    /// True if the service may decode what it receives; false stores the bytes as they come.
    virtual bool shouldDecodeSourceDataOfMIMEType(std::string_view type) = 0;
    /// `expectedContentLength` is in bytes, -1 if the server announces none. A redirect may bring another response.
    virtual void didReceiveResponse(std::int64_t expectedContentLength) = 0;
    /// So many more bytes have been stored.
    virtual void didReceiveDataOfLength(std::int64_t length) = 0;
    /// The last call, like `downloadDidFinish`.
    virtual void didFailWithError(const URLError &error) = 0;
    virtual void downloadDidFinish() = 0;
};

/// A download into a file. Main thread; the transfer itself runs beside it.
class URLDownload {
public:
    /// Empty if the platform makes no download of it. A text that is no URL may also be one that fails.
    [[nodiscard]] static std::unique_ptr<URLDownload> create(const URLRequest &request, URLDownloadDelegate &delegate);

    virtual ~URLDownload() = default;
    /// Whether what has come goes when the transfer fails. Before `setDestination`.
    virtual void setDeletesFileUponFailure(bool deletes) = 0;
    /// Names the file and lets the transfer begin.
    virtual void setDestination(const std::string &path, bool allowOverwrite) = 0;
    /// Ends the transfer and removes its file: when this returns nothing more is written and the delegate hears
    /// nothing more. Does nothing after the delegate's last call. Destroying the download does the same.
    virtual void cancel() = 0;
};

} // namespace kestrav::platform
