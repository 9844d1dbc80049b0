// What a child is given, which signals reach it, and what happens when it ends.

#include "Launch.h"
#include "platform/text.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <memory>

namespace kestrav::tests {
namespace {

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
    expectRefusal(run, ": Info.plist is damaged: line ");
}

TEST(Signals, EndTheChildAndAtOnceTheRun) {
    const AppBundle bundle;
    bool atOnce = false; // a busy machine may need another try for this
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
    // The terminal sends the signal to the whole group, so the child gets it directly. The launcher is stopped until
    // the child has handled it, because two pending signals become one; if the launcher sent a second one, it would
    // arrive before what follows.
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

TEST(FailedStart, BringsWhatJavaSaidWhereNobodySeesIt) {
    const std::string capture = "[ ! -p /dev/stderr ] || echo piped >&2; ";
    std::string many;
    for (int line = 10; line < 30; ++line) {
        many += "line " + std::to_string(line) + "\n\tat some.Class\n";
    }
    const std::string secrets =
        "jdbc:a:b;Password='p w';c jdbc:o:s/t@h jdbc:s://h;password=x@y a/b@c:d jar:file:/a@1 pwd=p;e";
    const struct {
        std::string shell;
        std::map<std::string, std::string> environment;
        int status;
        std::string said, notice = "";
    } cases[] = {
        {"echo one >&2; exit 3", {}, 3, "piped\none\n", "ended with 3:\npiped\none"},
        {"exit 0", {}, 0, "piped\n"},
        {"kill -KILL $$", {}, 137, "piped\n", "ended with 137:\npiped"},
        {"sleep 10.2; exit 3", {}, 3, "piped\n"},
        {"kill -TERM $PPID; sleep 300", {}, 143, "piped\n"},
        {"exit 3", {{"JOURNAL_STREAM", "1:2"}}, 3, ""},
        {"exit 3", {{"KESTRAV_NOTICE", "stderr"}}, 3, "piped\n", "ended with 3:\npiped"},
        {"exit 3", {{"DBUS_SESSION_BUS_ADDRESS", ""}}, 3, ""}, // nothing shows notices here
        {"echo \"${FAKE_TEXT}at (ftp://u:p@h/x?y) in $HOME/a, ${HOME}b " + secrets + "\" >&2; exit 4",
         {{"FAKE_TEXT", many}},
         4,
         "piped\n" + many + "at (ftp://u:p@h/x?y) in HOME/a, HOMEb " + secrets + "\n",
         "ended with 4:\nline 23\nline 24\nline 25\nline 26\nline 27\nline 28\nline 29\n"
         "at (ftp://***@h/x in ~/a, HOMEb jdbc:a:b;Password='***';c ***@h jdbc:s://h a/b@c:d jar:file:/a@1 pwd=***;e"},
        {"sleep 300 & echo two >&2; exit 3", {}, 3, "piped\ntwo\n", "ended with 3:\npiped\ntwo"},
    };
    const AppBundle bundle;
    std::array<Journal, std::size(cases)> journals;
    std::vector<std::unique_ptr<Launch>> runs;
    for (const auto &each : cases) {
        Start start = journals.at(runs.size()).start(capture + each.shell);
        for (const auto &[name, value] : each.environment) {
            start.environment[name] = value;
        }
        runs.push_back(std::make_unique<Launch>(bundle, start));
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        SCOPED_TRACE(cases[i].shell);
        EXPECT_EQ(runs[i]->wait(), cases[i].status);
        const std::string home = runs[i]->folder() / "home";
        const std::string record = "/.local/state/kestrav/Test.log";
        const std::string notice = "Test: Test " + cases[i].notice + "\nHOME" + record + "\n";
        EXPECT_EQ(platform::replacingOccurrences(journals.at(i).text(), home, "HOME"),
                  cases[i].said + (cases[i].notice.empty() ? "" : notice));
        EXPECT_EQ(contentOf(home + record).find("\n  line 10\n   at some.Class\n") != std::string::npos,
                  cases[i].status == 4);
    }
}

TEST(FailedStart, NeitherHoldsUpNorEndsAChildThatOutlivesTheLauncher) {
    const AppBundle bundle;
    Journal journal;
    Launch run(bundle,
               journal.start("while [ -d /proc/$PPID ] && ! grep -q 'State:.Z' /proc/$PPID/status; do sleep 0.02; "
                             "done; head -c 300000 /dev/zero >&2 && echo the end >&2"));
    EXPECT_TRUE(run.report().has("org.example.Main"));
    run.sendSignal(SIGKILL);
    waitUntil([&] { return journal.text().ends_with("the end\n"); }, "what the child writes");
    EXPECT_EQ(journal.text().size(), 300'000 + std::string("the end\n").size());
}

TEST(Signals, CancelARunThatIsAboutToStartItsChild) {
    const AppBundle bundle;
    std::string comments; // take a while to read, with everything that is logged
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
