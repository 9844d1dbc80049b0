#include "platform/OperationQueue.h"

#include <gmock/gmock.h>

#include <poll.h>

#include <memory>
#include <thread>
#include <vector>

namespace kestrav::platform {
namespace {

bool readable(const OperationQueue &queue) {
    pollfd state{queue.descriptor(), POLLIN, 0};
    return poll(&state, 1, 0) == 1;
}

TEST(OperationQueueTests, OrderAndMerging) {
    const struct {
        std::vector<std::pair<std::string, std::string>> posts; // name (empty: not merged) and text
        std::string ran;
    } cases[] = {
        {{{"", "1"}, {"", "2"}, {"", "3"}}, "123"},
        {{{"bar", "1"}, {"bar", "2"}, {"bar", "3"}}, "3"},
        {{{"bar", "1"}, {"text", "2"}, {"bar", "3"}, {"bar", "4"}}, "124"}, // order towards others holds
        {{{"bar", "1"}, {"", "2"}, {"bar", "3"}}, "123"},
    };
    for (const auto &test : cases) {
        OperationQueue queue;
        std::string ran;
        for (const auto &[name, text] : test.posts) {
            const auto operation = [&ran, added = text] { ran += added; };
            name.empty() ? queue.addOperation(operation) : queue.addMergedOperation(name, operation);
        }
        queue.runPending();
        EXPECT_EQ(ran, test.ran);
        EXPECT_FALSE(readable(queue));
    }
}

TEST(OperationQueueTests, DescriptorTellsWhetherTasksWait) {
    OperationQueue queue;
    EXPECT_FALSE(readable(queue));
    int left = 100'000; // more than a pipe has room for
    std::function<void()> again = [&] {
        if (--left > 0) {
            queue.addOperation(again);
        }
    };
    queue.addOperation(again);
    EXPECT_TRUE(readable(queue));
    queue.runPending();
    EXPECT_EQ(left, 0);
    EXPECT_FALSE(readable(queue));
}

TEST(OperationQueueTests, ReplacedTaskMayPostWhileItIsDestroyed) {
    OperationQueue queue;
    int ran = 0;
    const auto post = [&](int *) { queue.addOperation([&] { ++ran; }); };
    queue.addMergedOperation("bar", [guard = std::shared_ptr<int>(&ran, post)] {});
    queue.addMergedOperation("bar", [&] { ++ran; });
    queue.runPending();
    EXPECT_EQ(ran, 2);
}

TEST(OperationQueueTests, ThreadsKeepTheirOwnOrder) {
    constexpr int Count = 2000;
    OperationQueue queue;
    std::vector<std::vector<int>> seen(4);
    std::vector<std::thread> threads;
    for (auto &list : seen) {
        threads.emplace_back([&queue, &list] {
            for (int number = 0; number < Count; ++number) {
                queue.addOperation([&list, number] { list.push_back(number); });
            }
        });
    }
    const auto complete = [&] {
        return std::all_of(seen.begin(), seen.end(), [](const auto &list) { return list.size() == Count; });
    };
    while (!complete()) {
        queue.waitAndRun();
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const auto &list : seen) {
        EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
    }
}

} // namespace
} // namespace kestrav::platform
