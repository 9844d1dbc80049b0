#pragma once

#include "platform/FileDescriptor.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace kestrav::platform {

/// A list of tasks for the main thread, run in the order posted. A descriptor becomes readable while tasks wait, so
/// that any event loop can watch it.
class OperationQueue {
public:
    using Operation = std::function<void()>;

    /// The main thread's queue. Lives until the process ends.
    [[nodiscard]] static OperationQueue &mainQueue();

    OperationQueue();

    /// Posts a task. Any thread.
    void addOperation(Operation operation);

    /// Posts a task that stands for the newest value of something: it takes the place of an earlier task of the same
    /// name if that is the last one posted and has not run yet, so the order relative to other tasks is kept. Any
    /// thread.
    void addMergedOperation(std::string_view name, Operation operation);

    /// Readable while tasks wait. If the system fails to make it readable, the next task tries again, so an event loop
    /// that must not miss a task also looks at the queue now and then.
    [[nodiscard]] int descriptor() const { return readEnd_.get(); }

    /// Runs the tasks that wait, and those they post, until none is left. Main thread only.
    void runPending();

    /// Blocks until a task waits, then runs what waits. Main thread only.
    void waitAndRun();

private:
    struct Entry {
        std::string name; // empty: never merged
        Operation operation;
    };
    void post(Entry entry);
    void makeReadable();
    void makeUnreadable();

    std::mutex mutex_; // guards the following
    std::condition_variable posted_;
    std::deque<Entry> entries_;
    bool readable_ = false; // the pipe holds a byte
    FileDescriptor readEnd_;
    FileDescriptor writeEnd_;
};

} // namespace kestrav::platform
