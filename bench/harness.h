#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// What the benchmarks have in common: programs are started and measured from outside, in turns, and compared by the
// ratios of the rounds. One thread. Failures are exceptions.

namespace kestrav::bench {

/// What was measured of one run.
struct Sample {
    double wall = 0; // milliseconds
    double user = 0; // milliseconds of processor time
    double peak = 0; // MiB resident
};

/// A started program, in a process group of its own that ends with this object.
class Process {
public:
    explicit Process(const std::vector<std::string> &command);
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process();

    /// Waits until the program, or one that it has started, has written to standard output.
    Sample untilFirstByte();
    /// Waits until the program has ended with status 0.
    Sample untilEnd();
    /// Measures the time since the start, then ends the program and everything that it has started.
    Sample untilNow();

private:
    Sample sinceStart(int signal);

    std::string name_;
    int output_ = -1;
    pid_t pid_ = 0;
    std::chrono::steady_clock::time_point start_;
};

/// One of the programs that are compared.
struct Contender {
    std::string name;
    std::function<Sample()> run;
    std::vector<Sample> samples = {};

    /// The value that this share of the samples does not exceed.
    [[nodiscard]] double quantile(double share, double Sample::*figure = &Sample::wall) const;
    [[nodiscard]] double median(double Sample::*figure = &Sample::wall) const { return quantile(0.5, figure); }
};

/// Runs the contenders in turns. The first rounds, which fill the caches, do not count.
void takeTurns(std::vector<Contender> &contenders, int rounds, int warmUp = 1);

/// The median of the rounds' ratios, because other work on the machine affects all runs of a round alike.
double medianRatio(const Contender &contender, const Contender &other, double Sample::*figure = &Sample::wall);

/// Prints a row for each contender: median, ninth decile, and the ratio to the first contender.
void printTable(const char *title, const std::vector<Contender> &contenders);

/// Prints a value and its limit; false if the value is above the limit.
bool within(const std::string &what, double value, double limit);

/// Prints a value that has no limit; true.
bool told(const std::string &what, double value);

/// Runs a benchmark's `main`: 0 if it returned true, 1 if a limit was missed, 2, and the reason on standard error, if
/// it failed.
int runMain(const char *name, const std::function<bool()> &body);

} // namespace kestrav::bench
