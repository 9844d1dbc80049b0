// What reaches a child of the launcher's standard input, and what is left for others.

#include "Launch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <random>
#include <tuple>

namespace kestrav::tests {
namespace {

using platform::FileDescriptor;
using platform::writeAll;

/// The two ends of a pipe.
std::pair<FileDescriptor, FileDescriptor> makePipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// Every byte value, in an order that a lost or repeated block would break.
std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), std::mt19937_64(size)); // NOLINT: the same every time
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
    const auto writeOnly = FileDescriptor::open("/dev/null", O_WRONLY);
    auto [burst, burstEnd] = makePipe();
    auto [slow, slowEnd] = makePipe();
    fcntl(slow.get(), F_SETFL, O_NONBLOCK); // as a parent process may leave it
    const auto closed =
        copyingRun(bundle, {.by = {"/bin/sh", "-c", R"(exec "$@" <&- >&- 2>&-)", "sh"}}, folder, "closed");
    const auto unreadable = copyingRun(bundle, {.standardInput = writeOnly.get()}, folder, "unreadable");
    const auto fast = copyingRun(bundle, {.standardInput = burst.get()}, folder, "burst");
    const auto waiting = copyingRun(bundle, {.standardInput = slow.get()}, folder, "slow");
    EXPECT_EQ(closed->report().descriptors, (std::set<std::string>{"0", "1", "2"}));
    const std::string content = noise(64U << 20U);
    EXPECT_TRUE(writeAll(burstEnd.get(), content));
    burstEnd.reset();
    std::string expected;
    for (const std::string piece : {"a", "line\n", "\xFF", "last"}) { // sent once the child has the previous one
        EXPECT_TRUE(writeAll(slowEnd.get(), piece));
        expected += piece;
        waitUntil([&] { return contentOf(folder / "slow") == expected; }, "a piece of the input");
    }
    slowEnd.reset();
    for (Launch *run : {closed.get(), unreadable.get(), fast.get(), waiting.get()}) {
        EXPECT_EQ(run->wait(), 0) << run->errors();
    }
    EXPECT_EQ(contentOf(folder / "closed") + contentOf(folder / "unreadable"), "");
    EXPECT_TRUE(contentOf(folder / "burst") == content);
}

TEST(StandardInput, KeepsWhatTheChildDoesNotRead) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const std::string content = noise(60'000); // a pipe holds it
    struct Case {
        std::size_t size; // how much the child reads
        bool isFile;
        bool hasEnd; // the input ends
        FileDescriptor input = {}, end = {};
        std::unique_ptr<Launch> run = nullptr;
    };
    Case cases[] = {{70, true, true}, {0, false, true}, {59'000, false, true}, {60'000, false, false}};
    for (auto &[size, isFile, hasEnd, input, end, run] : cases) {
        std::tie(input, end) = makePipe();
        EXPECT_TRUE(writeAll(end.get(), content));
        if (hasEnd) {
            end.reset();
        }
        if (isFile) {
            input = FileDescriptor::open(folder.write("file", content).c_str(), O_RDONLY);
        }
        const std::string name = std::to_string(size);
        const Start start{.environment = {{"FAKE_STDIN_SIZE", name}}, .standardInput = input.get()};
        run = copyingRun(bundle, start, folder, name);
    }
    for (const auto &[size, isFile, hasEnd, input, end, run] : cases) {
        EXPECT_EQ(run->wait(), 0);
        EXPECT_TRUE(contentOf(folder / std::to_string(size)) == content.substr(0, size)) << size;
        std::string rest(content.size() + 1, '\0');
        fcntl(input.get(), F_SETFL, O_NONBLOCK);
        rest.resize(static_cast<std::size_t>(std::max<ssize_t>(read(input.get(), rest.data(), rest.size()), 0)));
        EXPECT_TRUE(rest == content.substr(size)) << size << ": " << rest.size() << " bytes are left";
    }
}

TEST(StandardInput, TerminalIsReadOnlyInItsForeground) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const Terminal front;
    const Terminal back;
    const auto foreground = copyingRun(bundle, {.terminal = front.slave()}, folder, "foreground");
    const char *const session = "$SIG{USR1} = sub { tcsetpgrp(0, $program) }; $program = fork;"
                                "setpgid(0, 0), exec @ARGV unless $program;"
                                "1 while waitpid($program, 0) < 0; exit $? >> 8";
    const auto background = copyingRun(
        bundle, {.by = {"/usr/bin/perl", "-MPOSIX", "-e", session}, .terminal = back.slave()}, folder, "background");
    for (const Terminal *terminal : {&front, &back}) {
        terminal->type("a line\nand another\n\x04"); // the last is the end-of-file key
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
