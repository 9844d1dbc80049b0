#include "platform/OperationQueue.h"

#include "platform/Exception.h"
#include "platform/Task.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace kestrav::platform {

namespace {

constexpr int attempts = 100; // for calls that should never fail

} // namespace

// The pipe holds a byte from when a task is posted until none is left, unless a system call fails.

OperationQueue &OperationQueue::mainQueue() {
    static NeverDestroyed<OperationQueue> queue;
    return queue.get();
}

OperationQueue::OperationQueue() {
    Pipe pipe;
    for (const FileDescriptor *end : {&pipe.readEnd, &pipe.writeEnd}) {
        if (fcntl(end->get(), F_SETFL, O_NONBLOCK) != 0) {
            throw Exception("OperationQueueException", lastError().message());
        }
    }
    readEnd_ = std::move(pipe.readEnd);
    writeEnd_ = std::move(pipe.writeEnd);
}

void OperationQueue::addOperation(Operation operation) {
    post({{}, std::move(operation)});
}

void OperationQueue::addMergedOperation(std::string_view name, Operation operation) {
    post({std::string(name), std::move(operation)});
}

void OperationQueue::post(Entry entry) {
    const std::lock_guard lock(mutex_);
    if (!entry.name.empty() && !entries_.empty() && entries_.back().name == entry.name) {
        // The replaced task is destroyed with `entry`, after the lock is released, because its destructor may post.
        std::swap(entries_.back(), entry);
        return;
    }
    entries_.push_back(std::move(entry));
    makeReadable();
    posted_.notify_one();
}

void OperationQueue::makeReadable() {
    for (int attempt = 0; attempt < attempts && !readable_; ++attempt) {
        readable_ = write(writeEnd_.get(), "", 1) == 1;
    }
}

void OperationQueue::makeUnreadable() {
    char byte = 0;
    for (int attempt = 0; attempt < attempts && readable_; ++attempt) {
        readable_ = read(readEnd_.get(), &byte, 1) != 1;
    }
}

void OperationQueue::runPending() {
    for (;;) {
        Entry entry;
        {
            const std::lock_guard lock(mutex_);
            if (entries_.empty()) {
                makeUnreadable();
                return;
            }
            entry = std::move(entries_.front());
            entries_.pop_front();
        }
        entry.operation();
    }
}

void OperationQueue::waitAndRun() {
    {
        std::unique_lock lock(mutex_);
        posted_.wait(lock, [this] { return !entries_.empty(); });
    }
    runPending();
}

} // namespace kestrav::platform
