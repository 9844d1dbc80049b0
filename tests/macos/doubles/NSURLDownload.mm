#import <Foundation/Foundation.h>

// GNUstep's NSURLDownload does nothing. This one loads with NSURLConnection, writes the file, and tells its delegate
// what the real one does.

@protocol DownloadDelegate
- (NSURLRequest *)download:(NSURLDownload *)download
           willSendRequest:(NSURLRequest *)request
          redirectResponse:(NSURLResponse *)response;
- (void)download:(NSURLDownload *)download didReceiveResponse:(NSURLResponse *)response;
- (BOOL)download:(NSURLDownload *)download shouldDecodeSourceDataOfMIMEType:(NSString *)type;
- (void)download:(NSURLDownload *)download didReceiveDataOfLength:(NSUInteger)length;
- (void)download:(NSURLDownload *)download didFailWithError:(NSError *)error;
- (void)downloadDidFinish:(NSURLDownload *)download;
@end

/// The state of one download, and its connection's delegate.
@interface DownloadDouble : NSObject {
@public
    NSURLDownload *download; // not owned
    id<DownloadDelegate> delegate;
    NSURLRequest *request;
    NSURLConnection *connection;
    NSString *path;
    NSFileHandle *file;
    BOOL allowOverwrite;
    BOOL deletesFile;
}
- (void)end;
- (void)fail:(NSError *)error;
@end

@implementation DownloadDouble

- (void)dealloc {
    [request release];
    [path release];
    [super dealloc];
}

/// Nothing is told after this.
- (void)end {
    delegate = nil;
    [connection cancel];
    [connection autorelease];
    connection = nil;
    [file closeFile];
    [file release];
    file = nil;
}

- (void)fail:(NSError *)error {
    id<DownloadDelegate> told = delegate;
    [self end];
    if (deletesFile) {
        [[NSFileManager defaultManager] removeFileAtPath:path handler:nil];
    }
    [told download:download didFailWithError:error];
}

- (NSURLRequest *)connection:(NSURLConnection *)from
             willSendRequest:(NSURLRequest *)next
            redirectResponse:(NSURLResponse *)response {
    NSURL *url = [[NSURL URLWithString:[[next URL] relativeString] relativeToURL:[response URL]] absoluteURL];
    NSMutableURLRequest *resolved = [[next mutableCopy] autorelease];
    [resolved setURL:url];
    return [delegate download:download willSendRequest:response != nil ? resolved : next redirectResponse:response];
}

- (void)connection:(NSURLConnection *)from didReceiveResponse:(NSURLResponse *)response {
    NSFileManager *files = [NSFileManager defaultManager];
    if ((!allowOverwrite && [files fileExistsAtPath:path]) || ![files createFileAtPath:path
                                                                              contents:[NSData data]
                                                                            attributes:nil]) {
        [self fail:[NSError errorWithDomain:NSURLErrorDomain code:NSURLErrorCannotCreateFile userInfo:nil]];
        return;
    }
    file = [[NSFileHandle fileHandleForWritingAtPath:path] retain];
    [delegate download:download didReceiveResponse:response];
    [delegate download:download shouldDecodeSourceDataOfMIMEType:[response MIMEType]];
}

- (void)connection:(NSURLConnection *)from didReceiveData:(NSData *)data {
    [file writeData:data];
    [delegate download:download didReceiveDataOfLength:[data length]];
}

- (void)connection:(NSURLConnection *)from didFailWithError:(NSError *)error {
    [self fail:error];
}

- (void)connectionDidFinishLoading:(NSURLConnection *)from {
    id<DownloadDelegate> told = delegate;
    [self end];
    [told downloadDidFinish:download];
}

@end

#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"
#define STATE static_cast<DownloadDouble *>(_NSURLDownloadInternal)

@implementation NSURLDownload (Double)

- (id)initWithRequest:(NSURLRequest *)request delegate:(id)delegate {
    self = [super init];
    DownloadDouble *state = [[DownloadDouble alloc] init];
    state->download = self;
    state->delegate = delegate;
    state->request = [request copy];
    state->deletesFile = YES;
    _NSURLDownloadInternal = state;
    return self;
}

- (void)dealloc {
    [STATE end];
    [STATE release];
    [super dealloc];
}

- (NSURLRequest *)request {
    return STATE->request;
}

- (void)setDeletesFileUponFailure:(BOOL)deletes {
    STATE->deletesFile = deletes;
}

- (void)setDestination:(NSString *)path allowOverwrite:(BOOL)allowOverwrite {
    STATE->path = [path copy];
    STATE->allowOverwrite = allowOverwrite;
    STATE->connection = [[NSURLConnection alloc] initWithRequest:STATE->request delegate:STATE];
}

- (void)cancel {
    [STATE end];
}

@end
