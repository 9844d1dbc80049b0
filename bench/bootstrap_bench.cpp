// How much later the child runs if the launcher starts it: from just before the start of the process to the child's
// first instruction, by turns for the child alone, the launcher with a configured runtime, and the launcher that looks
// through the standard locations. Without a window.
//
// bootstrap_bench [JSON [ROUNDS]]
//   JSON   a file for the figures
// Ends with status 1 if the launcher takes longer than it may.

#include "support/TemporaryDirectory.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr double mayAdd = 3.0; // milliseconds
constexpr int warmUp = 5;

double milliseconds(const timespec &time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Milliseconds from here to the first instruction of the child that `path` is or starts. All of it is ended then.
double timeToChild(const std::string &path) {
    std::array<int, 2> output{};
    if (pipe2(output.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    std::array<char *, 2> arguments{const_cast<char *>(path.c_str()), nullptr};

    pid_t pid = 0;
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    const int error = posix_spawn(&pid, path.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(output[1]);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), path);
    }
    timespec started{};
    const bool complete = read(output[0], &started, sizeof started) == sizeof started;
    close(output[0]);
    kill(-pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    if (!complete) {
        throw std::runtime_error(path + " has not started the child");
    }
    return milliseconds(started) - milliseconds(start);
}

/// A runtime whose bin/java is the child.
void makeRuntime(const kestrav::tests::TemporaryDirectory &folder, const std::string &name) {
    folder.write(name + "/Contents/Info.plist", "<plist version=\"1.0\"><dict><key>JavaVM</key><dict>"
                                                "<key>JVMVersion</key><string>17.0.9</string></dict></dict></plist>");
    folder.makeDirectory(name + "/Contents/Home/bin");
    fs::copy_file(KESTRAV_STARTED_CHILD, folder / (name + "/Contents/Home/bin/java"));
}

/// A bundle made from the template, with an executable and one entry of the search sequence; returns the executable.
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

double quantile(std::vector<double> times, double share) {
    std::sort(times.begin(), times.end());
    return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1) + 0.5)];
}

struct Contender {
    const char *name;
    std::string path;
    std::vector<double> times = {};

    [[nodiscard]] double median() const { return quantile(times, 0.5); }
    [[nodiscard]] double ninetieth() const { return quantile(times, 0.9); }
};

bool compare(const char *json, int rounds) {
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
        {"child alone", folder / "installed.jdk/Contents/Home/bin/java"},
        {"launcher, entry R",
         makeBundle(folder, "R.app", KESTRAV_TEMPLATE "/Contents/MacOS/launcher", "R" + (folder / "installed.jdk"))},
        {"launcher, entry Y", makeBundle(folder, "Y.app", KESTRAV_ROOTED_LAUNCHER, "Y")},
    };
    for (int round = -warmUp; round < rounds; ++round) {
        for (Contender &contender : contenders) {
            const double time = timeToChild(contender.path);
            if (round >= 0) {
                contender.times.push_back(time);
            }
        }
    }

    const double alone = contenders[0].median();
    std::string figures;
    bool quick = true;
    std::printf("%-22s %9s %9s %9s %9s\n", "start to child, ms", "median", "p90", "ratio", "added");
    for (const Contender &contender : contenders) {
        const double added = contender.median() - alone;
        quick = quick && added < mayAdd;
        std::printf("%-22s %9.2f %9.2f %9.2f %9.2f\n", contender.name, contender.median(), contender.ninetieth(),
                    contender.median() / alone, added);
        std::array<char, 256> line{};
        std::snprintf(
            line.data(), line.size(),
            "%s\n    {\"name\": \"%s\", \"median_ms\": %.3f, \"p90_ms\": %.3f, \"ratio\": %.3f, \"added_ms\": %.3f}",
            figures.empty() ? "" : ",", contender.name, contender.median(), contender.ninetieth(),
            contender.median() / alone, added);
        figures += line.data();
    }
    std::printf("%s: under %.0f ms more than the child alone\n", quick ? "met" : "MISSED", mayAdd);
    if (json != nullptr) {
        std::ofstream(json) << "{\n  \"rounds\": " << rounds << ",\n  \"start_to_child\": [" << figures << "\n  ]\n}\n";
    }
    return quick;
}

} // namespace

int main(int argc, char **argv) {
    constexpr int usualRounds = 100;
    try {
        return compare(argc > 1 ? argv[1] : nullptr, argc > 2 ? std::max(1, std::atoi(argv[2])) : usualRounds) ? 0 : 1;
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "bootstrap_bench: %s\n", exception.what());
        return 2;
    }
}
