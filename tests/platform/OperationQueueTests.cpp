#include "platform/OperationQueue.h"

#include <gmock/gmock.h>

#include <poll.h>

#include <memory>
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
    int ran = 0;
    for (int count = 0; count < 100'000; ++count) { // more than a pipe has room for
        queue.addOperation([&] { ++ran; });
    }
    EXPECT_TRUE(readable(queue));
    queue.runPending();
    EXPECT_EQ(ran, 100'000);
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

} // namespace
} // namespace kestrav::platform
