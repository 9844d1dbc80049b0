#include "platform/support/DownloadSupport.h"

#include "platform/OperationQueue.h"
#include "platform/Signals.h"
#include "platform/testing.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <thread>

namespace kestrav::tests {

namespace {

std::ptrdiff_t threadCount() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

std::ptrdiff_t idleThreadCount() {
    static const std::ptrdiff_t count = [] {
        std::ptrdiff_t others = 0; // the thread sanitizer starts a thread of its own with the first one
        std::thread([&] { others = threadCount() - 1; }).join();
        return others;
    }();
    return count;
}

} // namespace

void prepareDownloads() {
    idleThreadCount();
    platform::Signals::ignoreWriteSignals();
    for (const char *variable : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
        unsetenv(variable);
    }
    platform::testing::replacements().mainBundle = platform::Bundle::create(KESTRAV_TEST_BUNDLE);
}

void finishDownloads(int others) {
    while (threadCount() > idleThreadCount() + others) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void runMainLoop(bool wait) {
    auto &queue = platform::OperationQueue::mainQueue();
    wait ? queue.waitAndRun() : queue.runPending();
}

} // namespace kestrav::tests
