#include "platform/Thread.h"

#include <memory>
#include <system_error>
#include <utility>

namespace kestrav::platform {

namespace {

using Body = std::function<void()>;

void *run(void *argument) noexcept {
    const std::unique_ptr<Body> body(static_cast<Body *>(argument));
    (*body)();
    return nullptr;
}

} // namespace

Thread::Thread(Body body, std::size_t stackSize) {
    auto owned = std::make_unique<Body>(std::move(body));
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error == 0) {
        error = pthread_attr_setstacksize(&attributes, stackSize);
        if (error == 0) {
            error = pthread_create(&thread_, &attributes, run, owned.get());
        }
        pthread_attr_destroy(&attributes);
    }
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "could not start a thread");
    }
    static_cast<void>(owned.release()); // the thread owns it now
    running_ = true;
}

Thread::Thread(Thread &&other) noexcept : thread_(other.thread_), running_(std::exchange(other.running_, false)) {}

Thread &Thread::operator=(Thread &&other) noexcept {
    if (this != &other) {
        if (running_) {
            std::terminate();
        }
        thread_ = other.thread_;
        running_ = std::exchange(other.running_, false);
    }
    return *this;
}

Thread::~Thread() {
    if (running_) {
        std::terminate();
    }
}

void Thread::join() {
    if (std::exchange(running_, false)) {
        pthread_join(thread_, nullptr); // cannot fail for our own threads
    }
}

void Thread::detach() {
    if (std::exchange(running_, false)) {
        pthread_detach(thread_);
    }
}

} // namespace kestrav::platform
