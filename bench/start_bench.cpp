// From the start of a process to the program's `main`: the runtime's own `java`, this launcher in both modes, and the
// launcher of an application image made by the JDK, all with the same runtime, by turns. Then the launcher's own part,
// from its start to JLI_Launch, with a launch library that does nothing.
//
//   start_bench [ROUNDS]
//
// Ends with status 1 if the launcher is slower or larger than it may be.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Milliseconds = std::chrono::duration<double, std::milli>;

const std::string work = KESTRAV_START_WORK; // holds image/, the application image

constexpr double mayTakeOfJava = 1.03;
constexpr double mayTakeItself = 2.0; // milliseconds
constexpr long mayHold = 8192;        // KiB

struct Sample {
    double milliseconds = 0;
    long residentKiB = 0;
};

/// Starts a program and measures until it has written its first byte; then the program, and what it has started, ends.
Sample measure(const std::vector<std::string> &command) {
    std::array<int, 2> output{};
    if (pipe2(output.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);

    pid_t pid = 0;
    const auto start = std::chrono::steady_clock::now();
    const int error = posix_spawn(&pid, arguments[0], &actions, &attributes, arguments.data(), environ);
    close(output[1]);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), command[0]);
    }
    char byte = 0;
    const bool started = read(output[0], &byte, 1) == 1;
    const Milliseconds time = std::chrono::steady_clock::now() - start;
    close(output[0]);
    kill(-pid, SIGKILL);
    rusage usage{};
    wait4(pid, nullptr, 0, &usage);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (!started) {
        throw std::runtime_error(command[0] + " has not started the program");
    }
    return {time.count(), usage.ru_maxrss};
}

struct Contender {
    std::string name;
    std::function<std::vector<std::string>()> command; // called before each start
    std::vector<double> times = {};
};

/// What the machine does besides only ever adds.
double least(const std::vector<double> &times) {
    return *std::min_element(times.begin(), times.end());
}

double median(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

/// The median of the rounds' ratios: what the machine does besides, it does to the neighbours of a round alike.
double medianRatio(const std::vector<double> &times, const std::vector<double> &others) {
    std::vector<double> ratios(times.size());
    std::transform(times.begin(), times.end(), others.begin(), ratios.begin(), std::divides<>());
    return median(ratios);
}

std::function<std::vector<std::string>()> inProcess(const std::string &executable, const std::string &file,
                                                    const std::string &lines) {
    return [=]() -> std::vector<std::string> {
        std::ofstream(file) << lines; // the launcher deletes it
        return {executable, "__ksv_invoke_other", file};
    };
}

/// An application bundle for both modes, made from the template.
std::string makeBundle(const std::string &runtime, const std::string &classPath) {
    const std::string bundle = work + "/Bench.app";
    fs::remove_all(bundle);
    fs::copy(KESTRAV_TEMPLATE, bundle, fs::copy_options::recursive);
    std::ofstream(bundle + "/Contents/Info.plist")
        << R"(<plist version="1.0"><dict><key>CFBundleName</key><string>Bench</string><key>ksv.initialProgress</key><false/>)"
        << "<key>CFBundleIdentifier</key><string>org.example.bench</string><key>JavaVM</key><dict>"
        << "<key>MainClass</key><string>Started</string><key>ClassPath</key><string>" << classPath
        << "</string><key>SearchSequence</key><array><string>R" << runtime << "</string></array></dict></dict></plist>";
    return bundle + "/Contents/MacOS/launcher";
}

bool compare(int rounds) {
    const std::string runtime = work + "/image/lib/runtime";
    const std::string jar = work + "/image/lib/app/started.jar";
    const std::string executable = makeBundle(runtime, jar);
    std::array<Contender, 4> contenders{{
        {"java",
         [&] {
             return std::vector<std::string>{runtime + "/bin/java", "-cp", jar, "Started"};
         }},
        {"in process", inProcess(executable, work + "/arguments", runtime + "\n-cp\n" + jar + "\nStarted")},
        {"as a child", [&] { return std::vector<std::string>{executable}; }},
        {"application image", [&] { return std::vector<std::string>{work + "/image/bin/image"}; }},
    }};
    constexpr int warmUp = 3;
    for (int round = -warmUp; round < rounds; ++round) {
        for (Contender &contender : contenders) {
            const Sample sample = measure(contender.command());
            if (round >= 0) {
                contender.times.push_back(sample.milliseconds);
            }
        }
    }
    const std::vector<double> &java = contenders[0].times;
    std::printf("%-20s %9s %9s %9s\n", "start to main, ms", "least", "median", "of java");
    for (const Contender &contender : contenders) {
        std::printf("%-20s %9.2f %9.2f %9.3f\n", contender.name.c_str(), least(contender.times),
                    median(contender.times), medianRatio(contender.times, java));
    }
    return medianRatio(contenders[1].times, java) <= mayTakeOfJava &&
           medianRatio(contenders[1].times, contenders[3].times) < 1;
}

bool measureOwnPart(int rounds) {
    const std::string runtime = work + "/empty";
    fs::create_directories(runtime + "/lib");
    fs::copy_file(KESTRAV_TEST_JLI "/COMPLETE/libjli.so", runtime + "/lib/libjli.so",
                  fs::copy_options::overwrite_existing);
    const std::string executable = makeBundle(runtime, "");
    const auto command = inProcess(executable, work + "/arguments", runtime + "\nMain");
    std::vector<double> times;
    long resident = 0;
    for (int round = 0; round < rounds * 10; ++round) {
        const Sample sample = measure(command());
        times.push_back(sample.milliseconds);
        resident = std::max(resident, sample.residentKiB);
    }
    const double own = least(times);
    std::printf("\nstart to JLI_Launch  %.2f ms, median %.2f ms, %ld KiB resident\n", own, median(times), resident);
    return own < mayTakeItself && resident < mayHold;
}

} // namespace

int main(int argc, char **argv) {
    try {
        const int rounds = argc > 1 ? std::atoi(argv[1]) : 40;
        setenv("XDG_CONFIG_HOME", (work + "/configuration").c_str(), 1);
        const bool quick = compare(rounds);
        const bool small = measureOwnPart(rounds);
        std::puts(quick && small ? "within the limits" : "BEYOND THE LIMITS");
        return quick && small ? 0 : 1;
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "start_bench: %s\n", exception.what());
        return 2;
    }
}
