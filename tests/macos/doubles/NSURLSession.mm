#import <Foundation/Foundation.h>

// A session of data tasks over NSURLConnection, with the errors of the real one.

extern "C" void *_NSConcreteStackBlock[32];
void *_NSConcreteStackBlock[32]; // the class of blocks, which is never used

@implementation NSURLSessionConfiguration
+ (NSURLSessionConfiguration *)ephemeralSessionConfiguration {
    return [[[self alloc] init] autorelease];
}
@end

@implementation NSURLSession

+ (NSURLSession *)sessionWithConfiguration:(NSURLSessionConfiguration *)configuration
                                  delegate:(id<NSURLSessionDataDelegate>)told
                             delegateQueue:(NSOperationQueue *)queue {
    NSURLSession *session = [[[self alloc] init] autorelease];
    session->delegate = [told retain];
    return session;
}

- (void)dealloc {
    [self invalidateAndCancel];
    [super dealloc];
}

- (NSURLSessionDataTask *)dataTaskWithRequest:(NSURLRequest *)asked {
    NSURLSessionDataTask *task = [[[NSURLSessionDataTask alloc] init] autorelease];
    task->session = [self retain];
    task->request = [asked copy];
    return task;
}

- (void)invalidateAndCancel {
    [delegate autorelease]; // it may be the caller
    delegate = nil;
}

- (void)finishTasksAndInvalidate {
    [self invalidateAndCancel];
}

@end

@implementation NSURLSessionTask

- (void)dealloc {
    [self cancel];
    [request release];
    [session release];
    [super dealloc];
}

- (void)resume {
    connection = [[NSURLConnection alloc] initWithRequest:request delegate:self];
}

- (void)cancel {
    [connection cancel];
    [connection autorelease]; // it may be the caller
    connection = nil;
}

- (NSURLRequest *)connection:(NSURLConnection *)sender
             willSendRequest:(NSURLRequest *)next
            redirectResponse:(NSURLResponse *)response {
    if (response == nil) {
        return next;
    }
    NSURL *url = [NSURL URLWithString:[[next URL] relativeString] relativeToURL:[response URL]];
    NSMutableURLRequest *redirected = [[next mutableCopy] autorelease];
    [redirected setURL:[url absoluteURL]];
    NSURLRequest *chosen = nil;
    NSURLRequest **const place = &chosen; // a block that holds no objects does not need the blocks' runtime
    [session->delegate URLSession:session
                              task:self
        willPerformHTTPRedirection:(NSHTTPURLResponse *)response
                        newRequest:redirected
                 completionHandler:^(NSURLRequest *result) {
                   *place = result;
                 }];
    return chosen;
}

- (void)connection:(NSURLConnection *)sender didReceiveResponse:(NSURLResponse *)response {
    if ([response isKindOfClass:[NSHTTPURLResponse class]] && [(NSHTTPURLResponse *)response statusCode] == 0) {
        [self cancel]; // nothing was received
        [self connection:nil didFailWithError:nil];
        return;
    }
    answered = YES;
    NSURLSessionResponseDisposition chosen = NSURLSessionResponseCancel;
    NSURLSessionResponseDisposition *const place = &chosen;
    [session->delegate URLSession:session
                         dataTask:(NSURLSessionDataTask *)self
               didReceiveResponse:response
                completionHandler:^(NSURLSessionResponseDisposition result) {
                  *place = result;
                }];
    if (chosen == NSURLSessionResponseCancel) {
        [self cancel];
    }
}

- (void)connection:(NSURLConnection *)sender didReceiveData:(NSData *)data {
    [session->delegate URLSession:session dataTask:(NSURLSessionDataTask *)self didReceiveData:data];
}

- (void)connection:(NSURLConnection *)sender didFailWithError:(NSError *)error {
    NSDictionary *info =
        [NSDictionary dictionaryWithObjectsAndKeys:error != nil ? [error localizedDescription] : @"nothing came",
                                                   NSLocalizedDescriptionKey, [[request URL] absoluteString],
                                                   NSURLErrorFailingURLStringErrorKey, nil];
    const NSInteger code = answered ? NSURLErrorNetworkConnectionLost : NSURLErrorCannotConnectToHost;
    [session->delegate URLSession:session
                             task:self
             didCompleteWithError:[NSError errorWithDomain:NSURLErrorDomain code:code userInfo:info]];
}

- (void)connectionDidFinishLoading:(NSURLConnection *)sender {
    [session->delegate URLSession:session task:self didCompleteWithError:nil];
}

@end

@implementation NSURLSessionDataTask
@end
