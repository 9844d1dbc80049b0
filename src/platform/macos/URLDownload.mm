#include "platform/URLDownload.h"

#include "platform/SystemLog.h"
#include "platform/downloadRules.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/RequestRules.h"
#include "platform/posix/DownloadTarget.h"

#import <Foundation/Foundation.h>

#include <array>

namespace kestrav::platform {
namespace {
class Download;
}
} // namespace kestrav::platform

/// Receives the session's calls, on the main thread. Each call may destroy the download.
@interface DownloadReceiver : NSObject <NSURLSessionDataDelegate> {
@public
    kestrav::platform::Download *download; // null once it wants no more calls
}
@end

namespace kestrav::platform {

namespace {

std::string textOfString(NSString *string) {
    return textOf((CFStringRef)string);
}

std::string textOfURL(NSURL *url) {
    return textOfString([url absoluteString]);
}

NSString *stringOf(const std::string &text) {
    return [NSString stringWithUTF8String:text.c_str()];
}

class Download final : public URLDownload {
public:
    /// `request` has a valid URL.
    Download(NSURLRequest *request, URLDownloadDelegate &delegate);
    Download(const Download &) = delete;
    Download &operator=(const Download &) = delete;
    ~Download() override {
        cancel();
        // Not released at once, because this may be running in one of their calls.
        [task_ autorelease];
        [session_ autorelease];
        [receiver_ autorelease];
        [request_ release];
    }

    void setDeletesFileUponFailure(bool deletes) override { target_.setKeepsPart(!deletes); }
    void setOtherDestination(OtherDestination other) override { target_.setOtherDestination(std::move(other)); }
    void setDestination(const std::string &path, bool allowOverwrite) override;
    void cancel() override;

    void beginAttempt();

    // Calls from the session.
    [[nodiscard]] bool isCurrent(NSURLSessionTask *task) const { return task == task_; }
    [[nodiscard]] bool didReceiveResponse(NSURLResponse *response);
    void didReceiveData(NSData *data);
    void didComplete(NSError *error);
    void fail(const std::string &description, NSURL *url = nil);

private:
    void endAttempt(bool broken, const std::string &description, NSURL *url);

    URLDownloadDelegate &delegate_;
    DownloadReceiver *receiver_;
    NSURLRequest *request_;
    NSURLSession *session_;
    NSURLSessionTask *task_ = nil; // of the current attempt
    DownloadTarget target_;
};

Download::Download(NSURLRequest *request, URLDownloadDelegate &delegate)
    : delegate_(delegate), receiver_([[DownloadReceiver alloc] init]), request_([request copy]) {
    receiver_->download = this;
    session_ = [[NSURLSession sessionWithConfiguration:[NSURLSessionConfiguration ephemeralSessionConfiguration]
                                              delegate:receiver_
                                         delegateQueue:[NSOperationQueue mainQueue]] retain];
}

void Download::setDestination(const std::string &path, bool allowOverwrite) {
    NSURL *url = [request_ URL];
    if ([url isFileURL] && isNoPlainFile([[url path] fileSystemRepresentation])) {
        // Reported later, like everything else, not before this call has returned.
        [receiver_ performSelector:@selector(refuse:) withObject:stringOf(noPlainFile) afterDelay:0];
        return;
    }
    target_.open(path, allowOverwrite);
    beginAttempt();
}

void Download::beginAttempt() {
    NSMutableURLRequest *request = [[request_ mutableCopy] autorelease];
    if (const auto rest = target_.beginAttempt()) {
        [request setValue:stringOf(rest->bytes) forHTTPHeaderField:@"Range"];
        [request setValue:stringOf(rest->condition) forHTTPHeaderField:@"If-Range"];
    }
    [task_ autorelease];
    task_ = [[session_ dataTaskWithRequest:request] retain];
    [task_ resume];
}

void Download::cancel() {
    if (receiver_->download == nullptr) {
        return; // the transfer has ended already
    }
    receiver_->download = nullptr;
    [NSObject cancelPreviousPerformRequestsWithTarget:receiver_];
    [session_ invalidateAndCancel];
    target_.breakOff();
}

/// Ends an attempt that has not brought the whole file.
void Download::endAttempt(bool broken, const std::string &description, NSURL *url) {
    const auto pause = target_.pauseBeforeNext(broken);
    if (!pause) {
        fail(description, url);
        return;
    }
    [task_ cancel];
    [task_ autorelease];
    task_ = nil;
    const double seconds = static_cast<double>(*pause) / 1'000'000;
    [receiver_ performSelector:@selector(beginAttempt) withObject:nil afterDelay:seconds];
    if (seconds > 0) {
        delegate_.willTryAgain({description, withoutSecrets(textOfURL(url))}, seconds);
    }
}

void Download::fail(const std::string &description, NSURL *url) {
    const std::string address = textOfURL(url != nil ? url : [request_ URL]);
    cancel();
    delegate_.didFailWithError({description, withoutSecrets(address)});
}

/// What the response says. A body that the system decodes has no part that could be continued.
DownloadAnswer answerOf(NSURLResponse *response, std::array<std::string, 4> &headers) {
    DownloadAnswer answer;
    answer.length = [response expectedContentLength];
    if (![response isKindOfClass:[NSHTTPURLResponse class]]) {
        return answer;
    }
    answer.status = [(NSHTTPURLResponse *)response statusCode];
    NSDictionary *fields = [(NSHTTPURLResponse *)response allHeaderFields];
    const auto field = [&](NSString *name, std::string &text) {
        for (NSString *key in fields) {
            if ([key caseInsensitiveCompare:name] == NSOrderedSame) {
                text = textOfString([fields objectForKey:key]);
            }
        }
        return std::string_view(text);
    };
    std::string encoding;
    if (const auto name = field(@"Content-Encoding", encoding); name.empty() || name == "identity") {
        answer.entityTag = field(@"ETag", headers[0]);
        answer.lastModified = field(@"Last-Modified", headers[1]);
    }
    answer.date = field(@"Date", headers[2]);
    answer.contentRange = field(@"Content-Range", headers[3]);
    return answer;
}

/// False if the body is not wanted.
bool Download::didReceiveResponse(NSURLResponse *response) {
    std::array<std::string, 4> headers;
    if (!target_.receiveAnswer(answerOf(response, headers))) {
        endAttempt(false, target_.failure(), [response URL]);
        return false;
    }
    DownloadReceiver *receiver = receiver_; // lives until the end of the event
    if (target_.length() == 0) {
        delegate_.didReceiveResponse(target_.expectedLength());
    } else {
        delegate_.willResumeFromByte(target_.length(), target_.expectedLength());
    }
    return receiver->download != nullptr;
}

void Download::didReceiveData(NSData *data) {
    if (target_.receive({static_cast<const char *>([data bytes]), [data length]})) {
        delegate_.didReceiveDataOfLength(static_cast<std::int64_t>([data length]));
    } else {
        endAttempt(false, target_.failure(), [request_ URL]);
    }
}

/// True if the server cannot be reached any more, or has stopped sending.
bool isBrokenConnection(NSError *error) {
    if (![[error domain] isEqualToString:NSURLErrorDomain]) {
        return false;
    }
    switch ([error code]) {
    case NSURLErrorCannotFindHost:
    case NSURLErrorCannotConnectToHost:
    case NSURLErrorNetworkConnectionLost:
    case NSURLErrorDNSLookupFailed:
    case NSURLErrorNotConnectedToInternet:
    case NSURLErrorBadServerResponse:
    case NSURLErrorSecureConnectionFailed:
        return true;
    default:
        return false;
    }
}

void Download::didComplete(NSError *error) {
    if (error != nil) {
        NSString *url = [[error userInfo] objectForKey:NSURLErrorFailingURLStringErrorKey];
        const bool isSecret = hostMayBeSecret(textOfURL([request_ URL]));
        endAttempt(isBrokenConnection(error), isSecret ? untoldFailure : textOfString([error localizedDescription]),
                   url != nil ? [NSURL URLWithString:url] : [request_ URL]);
    } else if (!target_.finish()) {
        endAttempt(target_.isShort(), target_.failure(), [request_ URL]);
    } else {
        receiver_->download = nullptr;
        [session_ finishTasksAndInvalidate];
        delegate_.downloadDidFinish();
    }
}

} // namespace

std::unique_ptr<URLDownload> URLDownload::create(const URLRequest &request, URLDownloadDelegate &delegate) {
    static constexpr const char *signature = "+[URLDownload create:delegate:]";
    NSURL *url = [NSURL URLWithString:(NSString *)cfText(percentEncoded(request.url)).get()];
    if (url == nil || [url scheme] == nil) {
        Log("%s [Line %d] not a URL: %@", signature, __LINE__, withoutSecrets(request.url));
        return nullptr;
    }
    NSMutableURLRequest *urlRequest =
        [NSMutableURLRequest requestWithURL:url
                                cachePolicy:NSURLRequestReloadIgnoringLocalAndRemoteCacheData
                            timeoutInterval:request.timeoutSeconds];
    if (!delegate.shouldDecodeSourceDataOfMIMEType("application/octet-stream")) {
        [urlRequest setValue:@"identity" forHTTPHeaderField:@"Accept-Encoding"];
    }
    return std::make_unique<Download>(urlRequest, delegate);
}

} // namespace kestrav::platform

@implementation DownloadReceiver

- (void)URLSession:(NSURLSession *)session
                          task:(NSURLSessionTask *)task
    willPerformHTTPRedirection:(NSHTTPURLResponse *)response
                    newRequest:(NSURLRequest *)request
             completionHandler:(void (^)(NSURLRequest *))completionHandler {
    const auto scheme = [](NSURL *url) { return kestrav::platform::textOfString([[url scheme] lowercaseString]); };
    const bool allowed = kestrav::platform::redirectIsAllowed(scheme([response URL]), scheme([request URL]));
    completionHandler(allowed ? request : nil);
    if (!allowed && download != nullptr && download->isCurrent(task)) {
        download->fail("A redirect to there is not supported", [request URL]);
    }
}

- (void)URLSession:(NSURLSession *)session
              dataTask:(NSURLSessionDataTask *)task
    didReceiveResponse:(NSURLResponse *)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler {
    const bool wanted = download != nullptr && download->isCurrent(task) && download->didReceiveResponse(response);
    completionHandler(wanted ? NSURLSessionResponseAllow : NSURLSessionResponseCancel);
}

- (void)URLSession:(NSURLSession *)session dataTask:(NSURLSessionDataTask *)task didReceiveData:(NSData *)data {
    if (download != nullptr && download->isCurrent(task)) {
        download->didReceiveData(data);
    }
}

- (void)URLSession:(NSURLSession *)session task:(NSURLSessionTask *)task didCompleteWithError:(NSError *)error {
    if (download != nullptr && download->isCurrent(task)) {
        download->didComplete(error);
    }
}

- (void)beginAttempt {
    if (download != nullptr) {
        download->beginAttempt();
    }
}

- (void)refuse:(NSString *)reason {
    if (download != nullptr) {
        download->fail(kestrav::platform::textOfString(reason));
    }
}

@end
