#pragma once

// GNUstep has no NSURLSession on Debian. This declares the part that the download uses, as the platform does; GNUstep's
// Foundation.h includes it instead of its own header, which is empty. Apple's compiler has blocks switched on.

#import <Foundation/NSObject.h>

@class NSData, NSError, NSHTTPURLResponse, NSOperationQueue, NSURLConnection, NSURLRequest, NSURLResponse;
@class NSURLSession, NSURLSessionDataTask, NSURLSessionTask;

enum NSURLSessionResponseDisposition { NSURLSessionResponseCancel = 0, NSURLSessionResponseAllow = 1 };

@protocol NSURLSessionDataDelegate <NSObject>
@optional
- (void)URLSession:(NSURLSession *)session
                          task:(NSURLSessionTask *)task
    willPerformHTTPRedirection:(NSHTTPURLResponse *)response
                    newRequest:(NSURLRequest *)request
             completionHandler:(void (^)(NSURLRequest *))completionHandler;
- (void)URLSession:(NSURLSession *)session task:(NSURLSessionTask *)task didCompleteWithError:(NSError *)error;
- (void)URLSession:(NSURLSession *)session
              dataTask:(NSURLSessionDataTask *)task
    didReceiveResponse:(NSURLResponse *)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler;
- (void)URLSession:(NSURLSession *)session dataTask:(NSURLSessionDataTask *)task didReceiveData:(NSData *)data;
@end

@interface NSURLSessionConfiguration : NSObject
+ (NSURLSessionConfiguration *)ephemeralSessionConfiguration;
@end

@interface NSURLSessionTask : NSObject {
@public
    NSURLSession *session;
    NSURLRequest *request;
    NSURLConnection *connection;
    BOOL answered;
}
- (void)resume;
- (void)cancel;
@end

@interface NSURLSessionDataTask : NSURLSessionTask
@end

@interface NSURLSession : NSObject {
@public
    id<NSURLSessionDataDelegate> delegate; // nil once it gets no more calls
}
+ (NSURLSession *)sessionWithConfiguration:(NSURLSessionConfiguration *)configuration
                                  delegate:(id<NSURLSessionDataDelegate>)delegate
                             delegateQueue:(NSOperationQueue *)queue;
- (NSURLSessionDataTask *)dataTaskWithRequest:(NSURLRequest *)request;
- (void)invalidateAndCancel;
- (void)finishTasksAndInvalidate;
@end
