#include "platform/Exception.h"
#include "platform/FileDescriptor.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/Task.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <set>
#include <sstream>
#include <thread>

namespace kestrav::platform {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char *Child = KESTRAV_TASK_CHILD;

int runChild(std::vector<std::string> arguments) {
    Task task(Child, std::move(arguments));
    task.launch();
    task.waitUntilExit();
    return task.terminationStatus();
}

std::string read(const std::string &file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

/// The values of all "KEY VALUE" lines of a report.
std::multiset<std::string> values(const std::string &report, const std::string &key) {
    std::multiset<std::string> result;
    std::istringstream lines(report);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(key + " ")) {
            result.insert(line.substr(key.size() + 1));
        }
    }
    return result;
}

std::multiset<std::string> openDescriptors() {
    std::multiset<std::string> result;
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) {
            result.insert(std::to_string(descriptor));
        }
    }
    return result;
}

/// Puts a test's own standard input back.
class StandardInputKept {
public:
    StandardInputKept() : saved_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100)) {}
    StandardInputKept(const StandardInputKept &) = delete;
    StandardInputKept &operator=(const StandardInputKept &) = delete;
    ~StandardInputKept() { dup2(saved_.get(), STDIN_FILENO); }

private:
    FileDescriptor saved_;
};

TEST(WriteWithin, GivesUpOnAReceiverThatStoppedReading) {
    const Pipe pipe;
    const std::string more(1 << 20, 'x'); // than a pipe holds
    EXPECT_TRUE(writeWithin(pipe.writeEnd.get(), "line", 10));
    EXPECT_FALSE(writeWithin(pipe.writeEnd.get(), more, 10));
}

TEST(TaskTests, StatusOfTheChild) {
    const struct {
        std::vector<std::string> arguments;
        int status;
    } cases[] = {{{"exit", "0"}, 0},     {{"exit", "1"}, 1},    {{"exit", "127"}, 127},
                 {{"exit", "255"}, 255}, {{"raise", "9"}, 137}, {{"raise", "15"}, 143}};
    for (const auto &test : cases) {
        EXPECT_EQ(runChild(test.arguments), test.status);
    }
    // As a parent that does not care for its children hands it down.
    ASSERT_NE(std::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    EXPECT_EQ(runChild({"exit", "7"}), 7);
}

TEST(TaskTests, FailuresToStartNamePathAndReason) {
    const tests::TemporaryDirectory directory;
    const std::string plain = directory.write("plain", "#!/bin/sh\n");
    const std::string noProgram = directory.write("noProgram", "text");
    const std::string orphan = directory.write("orphan", "#!" + (directory / "gone") + "\n");
    chmod(noProgram.c_str(), 0755);
    chmod(orphan.c_str(), 0755);
    const struct {
        std::string path;
        std::vector<std::string> arguments;
        std::string reason;
    } cases[] = {{directory / "gone", {}, "No such file or directory"},
                 {"", {}, "No such file or directory"},
                 {directory.path(), {}, "Permission denied"},
                 {plain, {}, "Permission denied"},
                 {plain + "/java", {}, "Not a directory"},
                 {noProgram, {}, "Exec format error"},
                 {orphan, {}, "the program that it needs to run is missing"},
                 {Child, std::vector<std::string>(100'000, std::string(100, 'x')), "Argument list too long"}};
    for (const auto &test : cases) {
        Task task(test.path, test.arguments);
        try {
            task.launch();
            ADD_FAILURE() << "started " << test.path;
        } catch (const Exception &exception) {
            EXPECT_EQ(exception.name(), "TaskLaunchException");
            EXPECT_EQ(exception.reason(), "could not start " + test.path + ": " + test.reason);
        }
        task.sendSignal(SIGKILL); // to nobody
        EXPECT_THROW(task.waitUntilExit(), Exception);
    }
}

TEST(TaskTests, ChildStartsClean) {
    const tests::TemporaryDirectory directory;
    const auto inherited = openDescriptors();
    const FileDescriptor file = FileDescriptor::open((directory / "file").c_str(), O_CREAT | O_WRONLY, 0600);
    const OperationQueue queue;
    testing::setEnvironment({{"KEPT", "old"}, {"CHANGED", "old"}});
    ProcessInfo::processInfo().setEnvironmentVariable("KEPT", "new", false);
    ProcessInfo::processInfo().setEnvironmentVariable("CHANGED", "a=b", true);
    ProcessInfo::processInfo().setEnvironmentVariable("ADDED", "", false);

    constexpr std::array Numbers = {SIGINT, SIGTERM, SIGPIPE, SIGUSR1};
    sigset_t blocked;
    sigset_t previous;
    sigemptyset(&blocked);
    for (const int number : Numbers) {
        ASSERT_NE(std::signal(number, SIG_IGN), SIG_ERR);
        sigaddset(&blocked, number);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, &previous);
    Pipe input;
    ASSERT_TRUE(writeAll(input.writeEnd.get(), "some text"));
    input.writeEnd.reset();
    Task task(Child, {"report", directory / "report", "", "with space"});
    task.setStandardInput(input.readEnd.get());
    task.launch();
    task.waitUntilExit();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    std::for_each(Numbers.begin(), Numbers.end(), [](int number) { std::signal(number, SIG_DFL); });

    const std::string report = read(directory / "report");
    EXPECT_THAT(values(report, "descriptor"), ::testing::IsSubsetOf(inherited));
    EXPECT_THAT(values(report, "ignored"), IsEmpty());
    EXPECT_THAT(values(report, "blocked"), IsEmpty());
    EXPECT_THAT(values(report, "argument"), ::testing::ElementsAre("", "with space"));
    EXPECT_THAT(values(report, "environment"), ::testing::ElementsAre("ADDED=", "CHANGED=a=b", "KEPT=old"));
    EXPECT_THAT(values(report, "input"), ::testing::ElementsAre("some text"));
}

TEST(TaskTests, ClosedStandardInput) {
    const tests::TemporaryDirectory directory;
    const StandardInputKept kept;
    close(STDIN_FILENO);
    Pipe pipe;
    EXPECT_GT(pipe.readEnd.get(), STDERR_FILENO);
    EXPECT_GT(pipe.writeEnd.get(), STDERR_FILENO);
    ensureStandardDescriptors();
    char byte = 0;
    EXPECT_EQ(::read(STDIN_FILENO, &byte, 1), 0);

    // The child's standard input may be ours already, and close-on-exec at that.
    ASSERT_EQ(dup2(pipe.readEnd.get(), STDIN_FILENO), STDIN_FILENO);
    ASSERT_EQ(fcntl(STDIN_FILENO, F_SETFD, FD_CLOEXEC), 0);
    ASSERT_TRUE(writeAll(pipe.writeEnd.get(), "text"));
    pipe.writeEnd.reset();
    Task task(Child, {"report", directory / "report"});
    task.setStandardInput(STDIN_FILENO);
    task.launch();
    task.waitUntilExit();
    EXPECT_THAT(read(directory / "report"), HasSubstr("input text\n"));
}

TEST(TaskTests, SignalsWhileWaiting) {
    Task waiting(Child, {"wait"});
    waiting.launch();
    std::thread sender([&] { waiting.sendSignal(SIGTERM); });
    waiting.waitUntilExit();
    sender.join();
    EXPECT_EQ(waiting.terminationStatus(), 143);

    for (int round = 0; round < 20; ++round) {
        Task ending(Child, {"exit", "3"});
        std::atomic<bool> stop{false};
        std::thread other([&] {
            while (!stop) {
                ending.sendSignal(SIGTERM);
            }
        });
        ending.launch();
        ending.waitUntilExit();
        stop = true;
        other.join();
        EXPECT_THAT(ending.terminationStatus(), ::testing::AnyOf(3, 143));
    }
}

TEST(TaskTests, WriteAllToASlowReader) {
    Pipe pipe;
    ASSERT_EQ(fcntl(pipe.writeEnd.get(), F_SETFL, O_NONBLOCK), 0);
    const std::string sent(1'000'000, 'x');
    std::size_t received = 0;
    std::thread reader([&] {
        std::array<char, 4096> buffer{};
        for (ssize_t count = 0; (count = ::read(pipe.readEnd.get(), buffer.data(), buffer.size())) > 0;) {
            received += static_cast<std::size_t>(count);
        }
    });
    EXPECT_TRUE(writeAll(pipe.writeEnd.get(), sent));
    pipe.writeEnd.reset();
    reader.join();
    EXPECT_EQ(received, sent.size());
}

TEST(ProcessInfoTests, EnvironmentIsReadLikeGetenv) {
    // In a fresh process, for the copy is made once.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto readEnvironment = [] {
        std::array<std::string, 4> entries = {"A=1", "A=2", "NONE", "B=x=y"};
        std::array<char *, 5> pointers{};
        std::transform(entries.begin(), entries.end(), pointers.begin(), [](auto &text) { return text.data(); });
        environ = pointers.data();
        const auto &environment = ProcessInfo::processInfo().environment();
        _exit(environment == ProcessInfo::Environment{{"A", "1"}, {"B", "x=y"}} ? 0 : 1);
    };
    EXPECT_EXIT(readEnvironment(), ::testing::ExitedWithCode(0), "");
}

TEST(ProcessInfoTests, EndIsFlushedAndFinal) {
    struct Remains {
        ~Remains() { _exit(99); }
    };
    const auto end = [] {
        static const Remains remains;
        // Kept in a buffer until the flush; the death test reads what reaches descriptor 2.
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::fputs("flushed", stdout);
        std::thread([] { endProcess(42); }).join();
    };
    EXPECT_EXIT(end(), ::testing::ExitedWithCode(42), "flushed");
}

} // namespace
} // namespace kestrav::platform
