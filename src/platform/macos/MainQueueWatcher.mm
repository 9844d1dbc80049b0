#import "platform/macos/MainQueueWatcher.h"

#include "platform/OperationQueue.h"

#import <AppKit/AppKit.h>

using kestrav::platform::OperationQueue;

@implementation MainQueueWatcher

+ (void)startFor:(kestrav::platform::ApplicationDelegate *)program {
    static MainQueueWatcher *watcher = nil;
    if (watcher == nil) {
        watcher = [[MainQueueWatcher alloc] init];
        watcher->delegate = program;
        [watcher watch];
    }
}

- (id)init {
    self = [super init];
    if (self != nil) {
        queue = [[NSFileHandle alloc] initWithFileDescriptor:OperationQueue::mainQueue().descriptor()
                                              closeOnDealloc:NO];
        [[NSNotificationCenter defaultCenter] addObserver:self
                                                 selector:@selector(runTasks:)
                                                     name:NSFileHandleDataAvailableNotification
                                                   object:queue];
    }
    return self;
}

- (void)watch {
    NSArray *modes =
        [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode, nil];
    [queue waitForDataInBackgroundAndNotifyForModes:modes];
}

- (void)runTasks:(NSNotification *)notification {
    callProgram(*delegate, [] { OperationQueue::mainQueue().runPending(); });
    [self watch];
}

@end
