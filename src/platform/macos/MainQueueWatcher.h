#pragma once

#include "platform/Application.h"

#import <Foundation/Foundation.h>

/// Has the main thread's run loop run the tasks of `OperationQueue::mainQueue`, whatever else the loop is busy with:
/// also while a menu is open or the application is about to end.
@interface MainQueueWatcher : NSObject {
    NSFileHandle *queue;
    kestrav::platform::ApplicationDelegate *delegate;
}

/// Begins; main thread, once. The delegate hears of a task that fails and lives until the process ends.
+ (void)startFor:(kestrav::platform::ApplicationDelegate *)delegate;

@end
