#pragma once

#include <cstdint>
#include <string>

namespace kestrav::tools {

/// What is told on standard error while an application is made: with --verbose a line for each step, and on a terminal
/// a line with the percentage of what takes long, which is removed in the end.
class Progress {
public:
    explicit Progress(bool verbose);

    /// Tells of a step, if that is wanted.
    void say(const std::string &step) const;

    /// One piece of work that takes long. It ends with this object.
    class Work {
    public:
        Work(const Progress &progress, std::string what, std::uint64_t bytes);
        Work(const Work &) = delete;
        Work &operator=(const Work &) = delete;
        ~Work();
        void advance(std::uint64_t bytes);

    private:
        std::string what_;
        std::uint64_t total_;
        std::uint64_t done_ = 0;
        int shown_ = -1; ///< the percentage on the terminal
        bool isShown_;
    };

private:
    bool verbose_;
    bool isTerminal_;
};

} // namespace kestrav::tools
