// Signals cancel a run, or reach the child.

#include "Launch.h"
#include "Terminal.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

namespace kestrav::tests {
namespace {

constexpr std::array passedOn{SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2};

TEST(Signals, EndTheChildAndAtOnceTheRun) {
    const AppBundle bundle;
    bool atOnce = false; // for which a busy machine may need another try
    for (int tries = 0; tries < 5 && !atOnce; ++tries) {
        const auto begin = std::chrono::steady_clock::now();
        Launches runs;
        for (std::size_t i = 0; i < passedOn.size(); ++i) {
            runs.push_back(std::make_unique<Launch>(bundle, Start{.environment = {{"FAKE_PAUSE", "1"}}}));
        }
        for (std::size_t i = 0; i < runs.size(); ++i) {
            EXPECT_TRUE(runs[i]->report().has("org.example.Main"));
            runs[i]->sendSignal(passedOn.at(i));
        }
        for (std::size_t i = 0; i < runs.size(); ++i) {
            EXPECT_EQ(runs[i]->wait(), 128 + passedOn.at(i));
            EXPECT_EQ(runs[i]->errors(), "");
        }
        atOnce = std::chrono::steady_clock::now() - begin < std::chrono::seconds(5);
    }
    EXPECT_TRUE(atOnce);
}

TEST(Signals, StayIgnored) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const std::string file = folder / "received";
    Launch run(bundle, {.environment = {{"FAKE_SIGNALS", file}}, .signalsIgnored = true});
    EXPECT_EQ(run.report().signals, (std::set<std::string>{"1", "2", "3", "15"}));
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1}) {
        run.sendSignal(number);
    }
    waitUntil([&] { return contentOf(file) == "USR1 "; }, "the one that is not ignored");
}

TEST(Signals, ReachAChildThatHandlesThemOnceAndInOrder) {
    const AppBundle bundle;
    const Terminal terminal;
    const TemporaryDirectory folder;
    const std::string file = folder / "received";
    const auto expectReceived = [&](const std::string &received) {
        waitUntil([&] { return contentOf(file) == received; }, received);
    };
    Launch run(bundle, {.environment = {{"FAKE_SIGNALS", file}}, .terminal = terminal.slave()});
    EXPECT_TRUE(run.report().has("org.example.Main"));
    run.sendSignal(SIGINT);
    expectReceived("INT ");
    // The terminal sends to the whole group: the child has it already. The launcher stands still until the child has
    // taken it, since two that wait at once become one; a second one would come before what follows.
    run.sendSignal(SIGSTOP);
    terminal.type("\x03");
    expectReceived("INT INT ");
    terminal.type("\x1C");
    expectReceived("INT INT QUIT ");
    run.sendSignal(SIGCONT);
    run.sendSignal(SIGHUP);
    expectReceived("INT INT QUIT HUP ");
    run.sendSignal(SIGTERM);
    EXPECT_EQ(run.wait(), 7);
    EXPECT_EQ(contentOf(file), "INT INT QUIT HUP TERM ");
}

TEST(Signals, CancelARunThatHasNoChildYet) {
    AppBundle bundle;
    AppBundle::addPackedArchives(bundle.addOwnRuntime() + "/Contents/Home", {{"lib/rt.jar", "content"}});
    for (const int number : passedOn) {
        const std::string pidFile = bundle.folder() / std::to_string(number);
        Launch run(bundle,
                   {.environment = {{"FAKE_UNPACK", "hang"}, {"FAKE_UNPACK_PID", pidFile}, {"KESTRAV_LOG", "yes"}}});
        waitUntil([&] { return contentOf(pidFile).ends_with('\n'); }, "the unpacker");
        run.sendSignal(number);
        EXPECT_EQ(run.wait(), 1);
        EXPECT_FALSE(run.childStarted());
        EXPECT_NE(run.errors().find("] Cancelled\n"), std::string::npos) << run.errors();
        EXPECT_EQ(run.errors().find("\nTest: "), std::string::npos) << run.errors();
        EXPECT_TRUE(kill(std::stoi(contentOf(pidFile)), 0) != 0 && errno == ESRCH) << "the unpacker lives on";
    }
}

TEST(Signals, CancelARunThatIsAboutToStartItsChild) {
    const AppBundle bundle;
    std::string comments; // whose reading takes a while, with all that is logged
    for (int line = 0; line < 100'000; ++line) {
        comments += "#\n";
    }
    bundle.folder().write("Test.vmoptions", comments);
    Launch run(bundle, {.environment = {{"KESTRAV_LOG", "yes"}}});
    waitUntil([&] { return run.errors().find("] option #\n") != std::string::npos; }, "the options");
    run.sendSignal(SIGTERM);
    EXPECT_EQ(run.wait(), 1);
    EXPECT_FALSE(run.childStarted());
    EXPECT_TRUE(run.errors().ends_with("] Cancelled\n"));
}

} // namespace
} // namespace kestrav::tests
