#include "platform/Exception.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/Reexecution.h"
#include "platform/Signals.h"
#include "platform/Task.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <thread>

namespace kestrav::platform {
namespace {

constexpr const char *Shell = "/bin/sh";

TEST(Exception, SaysWhatWasRaisedAndWhere) {
    EXPECT_STREQ(Exception("Name", "").what(), "Name");
    const Exception exception("Name", "reason");
    EXPECT_STREQ(exception.what(), "reason");
    ASSERT_GE(exception.callStackSymbols().size(), 3U);
    EXPECT_THAT(exception.callStackSymbols().front(), ::testing::MatchesRegex("0   .*platform_tests.*0x.*"));
}

TEST(WriteWithin, GivesUpOnAReceiverThatStoppedReading) {
    const Pipe pipe;
    const std::string more(1 << 20, 'x'); // more than a pipe holds
    EXPECT_TRUE(writeWithin(pipe.writeEnd.get(), "line", 10));
    EXPECT_FALSE(writeWithin(pipe.writeEnd.get(), more, 10));
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
                 {plain, {}, "Permission denied"},
                 {noProgram, {}, "Exec format error"},
                 {orphan, {}, "the program that it needs to run is missing"},
                 {Shell,
                  {"-c", "-Djava.class.path=" + std::string(1 << 22, 'x')},
                  "arguments and environment are longer than the system allows; the longest, of 4194322 bytes, begins "
                  "with \"-Djava.class.path=" +
                      std::string(42, 'x') + "\""}};
    for (const auto &test : cases) {
        Task task(test.path, test.arguments);
        try {
            task.launch();
            ADD_FAILURE() << "started " << test.path;
        } catch (const Exception &exception) {
            EXPECT_EQ(exception.name(), "TaskLaunchException");
            EXPECT_EQ(exception.reason(), "could not start " + test.path + ": " + test.reason);
        }
        task.sendSignal(SIGKILL); // has no effect
        EXPECT_THROW(task.waitUntilExit(), Exception);
    }
}

TEST(TaskTests, AChildGetsNoneOfOurDescriptors) {
    constexpr int descriptor = 9;
    ASSERT_EQ(dup2(STDERR_FILENO, descriptor), descriptor); // as from a library that forgets close-on-exec
    Task task(Shell, {"-c", "! true 2>/dev/null >&9"});
    task.launch();
    close(descriptor);
    task.waitUntilExit();
    EXPECT_EQ(task.terminationStatus(), 0);
}

TEST(TaskTests, ClosedStandardInput) {
    const auto body = [] {
        close(STDIN_FILENO);
        Pipe pipe;
        ensureStandardDescriptors();
        char byte = 0;
        const bool isEmpty = pipe.readEnd.get() > STDERR_FILENO && read(STDIN_FILENO, &byte, 1) == 0;
        // The child's standard input may already be ours, and close-on-exec.
        dup2(pipe.readEnd.get(), STDIN_FILENO);
        fcntl(STDIN_FILENO, F_SETFD, FD_CLOEXEC);
        const bool written = writeAll(pipe.writeEnd.get(), "text");
        pipe.writeEnd.reset();
        Task task(Shell, {"-c", "cat >&2"});
        task.setStandardInput(STDIN_FILENO);
        task.launch();
        task.waitUntilExit();
        _exit(isEmpty && written ? 0 : 1);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "^text$");
}

TEST(TaskTests, SignalsWhileWaiting) {
    for (int round = 0; round < 20; ++round) {
        const bool endsItself = round % 2 == 0;
        Task ending(Shell, {"-c", endsItself ? "exit 3" : "exec sleep 1000"});
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
        EXPECT_THAT(ending.terminationStatus(), ::testing::AnyOf(endsItself ? 3 : 143, 143));
    }
}

TEST(TaskTests, AChildThatNobodyWaitedForEndsWithItsTask) {
    {
        Task child(Shell, {"-c", "exec sleep 1000"});
        child.launch();
    }
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "neither running nor a zombie";
}

TEST(TaskTests, WriteAllToASlowReader) {
    Pipe pipe;
    ASSERT_EQ(fcntl(pipe.writeEnd.get(), F_SETFL, O_NONBLOCK), 0);
    Task reader(Shell, {"-c", "sleep 0.05; test $(wc -c) = 1000000"});
    reader.setStandardInput(pipe.readEnd.get());
    reader.launch();
    EXPECT_TRUE(writeAll(pipe.writeEnd.get(), std::string(1'000'000, 'x')));
    pipe.writeEnd.reset();
    reader.waitUntilExit();
    EXPECT_EQ(reader.terminationStatus(), 0);
}

TEST(ProcessInfoTests, EndIsFlushedAndFinal) {
    const auto end = [] {
        static_cast<void>(std::atexit([] { _exit(99); }));
        // Kept in a buffer until the flush; the death test reads what reaches descriptor 2.
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::fputs("flushed", stdout);
        std::thread([] { endProcess(42); }).join();
    };
    EXPECT_EXIT(end(), ::testing::ExitedWithCode(42), "flushed");
}

/// Runs in a child process, which it changes for good: writes "NUMBER/FROMTERMINAL " to standard error for each signal
/// until `count` have arrived.
[[noreturn]] void tellSignals(int count, const std::function<void()> &cause) {
    Signals::handleTermination([count](TerminationSignal signal) mutable {
        static_cast<void>(
            writeAll(STDERR_FILENO, std::to_string(signal.number) + (signal.fromTerminal ? "/1 " : "/0 ")));
        if (--count == 0) {
            _exit(0);
        }
    });
    cause();
    for (;;) {
        pause(); // a main thread that is blocked
    }
}

TEST(SignalsTests, EachSignalArrivesInOrder) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, nullptr); // as a careless parent may leave it
    const auto kills = [] {
        for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGTERM, SIGTERM}) {
            kill(getpid(), number);
        }
        raise(SIGINT); // marked differently by the system
    };
    EXPECT_EXIT(tellSignals(7, kills), ::testing::ExitedWithCode(0), "^15/0 2/0 1/0 3/0 15/0 15/0 2/0 $");
}

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
        {{{"bar", "1"}, {"text", "2"}, {"bar", "3"}, {"bar", "4"}}, "124"}, // the order relative to others is kept
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

TEST(ReexecutionTests, OnlyThisProcessIsBelieved) {
    constexpr const char *variable = "KESTRAV_REEXEC";
    prepareReexecution("17 \n0", "/a b/12");
    const std::string own = std::getenv(variable);
    setenv("LD_LIBRARY_PATH", "/changed", 1);
    const std::string ofThisSearchPath = own + "/changed";
    const std::size_t start = own.find(' ') + 1;
    std::string ofAnotherTime = own;
    ofAnotherTime[start] = ofAnotherTime[start] == '1' ? '2' : '1';
    const struct {
        std::string value;
        bool isBelieved;
    } cases[] = {
        {own, true},
        {ofThisSearchPath, false}, // the program itself has executed the file
        {ofAnotherTime, false},
        {std::to_string(getpid() + 1) + own.substr(start - 1), false},
        {std::to_string(getpid()) + " 6 17.0.9/a b", false}, // without a time
        {own.substr(0, own.find(' ', start)) + " -2 17/lib", false},
        {own.substr(0, own.find(' ', start)) + " 3 17", false},
        {own.substr(0, own.find("17")), false},
        {"", false},
    };
    for (const auto &[value, isBelieved] : cases) {
        setenv(variable, value.c_str(), 1);
        const auto taken = takeReexecution();
        ASSERT_EQ(taken.has_value(), isBelieved) << value;
        EXPECT_TRUE(!taken || (taken->version == "17 \n0" && taken->libraryPath == "/a b/12"));
        EXPECT_EQ(std::getenv(variable), nullptr);
    }
    unsetenv("LD_LIBRARY_PATH");
}

} // namespace
} // namespace kestrav::platform
