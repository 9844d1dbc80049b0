// Measures the time from the start of a process to the program's `main`: the runtime's own `java`, this launcher as one
// process with the program, with a given command line, and with a child, and the launcher of an application image made
// by the JDK, all with the same runtime, in turns. Then the whole life of a program that prints one line. Then the
// launcher's own part, from its start to JLI_Launch, with a launch library that does nothing.
//
//   start_bench [ROUNDS]
//
// Ends with status 1 if the launcher is too slow or too large.

#include "harness.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using namespace kestrav::bench;

const std::string work = KESTRAV_START_WORK; // holds image/, the application image

constexpr double mayTakeOfJava = 1.03;
constexpr double oneProcessMayTakeOfJava = 1.05;
constexpr double oneProcessMayTakeOfImage = 0.5;
constexpr double mostMemoryAboveJava = 4; // MiB
constexpr double ownPartMayTakeOfJava = 0.1;
constexpr double mostMemory = 8; // MiB

Contender starting(const char *name, const std::vector<std::string> &command) {
    return {name, [=] { return Process(command).untilFirstByte(); }};
}

Contender ending(const char *name, const std::vector<std::string> &command) {
    return {name, [=] { return Process(command).untilEnd(); }};
}

Contender inProcess(const std::string &executable, const std::string &lines) {
    return {"in process", [=] {
                const std::string file = work + "/arguments";
                std::ofstream(file) << lines; // written for each run, because the launcher deletes it
                return Process({executable, "__ksv_invoke_other", file}).untilFirstByte();
            }};
}

/// An application bundle made from the template.
std::string makeBundle(const std::string &runtime, const std::string &classPath, bool isOneProcess = false) {
    const std::string bundle = work + (isOneProcess ? "/One.app" : "/Bench.app");
    fs::remove_all(bundle);
    fs::copy(KESTRAV_TEMPLATE, bundle, fs::copy_options::recursive);
    std::ofstream(bundle + "/Contents/Info.plist")
        << R"(<plist version="1.0"><dict><key>CFBundleName</key><string>Bench</string><key>ksv.initialProgress</key><false/>)"
        << "<key>ksv.inProcess</key><" << (isOneProcess ? "true" : "false") << "/>"
        << "<key>CFBundleIdentifier</key><string>org.example.bench</string><key>JavaVM</key><dict>"
        << "<key>MainClass</key><string>Started</string><key>ClassPath</key><string>" << classPath
        << "</string><key>SearchSequence</key><array><string>R" << runtime << "</string></array></dict></dict></plist>";
    return bundle + "/Contents/MacOS/launcher";
}

bool compare(int rounds) {
    const std::string runtime = work + "/image/lib/runtime";
    const std::string jar = work + "/image/lib/app/started.jar";
    const std::string executable = makeBundle(runtime, jar);
    const std::vector<std::string> one{makeBundle(runtime, jar, true)};
    const std::vector<std::string> java{runtime + "/bin/java", "-cp", jar, "Started"};
    std::vector<Contender> contenders{
        starting("java", java),
        inProcess(executable, runtime + "\n-cp\n" + jar + "\nStarted"),
        starting("as a child", {executable}),
        starting("application image", {work + "/image/bin/image"}),
        starting("one process", one),
    };
    constexpr int warmUp = 3;
    takeTurns(contenders, rounds, warmUp);
    printTable("start to main", contenders);
    const Contender &oneProcess = contenders[4];
    bool good = within("in process, of java", medianRatio(contenders[1], contenders[0]), mayTakeOfJava);
    good = within("one process, of java", medianRatio(oneProcess, contenders[0]), oneProcessMayTakeOfJava) && good;
    good = within("one process, of the application image", medianRatio(oneProcess, contenders[3]),
                  oneProcessMayTakeOfImage) &&
           good;

    std::vector<Contender> whole{ending("java", java), ending("one process", one)};
    takeTurns(whole, rounds, warmUp);
    printTable("start to end", whole);
    good = within("start to end, of java", medianRatio(whole[1], whole[0]), oneProcessMayTakeOfJava) && good;
    return within("resident above java's, MiB", whole[1].median(&Sample::peak) - whole[0].median(&Sample::peak),
                  mostMemoryAboveJava) &&
           good;
}

bool measureOwnPart(int rounds) {
    const std::string runtime = work + "/empty";
    fs::create_directories(runtime + "/lib");
    fs::copy_file(KESTRAV_TEST_JLI "/COMPLETE/libjli.so", runtime + "/lib/libjli.so",
                  fs::copy_options::overwrite_existing);
    const std::string image = work + "/image/lib";
    std::vector<Contender> contenders{
        starting("java to main", {image + "/runtime/bin/java", "-cp", image + "/app/started.jar", "Started"}),
        inProcess(makeBundle(runtime, ""), runtime + "\nMain"),
    };
    takeTurns(contenders, rounds);
    printTable("start to JLI_Launch", contenders);
    const bool quick =
        within("own part, of java's start", medianRatio(contenders[1], contenders[0]), ownPartMayTakeOfJava);
    return within("own part, MiB", contenders[1].quantile(1, &Sample::peak), mostMemory) && quick;
}

} // namespace

int main(int argc, char **argv) {
    constexpr int usualRounds = 40;
    return runMain("start_bench", [&] {
        const int rounds = argc > 1 ? std::atoi(argv[1]) : usualRounds;
        setenv("XDG_CONFIG_HOME", (work + "/configuration").c_str(), 1);
        const bool quick = compare(rounds);
        return measureOwnPart(rounds) && quick;
    });
}
