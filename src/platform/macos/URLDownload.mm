#include "platform/URLDownload.h"

#include "platform/format.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/RequestRules.h"
#include "platform/posix/downloadRules.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

// NSURLDownload is the platform's only download into a file that reports each piece on the main thread.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

namespace kestrav::platform {
namespace {
class Download;
}
} // namespace kestrav::platform

/// Hears what the service tells. Each call may destroy the download.
@interface DownloadReceiver : NSObject {
@public
    kestrav::platform::Download *download; // null once it wants to hear nothing more
}
@end

namespace kestrav::platform {

namespace {

std::string textOfString(NSString *string) {
    return textOf((CFStringRef)string);
}

class Download final : public URLDownload {
public:
    /// `request` has a valid URL.
    Download(NSURLRequest *request, URLDownloadDelegate &delegate)
        : delegate_(delegate), receiver_([[DownloadReceiver alloc] init]) {
        receiver_->download = this;
        service_ = [[NSURLDownload alloc] initWithRequest:request delegate:(id)receiver_];
    }
    Download(const Download &) = delete;
    Download &operator=(const Download &) = delete;
    ~Download() override {
        cancel();
        // Not at once: this may be a call of theirs.
        [service_ autorelease];
        [receiver_ autorelease];
    }

    [[nodiscard]] bool isPossible() const { return service_ != nil; }

    void setDeletesFileUponFailure(bool deletes) override {
        deletesFile_ = deletes;
        [service_ setDeletesFileUponFailure:deletes];
    }
    void setOtherDestination(OtherDestination /*otherDestination*/) override {}
    void setDestination(const std::string &path, bool allowOverwrite) override {
        path_ = allowOverwrite ? path : std::string(); // else the service may choose another name
        NSURL *url = [[service_ request] URL];
        if ([url isFileURL] && isNoPlainFile([[url path] fileSystemRepresentation])) {
            // Like all that is told, not before this call has returned.
            [receiver_ performSelector:@selector(refuse:)
                            withObject:[NSString stringWithUTF8String:noPlainFile]
                            afterDelay:0];
            return;
        }
        [service_ setDestination:(NSString *)cfText(path).get() allowOverwrite:allowOverwrite];
    }
    void cancel() override {
        if (receiver_->download == nullptr) {
            return; // over already
        }
        receiver_->download = nullptr;
        [service_ cancel];
        if (deletesFile_ && !path_.empty()) {
            unlink(path_.c_str()); // what there is of it; the service may have seen to it
        }
    }

    // What the service tells.
    void didReceiveResponse(NSURLResponse *response);
    void didReceiveDataOfLength(std::int64_t length) {
        received_ += length;
        delegate_.didReceiveDataOfLength(length);
    }
    [[nodiscard]] bool shouldDecode(NSString *type) {
        return delegate_.shouldDecodeSourceDataOfMIMEType(textOfString(type));
    }
    void didFinish();
    void fail(const std::string &description, std::optional<std::string> url = std::nullopt);

private:
    URLDownloadDelegate &delegate_;
    DownloadReceiver *receiver_;
    NSURLDownload *service_ = nil;
    std::string path_; // of the file, as far as it is known to be ours
    bool deletesFile_ = true;
    std::int64_t expected_ = -1;
    std::int64_t received_ = 0;
};

void Download::didReceiveResponse(NSURLResponse *response) {
    if ([response isKindOfClass:[NSHTTPURLResponse class]] &&
        !statusBringsFile([(NSHTTPURLResponse *)response statusCode])) {
        fail(format("The server answered with status %d", static_cast<int>([(NSHTTPURLResponse *)response statusCode])),
             textOfString([[response URL] absoluteString]));
        return;
    }
    expected_ = [response expectedContentLength];
    received_ = 0;
    delegate_.didReceiveResponse(expected_);
}

void Download::didFinish() {
    if (received_ < expected_) {
        fail(format("Only %ld of %ld bytes came", received_, expected_));
        return;
    }
    receiver_->download = nullptr;
    delegate_.downloadDidFinish();
}

void Download::fail(const std::string &description, std::optional<std::string> url) {
    if (!url) {
        url = textOfString([[[service_ request] URL] absoluteString]);
    }
    cancel();
    delegate_.didFailWithError({description, withoutSecrets(*url)});
}

} // namespace

std::unique_ptr<URLDownload> URLDownload::create(const URLRequest &request, URLDownloadDelegate &delegate) {
    NSURL *url = [NSURL URLWithString:(NSString *)cfText(percentEncoded(request.url)).get()];
    if (url == nil || [url scheme] == nil) {
        return nullptr;
    }
    auto download =
        std::make_unique<Download>([NSURLRequest requestWithURL:url
                                                    cachePolicy:NSURLRequestReloadIgnoringLocalAndRemoteCacheData
                                                timeoutInterval:request.timeoutSeconds],
                                   delegate);
    return download->isPossible() ? std::move(download) : nullptr;
}

} // namespace kestrav::platform

@implementation DownloadReceiver

- (NSURLRequest *)download:(NSURLDownload *)service
           willSendRequest:(NSURLRequest *)request
          redirectResponse:(NSURLResponse *)response {
    const auto scheme = [](NSURL *url) { return kestrav::platform::textOfString([[url scheme] lowercaseString]); };
    if (response == nil || kestrav::platform::redirectIsAllowed(scheme([response URL]), scheme([request URL]))) {
        return request;
    }
    if (download != nullptr) {
        download->fail("A redirect to there is not supported",
                       kestrav::platform::textOfString([[request URL] absoluteString]));
    }
    return nil;
}

- (void)refuse:(NSString *)reason {
    if (download != nullptr) {
        download->fail(kestrav::platform::textOfString(reason));
    }
}

- (BOOL)download:(NSURLDownload *)service shouldDecodeSourceDataOfMIMEType:(NSString *)type {
    return download != nullptr && download->shouldDecode(type);
}

- (void)download:(NSURLDownload *)service didReceiveResponse:(NSURLResponse *)response {
    if (download != nullptr) {
        download->didReceiveResponse(response);
    }
}

- (void)download:(NSURLDownload *)service didReceiveDataOfLength:(NSUInteger)length {
    if (download != nullptr) {
        download->didReceiveDataOfLength(static_cast<std::int64_t>(length));
    }
}

- (void)download:(NSURLDownload *)service didFailWithError:(NSError *)error {
    if (download != nullptr) {
        NSString *url = [[error userInfo] objectForKey:NSURLErrorFailingURLStringErrorKey];
        const std::string address = kestrav::platform::textOfString([[[service request] URL] absoluteString]);
        download->fail(kestrav::platform::hostMayBeSecret(address)
                           ? kestrav::platform::untoldFailure
                           : kestrav::platform::textOfString([error localizedDescription]),
                       url != nil ? std::optional(kestrav::platform::textOfString(url)) : std::nullopt);
    }
}

- (void)downloadDidFinish:(NSURLDownload *)service {
    if (download != nullptr) {
        download->didFinish();
    }
}

@end
