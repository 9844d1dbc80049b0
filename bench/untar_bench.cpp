// Compares the extraction of an archive with what else there is: bsdtar, GNU tar, and zlib inflating it to nowhere.
//
//   untar_bench ARCHIVE [ROUNDS]
//
// The contenders run in turn, each in a process of its own, into a fresh directory below TMPDIR. Prints the median of
// wall and user CPU times and the highest peak memory of each, and the median of the ratios of each round, which what
// else the machine does disturbs least; the exit status is 1 if a limit was missed.

#include "mac_installer/UnTar.h"

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

extern char **environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace {

namespace fs = std::filesystem;

struct Figures {
    std::vector<double> wall; // seconds, one a round
    std::vector<double> user;
    double peakMebibytes = 0;
};

struct Contender {
    const char *name;
    std::vector<std::string> command; ///< the destination's path is appended
    Figures figures = {};
};

int untar(const char *archive, const char *destination) {
    const auto ignore = [](double, const std::optional<std::string> &) {};
    return kestrav::UnTar::untar(archive, destination, 75'000'000, ignore, [] {}).complete ? 0 : 1;
}

int inflateOnly(const char *archive) {
    gzFile file = gzopen(archive, "r");
    std::array<char, 32768> chunk;
    int count = 0;
    gzbuffer(file, 128 * 1024);
    while ((count = gzread(file, chunk.data(), chunk.size())) > 0) {
    }
    return gzclose(file) == Z_OK && count == 0 ? 0 : 1;
}

void run(Contender &contender, const std::string &destination) {
    fs::remove_all(destination);
    fs::create_directory(destination);
    std::vector<std::string> command = contender.command;
    command.push_back(destination);
    std::vector<char *> arguments(command.size() + 1, nullptr);
    std::transform(command.begin(), command.end(), arguments.begin(), [](std::string &text) { return text.data(); });
    pid_t child = 0;
    int status = 0;
    rusage usage{};
    const auto start = std::chrono::steady_clock::now();
    if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
        wait4(child, &status, 0, &usage) != child || status != 0) {
        throw std::runtime_error(std::string(contender.name) + " failed");
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    const auto micro = static_cast<double>(usage.ru_utime.tv_usec);
    Figures &figures = contender.figures;
    figures.wall.push_back(wall.count());
    figures.user.push_back(static_cast<double>(usage.ru_utime.tv_sec) + micro / 1e6);
    figures.peakMebibytes = std::max(figures.peakMebibytes, static_cast<double>(usage.ru_maxrss) / 1024);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double medianRatio(const std::vector<double> &values, const std::vector<double> &others) {
    std::vector<double> ratios(values.size());
    std::transform(values.begin(), values.end(), others.begin(), ratios.begin(), std::divides<>());
    return median(ratios);
}

/// Prints a figure against its limit; false if it is above.
bool within(const char *what, double value, double limit) {
    std::printf("%-34s %7.2f  (at most %.2f)%s\n", what, value, limit, value <= limit ? "" : "  MISSED");
    return value <= limit;
}

int compare(const std::string &self, const std::string &archive, int rounds) {
    std::array<Contender, 4> contenders{{{"UnTar", {self, "--untar", archive}},
                                         {"bsdtar", {"bsdtar", "-xf", archive, "-C"}},
                                         {"GNU tar", {"tar", "-xf", archive, "-C"}},
                                         {"bare zlib", {self, "--inflate", archive}}}};
    const std::string destination = (fs::temp_directory_path() / ("untar-bench-" + std::to_string(getpid()))).string();
    for (int round = 0; round < rounds; ++round) {
        for (Contender &contender : contenders) {
            run(contender, destination);
        }
    }
    fs::remove_all(destination);
    std::printf("%-10s %9s %9s %9s\n", "", "wall s", "user s", "peak MiB");
    for (const Contender &contender : contenders) {
        const Figures &figures = contender.figures;
        std::printf("%-10s %9.3f %9.3f %9.1f\n", contender.name, median(figures.wall), median(figures.user),
                    figures.peakMebibytes);
    }
    const Figures &untar = contenders[0].figures;
    bool good = within("wall time against bsdtar", medianRatio(untar.wall, contenders[1].figures.wall), 1.05);
    good = within("wall time against GNU tar", medianRatio(untar.wall, contenders[2].figures.wall), 0.6) && good;
    good = within("user CPU against bare zlib", medianRatio(untar.user, contenders[3].figures.user), 1.2) && good;
    good = within("peak memory in MiB", untar.peakMebibytes, 8) && good;
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    try {
        if (first == "--untar" && argc == 4) {
            return untar(argv[2], argv[3]);
        }
        if (first == "--inflate" && argc == 4) {
            return inflateOnly(argv[2]);
        }
        if (argc == 2 || argc == 3) {
            return compare(argv[0], first, argc == 3 ? std::max(std::atoi(argv[2]), 1) : 15);
        }
        std::fputs("usage: untar_bench ARCHIVE [ROUNDS]\n", stderr);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "untar_bench: %s\n", error.what());
    }
    return 2;
}
