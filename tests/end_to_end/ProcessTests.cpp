// What a child is given, which signals reach it, and what happens when it ends.

#include "Launch.h"
#include "platform/text.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <random>

namespace kestrav::tests {
namespace {

using platform::FileDescriptor;
using platform::writeAll;
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
        {"exit 3", {{"KESTRAV_NOTICE", "stderr"}}, 3, ""},
        {"exit 3", {{"DBUS_SESSION_BUS_ADDRESS", ""}}, 3, ""}, // nothing shows notices here
        {"echo \"${FAKE_TEXT}at (ftp://u:p@h/x?y) in $HOME/a, ${HOME}b\" >&2; exit 4",
         {{"FAKE_TEXT", many}},
         4,
         "piped\n" + many + "at (ftp://u:p@h/x?y) in HOME/a, HOMEb\n",
         "ended with 4:\nline 23\nline 24\nline 25\nline 26\nline 27\nline 28\nline 29\n"
         "at (ftp://***@h/x in ~/a, HOMEb"},
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
    };
    for (const auto &[size, isFile, hasEnd] :
         {Case{70, true, true}, Case{0, false, true}, Case{59'000, false, true}, Case{60'000, false, false}}) {
        auto [input, end] = makePipe();
        EXPECT_TRUE(writeAll(end.get(), content));
        if (hasEnd) {
            end.reset();
        }
        if (isFile) {
            input = FileDescriptor::open(folder.write("file", content).c_str(), O_RDONLY);
        }
        const Start start{.environment = {{"FAKE_STDIN_SIZE", std::to_string(size)}}, .standardInput = input.get()};
        EXPECT_EQ(copyingRun(bundle, start, folder, "read")->wait(), 0);
        EXPECT_TRUE(contentOf(folder / "read") == content.substr(0, size)) << size;
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
