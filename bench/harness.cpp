#include "harness.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace kestrav::bench {

Process::Process(const std::vector<std::string> &command) : name_(command.at(0)) {
    std::array<int, 2> output{};
    if (pipe2(output.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    output_ = output[0];
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    std::vector<char *> arguments;
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    start_ = std::chrono::steady_clock::now();
    const int error = posix_spawnp(&pid_, arguments[0], &actions, &attributes, arguments.data(), environ);
    close(output[1]);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        close(output_);
        throw std::system_error(error, std::generic_category(), name_);
    }
}

Process::~Process() {
    close(output_);
    if (pid_ > 0) {
        kill(-pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

Sample Process::untilFirstByte() {
    char byte = 0;
    if (read(output_, &byte, 1) != 1) {
        throw std::runtime_error(name_ + " has not started the program");
    }
    return untilNow();
}

Sample Process::untilEnd() {
    return sinceStart(0);
}

Sample Process::untilNow() {
    return sinceStart(SIGKILL);
}

Sample Process::sinceStart(int signal) {
    const auto elapsed = [this] {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    };
    const double before = elapsed();
    if (signal != 0) {
        kill(-pid_, signal);
    }
    int status = 0;
    rusage usage{};
    const bool reaped = wait4(pid_, &status, 0, &usage) == pid_;
    pid_ = 0;
    if (!reaped || (signal == 0 && status != 0)) {
        throw std::runtime_error(name_ + " failed");
    }
    constexpr double perSecond = 1e3;
    constexpr double perMicrosecond = 1e-3;
    constexpr double kibibytes = 1024;
    return {signal != 0 ? before : elapsed(),
            static_cast<double>(usage.ru_utime.tv_sec) * perSecond +
                static_cast<double>(usage.ru_utime.tv_usec) * perMicrosecond,
            static_cast<double>(usage.ru_maxrss) / kibibytes};
}

namespace {

double quantileOf(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    return values.at(static_cast<std::size_t>(share * static_cast<double>(values.size() - 1) + 0.5));
}

} // namespace

double Contender::quantile(double share, double Sample::*figure) const {
    std::vector<double> values;
    for (const Sample &sample : samples) {
        values.push_back(sample.*figure);
    }
    return quantileOf(std::move(values), share);
}

void takeTurns(std::vector<Contender> &contenders, int rounds, int warmUp) {
    for (int round = -warmUp; round < rounds; ++round) {
        for (Contender &contender : contenders) {
            const Sample sample = contender.run();
            if (round >= 0) {
                contender.samples.push_back(sample);
            }
        }
    }
}

double medianRatio(const Contender &contender, const Contender &other, double Sample::*figure) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < contender.samples.size(); ++i) {
        ratios.push_back(contender.samples[i].*figure / other.samples.at(i).*figure);
    }
    return quantileOf(std::move(ratios), 0.5);
}

void printTable(const char *title, const std::vector<Contender> &contenders) {
    constexpr double ninthDecile = 0.9;
    std::printf("%-22s %9s %9s %9s %9s %9s\n", title, "median ms", "p90 ms", "user ms", "peak MiB", "ratio");
    for (const Contender &contender : contenders) {
        std::printf("%-22s %9.2f %9.2f %9.2f %9.1f %9.3f\n", contender.name.c_str(), contender.median(),
                    contender.quantile(ninthDecile), contender.median(&Sample::user),
                    contender.quantile(1, &Sample::peak), medianRatio(contender, contenders.front()));
    }
}

bool within(const std::string &what, double value, double limit) {
    std::printf("%s: %s %.3g, at most %.3g\n", value <= limit ? "met" : "MISSED", what.c_str(), value, limit);
    return value <= limit;
}

bool told(const std::string &what, double value) {
    std::printf("told: %s %.3g\n", what.c_str(), value);
    return true;
}

int runMain(const char *name, const std::function<bool()> &body) {
    try {
        return body() ? 0 : 1;
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "%s: %s\n", name, exception.what());
        return 2;
    }
}

} // namespace kestrav::bench
