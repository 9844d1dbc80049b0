#pragma once

#import <Foundation/Foundation.h>

/// Has the main thread's run loop run the tasks of `OperationQueue::mainQueue`, whatever else the loop is busy with:
/// also while a menu is open or the application is about to end.
@interface MainQueueWatcher : NSObject {
    NSFileHandle *queue;
}

/// Begins; main thread, once.
+ (void)start;

@end
