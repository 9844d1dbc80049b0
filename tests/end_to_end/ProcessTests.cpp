// What a run reads first, what its child is given, which signals reach it, and what becomes of its end.

#include "Launch.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;

constexpr std::array passedOn{SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2};

TEST(Process, ChildStartsClean) {
    const AppBundle bundle;
    const TemporaryDirectory folder;
    const std::string received = folder / "received";
    const std::map<std::string, std::string> environment{{"EMPTY", ""}, {"STRANGE", "a=b\n${EMPTY}\xFF"}};
    const std::string strange = "\xFF \xC3( 'quoted' \"${HOME}\" $APP_PACKAGE\n%@ %n\\";
    Start start{.arguments = {"", strange},
                .environment = environment,
                .by = {"/usr/bin/env", "--ignore-signal=INT,QUIT,TERM,HUP,CHLD", "--block-signal=TERM,USR2"}};
    start.environment["FAKE_SIGNALS"] = received;
    Launch run(bundle, start);
    const Report report = run.report();
    EXPECT_THAT(report.arguments,
                ElementsAre(bundle.runtime() + "/Contents/Home/bin/java", "-Dksv.ownBundlePath=" + bundle.path(),
                            "-Dksv.jreBundle=" + bundle.runtime(), "org.example.Main", "", strange));
    EXPECT_THAT(report.descriptors, ElementsAre("0", "1", "2"));
    EXPECT_THAT(report.signals, ElementsAre("SigBlk: 0", "SigIgn: 4007"));
    for (const auto &[name, value] : environment) {
        EXPECT_EQ(report.environment.at(name), value) << name;
    }
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1}) {
        run.sendSignal(number);
    }
    waitUntil([&] { return contentOf(received) == "USR1 "; }, "the one that is not ignored");
}

TEST(Process, AnyBundlePathWorks) {
    for (const char *name : {"it's \"quoted\".app", "a:b.app", "two\nlines.app", "プログラム ä.app",
                             "$HOME ${PATH} %@.app", "no suffix", "bytes \xFF\xFE.app"}) {
        AppBundle bundle(name);
        const std::string &path = bundle.path();
        bundle.javaVM["SearchSequence"] = Array{};
        bundle.addRuntime(path + "/Contents/Resources/jre.bundle");
        const std::string link = bundle.folder() / "link";
        linkFile(bundle.executable(), path + "/Contents/MacOS/Any Name");
        fs::create_symlink(path + "/Contents/MacOS/Any Name", link);
        Launch run(bundle, {.program = link});
        const Report report = run.report();
        EXPECT_EQ(report.directory, path);
        EXPECT_TRUE(report.has("-Dksv.ownBundlePath=" + path)) << path;
        EXPECT_TRUE(report.has("-Dksv.jreBundle=" + path + "/Contents/Resources/jre.bundle")) << path;
    }
}

TEST(Configuration, NamesNoFileOfTheSystem) {
    AppBundle bundle;
    bundle.rawInfo = "<!DOCTYPE plist [<!ENTITY a SYSTEM \"/dev/zero\">]><plist><string>&a;</string></plist>";
    Launch run(bundle);
    expectRefusal(run, ": Info.plist is damaged: line ", "launcher");
}

TEST(Signals, EndTheChildAndAtOnceTheRun) {
    const AppBundle bundle;
    bool atOnce = false; // for which a busy machine may need another try
    for (int tries = 0; tries < 5 && !atOnce; ++tries) {
        const auto begin = std::chrono::steady_clock::now();
        std::vector<std::unique_ptr<Launch>> runs;
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

TEST(Signals, CancelARunThatIsAboutToStartItsChild) {
    const AppBundle bundle;
    std::string comments; // whose reading takes a while, with all that is logged
    for (int line = 0; line < 100'000; ++line) {
        comments += "#\n";
    }
    bundle.folder().write("Test.vmoptions", comments);
    Launch run(bundle, {.environment = {{"KESTRAV_LOG", "yes"}}});
    waitUntil([&] { return run.errors().find("] option #\n") != std::string::npos; }, "the options");
    expectCancelled(run);
}

} // namespace
} // namespace kestrav::tests
