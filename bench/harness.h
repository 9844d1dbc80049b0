#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// What the benchmarks have in common: programs that are started and measured from outside, by turns, and judged by the
// ratios of the rounds. One thread. Failures are exceptions.

namespace kestrav::bench {

/// One run, as far as it was measured.
struct Sample {
    double wall = 0; // milliseconds
    double user = 0; // milliseconds of the processor
    double peak = 0; // MiB resident
};

/// A started program, in a process group of its own that ends with this object.
class Process {
public:
    explicit Process(const std::vector<std::string> &command);
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process();

    /// Waits until the program, or one that it has started, writes to standard output.
    Sample untilFirstByte();
    /// Waits until the program has ended with status 0.
    Sample untilEnd();
    /// The time since the start. The program, and what it has started, is ended.
    Sample untilNow();

private:
    Sample sinceStart(int signal);

    std::string name_;
    int output_ = -1;
    pid_t pid_ = 0;
    std::chrono::steady_clock::time_point start_;
};

/// One of those that are compared.
struct Contender {
    std::string name;
    std::function<Sample()> run;
    std::vector<Sample> samples = {};

    /// The value that such a share of the samples does not exceed.
    [[nodiscard]] double quantile(double share, double Sample::*figure = &Sample::wall) const;
    [[nodiscard]] double median(double Sample::*figure = &Sample::wall) const { return quantile(0.5, figure); }
};

/// Runs them by turns. The first rounds, which fill the caches, do not count.
void takeTurns(std::vector<Contender> &contenders, int rounds, int warmUp = 1);

/// The median of the rounds' ratios: what the machine does besides, it does to the neighbours of a round alike.
double medianRatio(const Contender &contender, const Contender &other, double Sample::*figure = &Sample::wall);

/// Prints a row for each contender: median, ninth decile, and the ratio to the first one.
void printTable(const char *title, const std::vector<Contender> &contenders);

/// Prints a figure beside its limit; false if it is above.
bool within(const std::string &what, double value, double limit);

/// Runs a benchmark's `main`: 0 if it returned true, 1 if a limit was missed, 2, and the reason on standard error, if
/// it failed.
int runMain(const char *name, const std::function<bool()> &body);

} // namespace kestrav::bench
