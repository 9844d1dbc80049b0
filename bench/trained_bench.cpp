// What recordings of loaded classes are worth: an application whose runtime, made by jlink, gets the archive of its own
// classes against the same without it, and trained applications against `java -jar` on their own runtime. One prints a
// byte, the other shows a window with a table, a tree and menus, on a display without a screen. By turns.
//
//   trained_bench [JDK [ROUNDS]]
//
// JDK stands in for the runtime made by jlink; its figures are told, and have no limits. Ends with status 1 if a
// trained application gains too little.

#include "FirstFrame.h"
#include "support/TemporaryDirectory.h"
#include "support/VirtualDisplay.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace {

using namespace kestrav::bench;

constexpr double lineLimit = 0.95; // of java's time, with a cache of linked classes, which older JDKs do not have
constexpr double windowLimit = 0.8;
constexpr unsigned deadlineSeconds = 600;
constexpr int warmUp = 2;

const std::string lineJar = KESTRAV_START_WORK "/image/lib/app/started.jar";
const std::string windowJar = KESTRAV_TRAINED_WORK "/catalogue.jar";

/// An application that kestrav-bundle makes.
struct Application {
    std::string path;

    Application(const std::string &where, const std::string &runtime, const std::vector<std::string> &options)
        : path(where) {
        std::vector<std::string> command{KESTRAV_TOOL, "--identifier", "org.example.bench", "--runtime", runtime};
        command.insert(command.end(), options.begin(), options.end());
        command.push_back(path);
        Process(command).untilEnd();
    }
    [[nodiscard]] std::string launcher() const { return path + "/Contents/MacOS/launcher"; }
    [[nodiscard]] std::string java() const { return path + "/Contents/PlugIns/jre.bundle/Contents/Home/bin/java"; }
};

Contender starting(const char *name, const std::vector<std::string> &command) {
    return {name, [=] { return Process(command).untilFirstByte(); }};
}

bool compare(const std::string &jdk, int rounds) {
    const kestrav::tests::TemporaryDirectory folder;
    const kestrav::tests::VirtualDisplay display(false);
    setenv("DISPLAY", display.name().c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    const std::string runtime = jdk.empty() ? KESTRAV_TRAINED_WORK "/runtime" : jdk;
    const std::vector<std::string> line{"--jar", lineJar, "--main-class", "Started"};
    const auto with = [&](std::vector<std::string> options, const std::vector<std::string> &more) {
        options.insert(options.end(), more.begin(), more.end());
        return options;
    };
    const std::string which = jdk.empty() ? "" : ", newer JDK";
    const auto judged = [&](const std::string &what, const std::vector<Contender> &pair, double limit, bool isLimited) {
        const double ratio = medianRatio(pair[1], pair[0]);
        return isLimited ? within(what + which, ratio, limit) : told(what + which, ratio);
    };
    if (jdk.empty()) {
        const Application plain(folder / "Plain.app", runtime, with(line, {"--no-class-archive"}));
        const Application archived(folder / "Archived.app", runtime, line);
        std::vector<Contender> contenders{starting("without class archive", {plain.launcher()}),
                                          starting("with class archive", {archived.launcher()})};
        takeTurns(contenders, rounds, warmUp);
        printTable("start to main", contenders);
        told("class archive, of the start without", medianRatio(contenders[1], contenders[0]));
    }
    const Application trained(folder / "Line.app", runtime, with(line, {"--train"}));
    std::vector<Contender> lines{starting("java", {trained.java(), "-cp", lineJar, "Started"}),
                                 starting("trained", {trained.launcher()})};
    takeTurns(lines, rounds, warmUp);
    printTable("one line", lines);
    const bool good = judged("trained one-liner, of java", lines, lineLimit, !jdk.empty());

    const Application window(folder / "Window.app", runtime,
                             {"--jar", windowJar, "--train", "--training-argument", "--close"});
    std::vector<Contender> windows{showing("java -jar", {window.java(), "-jar", windowJar}, display.name()),
                                   showing("trained", {window.launcher()}, display.name())};
    takeTurns(windows, std::max(rounds / 2, 1), warmUp);
    printTable("start to first frame", windows);
    return judged("trained window, of java -jar", windows, windowLimit, jdk.empty()) && good;
}

} // namespace

int main(int argc, char **argv) {
    alarm(deadlineSeconds);
    constexpr int usualRounds = 30;
    return runMain("trained_bench", [&] {
        return compare(argc > 1 ? argv[1] : "", argc > 2 ? std::max(1, std::atoi(argv[2])) : usualRounds);
    });
}
