// Standard input reaches the child byte for byte, and its end does too.

#include "Launch.h"
#include "Terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <map>
#include <random>

namespace kestrav::tests {
namespace {

/// A pipe, whose write end is closed with this object.
class InputPipe {
public:
    explicit InputPipe(int flags = 0) {
        EXPECT_EQ(pipe2(ends_.data(), O_CLOEXEC), 0);
        fcntl(ends_[0], F_SETFL, flags);
    }
    InputPipe(const InputPipe &) = delete;
    InputPipe &operator=(const InputPipe &) = delete;
    ~InputPipe() {
        close(ends_[0]);
        closeWriteEnd();
    }
    [[nodiscard]] int readEnd() const { return ends_[0]; }
    void write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t count = ::write(ends_[1], bytes.data(), bytes.size());
            ASSERT_GT(count, 0);
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    void closeWriteEnd() {
        if (ends_[1] >= 0) {
            close(ends_[1]);
            ends_[1] = -1;
        }
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

/// Every byte value, in no order that a lost or doubled block would keep.
std::string noise(std::size_t size) {
    std::mt19937_64 random(size); // NOLINT(cert-msc51-cpp): the same every time
    std::string bytes(size, '\0');
    for (char &byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

/// A run whose child copies its standard input.
std::unique_ptr<Launch> copyingRun(const AppBundle &bundle, Start start, const TemporaryDirectory &folder,
                                   const std::string &name) {
    start.environment["FAKE_STDIN"] = folder / name;
    return std::make_unique<Launch>(bundle, start);
}

TEST(StandardInput, ReachesTheChildWholeAndInOrder) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    std::map<std::string, std::string> expected;
    std::map<std::string, std::unique_ptr<Launch>> runs;
    const auto start = [&](const std::string &name, Start settings, std::string content) {
        expected[name] = std::move(content);
        runs[name] = copyingRun(bundle, std::move(settings), folder, name);
    };

    start("nothing", {}, "");
    start("closed", {.descriptorsClosed = true}, "");
    EXPECT_EQ(runs["closed"]->report().descriptors, (std::set<std::string>{"0", "1", "2"}));
    const int writeOnly = open("/dev/null", O_WRONLY | O_CLOEXEC);
    start("unreadable", {.standardInput = writeOnly}, "");
    close(writeOnly);
    const std::string fileContent = noise(3'000'001);
    const int file = open(folder.write("file", fileContent).c_str(), O_RDONLY | O_CLOEXEC);
    start("file copy", {.standardInput = file}, fileContent);
    close(file);

    InputPipe burst;
    start("burst", {.standardInput = burst.readEnd()}, noise(64U << 20U));
    burst.write(expected["burst"]);
    burst.closeWriteEnd();

    // The next piece only when the child has all before it; the descriptor does not block, as a parent may leave it.
    InputPipe slow(O_NONBLOCK);
    start("slow", {.standardInput = slow.readEnd()}, "");
    for (const char *piece : {"a", "line\n", "\xFF", "last"}) {
        slow.write(piece);
        expected["slow"] += piece;
        waitUntil([&] { return contentOf(folder / "slow") == expected["slow"]; }, "a piece of the input");
    }
    slow.closeWriteEnd();

    for (const auto &[name, run] : runs) {
        EXPECT_EQ(run->wait(), 0) << name << run->errors();
        EXPECT_TRUE(contentOf(folder / name) == expected[name]) << name;
    }
}

TEST(StandardInput, ChildThatNeverReadsEndsTheRunAllTheSame) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const InputPipe open; // never written, never closed
    const int file = ::open(folder.write("file", noise(1U << 20U)).c_str(), O_RDONLY | O_CLOEXEC);
    Launch waiting(bundle, {.environment = {{"FAKE_EXIT", "4"}}, .standardInput = open.readEnd()});
    Launch blocked(bundle, {.environment = {{"FAKE_EXIT", "5"}}, .standardInput = file});
    close(file);
    EXPECT_EQ(waiting.wait(), 4);
    EXPECT_EQ(blocked.wait(), 5);
}

TEST(StandardInput, TerminalIsReadOnlyInItsForeground) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const Terminal front;
    const Terminal back;
    const auto foreground = copyingRun(bundle, {.terminal = front.slave()}, folder, "foreground");
    const auto background = copyingRun(bundle, {.terminal = back.slave(), .inBackground = true}, folder, "background");
    for (const Terminal *terminal : {&front, &back}) {
        terminal->type("a line\nand another\n\x04"); // ends with the end-of-file key
    }
    EXPECT_EQ(foreground->wait(), 0) << foreground->errors();
    EXPECT_EQ(contentOf(folder / "foreground"), "a line\nand another\n");

    EXPECT_TRUE(background->report().has("org.example.Main"));
    EXPECT_EQ(contentOf(folder / "background"), "");
    background->sendSignal(SIGUSR1);
    EXPECT_EQ(background->wait(), 0) << background->errors();
    EXPECT_EQ(contentOf(folder / "background"), "a line\nand another\n");
}

} // namespace
} // namespace kestrav::tests
