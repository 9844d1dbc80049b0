#include "platform/OperationQueue.h"

#include "platform/Exception.h"
#include "platform/Task.h"
#include "platform/posix/NeverDestroyed.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kestrav::platform {

// While entries_ holds anything the pipe holds one byte, otherwise none; both change under the mutex.

OperationQueue &OperationQueue::mainQueue() {
    static NeverDestroyed<OperationQueue> queue;
    return queue.get();
}

OperationQueue::OperationQueue() {
    Pipe pipe;
    for (const FileDescriptor *end : {&pipe.readEnd, &pipe.writeEnd}) {
        if (fcntl(end->get(), F_SETFL, O_NONBLOCK) != 0) {
            throw Exception("OperationQueueException", std::generic_category().message(errno));
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
        // What is replaced ends with `entry`, which outlives the lock: its destructor may post.
        std::swap(entries_.back(), entry);
        return;
    }
    entries_.push_back(std::move(entry));
    if (entries_.size() == 1) {
        while (write(writeEnd_.get(), "", 1) < 0 && errno == EINTR) {
        }
    }
}

void OperationQueue::runPending() {
    for (;;) {
        Entry entry;
        {
            const std::lock_guard lock(mutex_);
            if (entries_.empty()) {
                return;
            }
            entry = std::move(entries_.front());
            entries_.pop_front();
            char byte = 0;
            while (entries_.empty() && read(readEnd_.get(), &byte, 1) < 0 && errno == EINTR) {
            }
        }
        entry.operation();
    }
}

void OperationQueue::waitAndRun() {
    pollfd readable{readEnd_.get(), POLLIN, 0};
    while (poll(&readable, 1, -1) < 0 && errno == EINTR) {
    }
    runPending();
}

} // namespace kestrav::platform
