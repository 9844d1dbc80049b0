#include "Progress.h"

#include "platform/text.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace kestrav::tools {

Progress::Progress(bool verbose) : verbose_(verbose), isTerminal_(::isatty(STDERR_FILENO) == 1) {}

void Progress::say(const std::string &step) const {
    if (verbose_) {
        std::fprintf(stderr, "%s\n", platform::escapingControlCharacters(step).c_str());
    }
}

Progress::Work::Work(const Progress &progress, std::string what, std::uint64_t bytes)
    : what_(std::move(what)), total_(std::max<std::uint64_t>(bytes, 1)), isShown_(progress.isTerminal_) {
    progress.say(what_);
    advance(0);
}

Progress::Work::~Work() {
    if (isShown_) {
        const std::string blanks(what_.size() + std::string_view(" 100 %").size(), ' ');
        std::fprintf(stderr, "\r%s\r", blanks.c_str());
    }
}

void Progress::Work::advance(std::uint64_t bytes) {
    constexpr int whole = 100;
    done_ += bytes;
    const int percentage = static_cast<int>(std::min(done_, total_) * whole / total_);
    if (isShown_ && percentage != shown_) {
        shown_ = percentage;
        std::fprintf(stderr, "\r%s %d %%", what_.c_str(), percentage);
    }
}

} // namespace kestrav::tools
