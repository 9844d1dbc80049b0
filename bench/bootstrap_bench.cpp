// Measures how much later the child runs if the launcher starts it: from just before the process is started until the
// child has written a byte. In turns: the child alone, the launcher with a configured runtime, and the launcher
// searching the standard locations. Without a window.
//
//   bootstrap_bench [ROUNDS]
//
// Ends with status 1 if the launcher takes too long.

#include "harness.h"
#include "support/TemporaryDirectory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using namespace kestrav::bench;

constexpr double mayTakeOfChild = 8; // the child does nothing, so almost all is the start of one more process

/// Makes a runtime whose bin/java is the child.
void makeRuntime(const kestrav::tests::TemporaryDirectory &folder, const std::string &name) {
    folder.write(name + "/Contents/Info.plist", "<plist version=\"1.0\"><dict><key>JavaVM</key><dict>"
                                                "<key>JVMVersion</key><string>17.0.9</string></dict></dict></plist>");
    folder.makeDirectory(name + "/Contents/Home/bin");
    fs::copy_file(KESTRAV_STARTED_CHILD, folder / (name + "/Contents/Home/bin/java"));
}

/// Makes a bundle from the template, with an executable and one entry in the search sequence; returns the executable.
std::string makeBundle(const kestrav::tests::TemporaryDirectory &folder, const std::string &name,
                       const std::string &executable, const std::string &entry) {
    fs::copy(KESTRAV_TEMPLATE, folder / name, fs::copy_options::recursive);
    const std::string target = folder / (name + "/Contents/MacOS/launcher");
    fs::copy_file(executable, target, fs::copy_options::overwrite_existing);
    fs::remove(folder / (name + "/Contents/Info.plist"));
    folder.write(name + "/Contents/Info.plist",
                 "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>Bench</string><key>JavaVM</key><dict>"
                 "<key>MainClass</key><string>Main</string><key>SearchSequence</key><array><string>" +
                     entry + "</string></array></dict></dict></plist>");
    return target;
}

Contender starting(const char *name, const std::string &path) {
    return {name, [=] { return Process({path}).untilFirstByte(); }};
}

bool compare(int rounds) {
    const kestrav::tests::TemporaryDirectory folder;
    makeRuntime(folder, "installed.jdk");
    makeRuntime(folder, "root/usr/lib/jvm/jdk-17.jdk");
    setenv("BENCH_ROOT", (folder / "root").c_str(), 1);
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "TMPDIR"}) {
        setenv(variable, folder.path().c_str(), 1);
    }
    for (const char *variable : {"DISPLAY", "WAYLAND_DISPLAY", "KESTRAV_LOG"}) {
        unsetenv(variable);
    }
    std::vector<Contender> contenders{
        starting("child alone", folder / "installed.jdk/Contents/Home/bin/java"),
        starting("launcher, entry R", makeBundle(folder, "R.app", KESTRAV_TEMPLATE "/Contents/MacOS/launcher",
                                                 "R" + (folder / "installed.jdk"))),
        starting("launcher, entry Y", makeBundle(folder, "Y.app", KESTRAV_ROOTED_LAUNCHER, "Y")),
    };
    constexpr int warmUp = 5;
    takeTurns(contenders, rounds, warmUp);
    printTable("start to child", contenders);
    bool quick = true;
    for (const Contender &contender : {contenders[1], contenders[2]}) {
        quick =
            within(contender.name + ", of the child alone", medianRatio(contender, contenders[0]), mayTakeOfChild) &&
            quick;
    }
    return quick;
}

} // namespace

int main(int argc, char **argv) {
    constexpr int usualRounds = 100;
    return runMain("bootstrap_bench",
                   [&] { return compare(argc > 1 ? std::max(1, std::atoi(argv[1])) : usualRounds); });
}
