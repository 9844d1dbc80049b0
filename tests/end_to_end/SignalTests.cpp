// Signals cancel a run, or reach the child.

#include "Launch.h"
#include "Terminal.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>

namespace kestrav::tests {
namespace {

constexpr std::array terminationSignals{SIGINT, SIGTERM, SIGHUP};

TEST(Signals, EndTheChildAndSoTheRun) {
    const AppBundle bundle;
    Launches runs;
    for (const bool ignored : {false, true}) {
        for ([[maybe_unused]] const int number : terminationSignals) {
            runs.push_back(std::make_unique<Launch>(
                bundle, Start{.environment = {{"FAKE_PAUSE", "1"}}, .signalsIgnored = ignored}));
        }
    }
    const auto numberOf = [](std::size_t run) { return terminationSignals.at(run % terminationSignals.size()); };
    for (std::size_t i = 0; i < runs.size(); ++i) {
        EXPECT_TRUE(runs[i]->report().has("org.example.Main"));
        runs[i]->sendSignal(numberOf(i));
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i]->wait(), 128 + numberOf(i));
        EXPECT_EQ(runs[i]->errors(), "");
    }
}

TEST(Signals, ReachAChildThatHandlesThemOnceAndInOrder) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const Terminal terminal;
    const auto settings = [&](const char *file) { return std::pair{"FAKE_SIGNALS", folder / file}; };
    Launch alone(bundle, {.environment = {settings("alone")}});
    Launch inTerminal(bundle, {.environment = {settings("terminal")}, .terminal = terminal.slave()});
    const auto expectReceived = [&](const char *file, const std::string &received) {
        waitUntil([&] { return contentOf(folder / file) == received; }, received);
    };

    EXPECT_TRUE(alone.report().has("org.example.Main"));
    alone.sendSignal(SIGINT);
    expectReceived("alone", "INT ");
    alone.sendSignal(SIGHUP);
    expectReceived("alone", "INT HUP ");
    alone.sendSignal(SIGTERM);
    EXPECT_EQ(alone.wait(), 7);
    EXPECT_EQ(contentOf(folder / "alone"), "INT HUP TERM ");

    // The terminal sends to the whole group: the child has it already. The launcher stands still until the child has
    // taken it, since two that wait at once become one; a second one would come before what follows.
    EXPECT_TRUE(inTerminal.report().has("org.example.Main"));
    inTerminal.sendSignal(SIGSTOP);
    terminal.type("\x03");
    expectReceived("terminal", "INT ");
    inTerminal.sendSignal(SIGCONT);
    inTerminal.sendSignal(SIGHUP);
    waitUntil([&] { return contentOf(folder / "terminal").find("HUP") != std::string::npos; }, "HUP");
    inTerminal.sendSignal(SIGTERM);
    EXPECT_EQ(inTerminal.wait(), 7);
    EXPECT_EQ(contentOf(folder / "terminal"), "INT HUP TERM ");
}

TEST(Signals, CancelARunThatHasNoChildYet) {
    AppBundle bundle;
    const std::string home = bundle.addOwnRuntime() + "/Contents/Home";
    AppBundle::addPackedArchives(home, {{"lib/rt.jar", "content"}});
    const TemporaryDirectory folder;
    Launches runs;
    for (const int number : terminationSignals) {
        const std::string pidFile = folder / std::to_string(number);
        runs.push_back(std::make_unique<Launch>(
            bundle,
            Start{.environment = {{"FAKE_UNPACK", "hang"}, {"FAKE_UNPACK_PID", pidFile}, {"KESTRAV_LOG", "yes"}}}));
        waitUntil([&] { return contentOf(pidFile).ends_with('\n'); }, "the unpacker");
        runs.back()->sendSignal(number);
        EXPECT_EQ(runs.back()->wait(), 1);
        EXPECT_FALSE(runs.back()->childStarted());
        const std::string errors = runs.back()->errors();
        EXPECT_NE(errors.find("] Cancelled\n"), std::string::npos) << errors;
        EXPECT_EQ(errors.find("\nTest: "), std::string::npos) << errors;
        EXPECT_TRUE(kill(std::stoi(contentOf(pidFile)), 0) != 0 && errno == ESRCH) << "the unpacker lives on";
    }
}

} // namespace
} // namespace kestrav::tests
