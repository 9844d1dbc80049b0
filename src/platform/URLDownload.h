#pragma once

#include <cstdint>
#include <functional>
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
    /// The file begins. `expectedContentLength` is in bytes, -1 if the server announces none. Comes again if a download
    /// that broke has to begin anew.
    virtual void didReceiveResponse(std::int64_t expectedContentLength) = 0;
    /// The file goes on after `fromByte` bytes that came before the transfer broke, in this run or an earlier one.
    /// `expectedContentLength` is the length of the whole file.
    virtual void willResumeFromByte(std::int64_t fromByte, std::int64_t expectedContentLength) = 0;
    /// So many more bytes have been stored.
    virtual void didReceiveDataOfLength(std::int64_t length) = 0;
    /// The connection broke, or the server is busy. The download goes on by itself after so many seconds.
    virtual void willTryAgain(const URLError &error, double afterSeconds) = 0;
    /// The last call, like `downloadDidFinish`.
    virtual void didFailWithError(const URLError &error) = 0;
    virtual void downloadDidFinish() = 0;
};

/// A download into a file. A connection that breaks, or a server that is busy for a moment, is tried again up to four
/// times, and goes on where it stopped if the server can do that. Main thread; the transfer itself runs beside it.
class URLDownload {
public:
    /// Names another file for so many bytes. May throw an `Exception` that says why there is none.
    using OtherDestination = std::function<std::string(std::int64_t bytes)>;

    /// Empty if the platform makes no download of it. A text that is no URL may also be one that fails.
    [[nodiscard]] static std::unique_ptr<URLDownload> create(const URLRequest &request, URLDownloadDelegate &delegate);

    virtual ~URLDownload() = default;
    /// Whether what has come is removed when the transfer fails or is cancelled; it is unless told otherwise. If it is
    /// not, and nor is what an earlier such download has left in the file, the transfer goes on from there: a small
    /// file beside it (`partNotePath`) tells of which version of the source it is a part. One download at a time may
    /// use such a file. Before `setDestination`.
    virtual void setDeletesFileUponFailure(bool deletes) = 0;
    /// Where to go if the destination's folder has no room for what is announced. Asked at most once, before
    /// anything is written, on the thread of the transfer, and not after `cancel`. That file is always removed upon
    /// failure. Without it such a download fails. Before `setDestination`.
    virtual void setOtherDestination(OtherDestination otherDestination) = 0;
    /// Names the file and lets the transfer begin.
    virtual void setDestination(const std::string &path, bool allowOverwrite) = 0;
    /// Ends the transfer and removes its file, unless that is kept: when this returns nothing more is written and the
    /// delegate hears nothing more. Does nothing after the delegate's last call. Destroying the download does the same.
    virtual void cancel() = 0;
};

/// The file that lies beside a part of a download, for a later one to go on from.
[[nodiscard]] inline std::string partNotePath(const std::string &destination) {
    return destination + ".part";
}

} // namespace kestrav::platform
