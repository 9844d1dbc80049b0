// Standard input reaches the child byte for byte, and its end does too.

#include "Launch.h"
#include "Terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <random>
#include <utility>
#include <vector>

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
        EXPECT_EQ(::write(ends_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    void closeWriteEnd() { close(std::exchange(ends_[1], -1)); }

private:
    std::array<int, 2> ends_{-1, -1};
};

/// Every byte value, in no order that a lost or doubled block would keep.
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
    const std::string fileContent = noise(3'000'001);
    const int file = open(folder.write("file", fileContent).c_str(), O_RDONLY | O_CLOEXEC);
    const int writeOnly = open("/dev/null", O_WRONLY | O_CLOEXEC);
    InputPipe burst;
    InputPipe slow(O_NONBLOCK); // as a parent may leave it
    struct Case {
        const char *name;
        Start start;
        std::string expected;
    };
    Case cases[] = {{"nothing", {}, ""},
                    {"closed", {.descriptorsClosed = true}, ""},
                    {"unreadable", {.standardInput = writeOnly}, ""},
                    {"file copy", {.standardInput = file}, fileContent},
                    {"burst", {.standardInput = burst.readEnd()}, noise(64U << 20U)},
                    {"slow", {.standardInput = slow.readEnd()}, ""}};
    Launches runs;
    for (const Case &each : cases) {
        runs.push_back(copyingRun(bundle, each.start, folder, each.name));
    }
    close(file);
    close(writeOnly);
    EXPECT_EQ(runs[1]->report().descriptors, (std::set<std::string>{"0", "1", "2"}));
    burst.write(cases[4].expected);
    burst.closeWriteEnd();
    for (const char *piece : {"a", "line\n", "\xFF", "last"}) { // the next only when the child has all before it
        slow.write(piece);
        cases[5].expected += piece;
        waitUntil([&] { return contentOf(folder / "slow") == cases[5].expected; }, "a piece of the input");
    }
    slow.closeWriteEnd();
    expectStatus(runs, 0);
    for (const Case &each : cases) {
        EXPECT_TRUE(contentOf(folder / each.name) == each.expected) << each.name;
    }
}

TEST(StandardInput, KeepsWhatTheChildDoesNotRead) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const std::string content = noise(60'000); // a pipe holds it
    struct Case {
        std::size_t size; // that the child reads
        bool file;
        bool end; // of the input is there
    };
    const Case cases[] = {{0, true, true},   {70, true, true},   {60'000, true, true},  {0, false, true},
                          {0, false, false}, {70, false, false}, {59'000, false, true}, {60'000, false, false}};
    Launches runs;
    std::vector<std::unique_ptr<InputPipe>> pipes;
    std::vector<int> inputs;
    for (const auto &[size, isFile, hasEnd] : cases) {
        pipes.push_back(std::make_unique<InputPipe>());
        pipes.back()->write(content);
        if (hasEnd) {
            pipes.back()->closeWriteEnd();
        }
        inputs.push_back(isFile ? open(folder.write("file", content).c_str(), O_RDONLY | O_CLOEXEC)
                                : dup(pipes.back()->readEnd()));
        Start start{.environment = {{"FAKE_STDIN_SIZE", std::to_string(size)}}, .standardInput = inputs.back()};
        runs.push_back(copyingRun(bundle, start, folder, std::to_string(runs.size())));
    }
    expectStatus(runs, 0);
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::size_t size = cases[i].size;
        EXPECT_TRUE(contentOf(folder / std::to_string(i)) == content.substr(0, size)) << i;
        std::string rest(content.size() + 1, '\0');
        fcntl(inputs[i], F_SETFL, O_NONBLOCK);
        rest.resize(static_cast<std::size_t>(std::max<ssize_t>(read(inputs[i], rest.data(), rest.size()), 0)));
        EXPECT_TRUE(rest == content.substr(size)) << i << ": " << rest.size() << " bytes are left";
        close(inputs[i]);
    }
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
