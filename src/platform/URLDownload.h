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

/// Is told how a download is going. All calls are made on the main thread, in order, and none after
/// `URLDownload::cancel`. Each may destroy the download.
class URLDownloadDelegate {
public:
    virtual ~URLDownloadDelegate() = default;
    /// True if the service may decode what it receives; false stores the bytes as they come.
    virtual bool shouldDecodeSourceDataOfMIMEType(std::string_view type) = 0;
    /// The file begins. `expectedContentLength` is in bytes, -1 if the server announces none. Called again if a broken
    /// download has to start over.
    virtual void didReceiveResponse(std::int64_t expectedContentLength) = 0;
    /// The file continues after `fromByte` bytes that were received before the transfer broke, in this run or an
    /// earlier one. `expectedContentLength` is the length of the whole file.
    virtual void willResumeFromByte(std::int64_t fromByte, std::int64_t expectedContentLength) = 0;
    /// `length` more bytes have been stored.
    virtual void didReceiveDataOfLength(std::int64_t length) = 0;
    /// The connection broke, or the server is busy. The download tries again by itself after `afterSeconds`.
    virtual void willTryAgain(const URLError &error, double afterSeconds) = 0;
    /// The last call, like `downloadDidFinish`.
    virtual void didFailWithError(const URLError &error) = 0;
    virtual void downloadDidFinish() = 0;
};

/// A download into a file. After a broken connection, or if the server is busy for a moment, it tries again up to four
/// times, and continues where it stopped if the server can do that. Main thread; the transfer itself runs in the
/// background.
class URLDownload {
public:
    /// Returns the path of another file for at least so many bytes; the one it returned before, if any, has proved to
    /// have no room for them. May throw an `Exception` that says why there is none.
    using OtherDestination = std::function<std::string(std::int64_t bytes)>;

    /// Null if the platform cannot download the URL. For a string that is not a URL the result may also be a download
    /// that fails.
    [[nodiscard]] static std::unique_ptr<URLDownload> create(const URLRequest &request, URLDownloadDelegate &delegate);

    virtual ~URLDownload() = default;
    /// Sets whether an incomplete file is removed when the transfer fails or is cancelled, which is the default. If it
    /// is not removed, it lies beside the destination (`partPath`) until it is complete and has reached the storage
    /// device, and the transfer continues from the part that an earlier such download has left there: a small file
    /// (`partNotePath`) says which version of the source the part belongs to. One download at a time may use such a
    /// destination. To be called before `setDestination`.
    virtual void setDeletesFileUponFailure(bool deletes) = 0;
    /// Sets a function that names another file if the destination's folder has no room: for the announced length,
    /// before anything is written, or for what has arrived, and then the download begins anew. It is called on the
    /// transfer's thread until it throws, and never after `cancel`. The other file is always removed upon failure.
    /// Without this function such a download fails. To be called before `setDestination`.
    virtual void setOtherDestination(OtherDestination otherDestination) = 0;
    /// Sets the file and starts the transfer.
    virtual void setDestination(const std::string &path, bool allowOverwrite) = 0;
    /// Ends the transfer and removes its file, unless that is kept: once this returns, nothing more is written and the
    /// delegate is told nothing more. Does nothing after the delegate's last call. Destroying the download does the
    /// same.
    virtual void cancel() = 0;
};

/// The path of an incomplete download that is kept.
[[nodiscard]] inline std::string partPath(const std::string &destination) {
    return destination + ".part";
}
/// The path of the file that lets a later download continue it.
[[nodiscard]] inline std::string partNotePath(const std::string &destination) {
    return destination + ".note";
}

} // namespace kestrav::platform
