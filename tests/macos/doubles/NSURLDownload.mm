#import <Foundation/Foundation.h>

// GNUstep's NSURLDownload does nothing. This one loads with NSURLConnection, writes the file, and tells its delegate
// what the real one does; it leaves a file behind when it fails.

namespace {

struct State {
    id delegate = nil; // nil once nothing more is told
    NSURLRequest *request = nil;
    NSURLConnection *connection = nil;
    NSFileHandle *file = nil;
};

} // namespace

#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"
#define STATE static_cast<State *>(_NSURLDownloadInternal)

@implementation NSURLDownload (Double)

- (id)initWithRequest:(NSURLRequest *)request delegate:(id)delegate {
    self = [super init];
    _NSURLDownloadInternal = new State{delegate, [request copy]};
    return self;
}

- (void)dealloc {
    [self cancel];
    [STATE->request release];
    delete STATE;
    [super dealloc];
}

- (NSURLRequest *)request {
    return STATE->request;
}

- (void)setDeletesFileUponFailure:(BOOL)deletes {
}

- (void)setDestination:(NSString *)path allowOverwrite:(BOOL)allowOverwrite {
    path = allowOverwrite ? path : [path stringByAppendingString:@"-1"];
    [[NSFileManager defaultManager] createFileAtPath:path contents:[NSData data] attributes:nil];
    STATE->file = [[NSFileHandle fileHandleForWritingAtPath:path] retain];
    STATE->connection = [[NSURLConnection alloc] initWithRequest:STATE->request delegate:self];
}

- (void)cancel {
    STATE->delegate = nil;
    [STATE->connection cancel];
    [STATE->connection autorelease]; // this may be a call of its
    STATE->connection = nil;
    [STATE->file closeFile];
    [STATE->file release];
    STATE->file = nil;
}

- (NSURLRequest *)connection:(NSURLConnection *)connection
             willSendRequest:(NSURLRequest *)next
            redirectResponse:(NSURLResponse *)response {
    if (response != nil) {
        NSURL *url = [NSURL URLWithString:[[next URL] relativeString] relativeToURL:[response URL]];
        next = [[next mutableCopy] autorelease];
        [(NSMutableURLRequest *)next setURL:[url absoluteURL]];
    }
    return [STATE->delegate download:self willSendRequest:next redirectResponse:response];
}

- (void)connection:(NSURLConnection *)connection didReceiveResponse:(NSURLResponse *)response {
    [STATE->delegate download:self didReceiveResponse:response];
    [STATE->delegate download:self shouldDecodeSourceDataOfMIMEType:[response MIMEType]];
}

- (void)connection:(NSURLConnection *)connection didReceiveData:(NSData *)data {
    [STATE->file writeData:data];
    [STATE->delegate download:self didReceiveDataOfLength:[data length]];
}

- (void)connection:(NSURLConnection *)connection didFailWithError:(NSError *)error {
    id told = STATE->delegate;
    [self cancel];
    [told download:self didFailWithError:error];
}

- (void)connectionDidFinishLoading:(NSURLConnection *)connection {
    id told = STATE->delegate;
    [self cancel];
    [told downloadDidFinish:self];
}

@end
