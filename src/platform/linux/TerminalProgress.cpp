#include "platform/linux/TerminalProgress.h"

#include "platform/FileDescriptor.h"
#include "platform/ProcessInfo.h"
#include "platform/format.h"
#include "platform/text.h"

#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace kestrav::platform {

namespace {

std::mutex lock; // for both
bool lineIsThere = false;
bool processEnds = false;

// The automatic line break is switched off, so that a line that is too long is cut off at the terminal's edge.
constexpr const char *Begin = "\r\033[K\033[?7l";
constexpr const char *End = "\033[?7h";
constexpr const char *Erase = "\r\033[K";

} // namespace

TerminalProgress::TerminalProgress(WindowControls &controls) : controls_(controls) {
    const auto terminal = ProcessInfo::processInfo().environmentVariable("TERM");
    usable_ = terminal && !terminal->empty() && terminal != "dumb" && isatty(STDERR_FILENO) == 1;
    if (usable_) {
        controls_.setObserver([this] { changed_ = true; });
        changed_ = false;
        setLastStep([] {
            erase();
            const std::lock_guard guard(lock);
            processEnds = true;
        });
    }
}

TerminalProgress::~TerminalProgress() {
    if (usable_) {
        controls_.setObserver({});
        erase();
    }
}

void TerminalProgress::update() {
    if (!changed_) {
        return;
    }
    changed_ = false;
    std::string line = controls_.cancelButton.isEnabled() && controls_.window.isVisible() ? text() : std::string();
    if (line == shown_) {
        return;
    }
    shown_ = std::move(line);
    if (shown_.empty()) {
        erase();
    } else if (const std::lock_guard guard(lock); !processEnds) {
        lineIsThere = true;
        static_cast<void>(writeWithin(STDERR_FILENO, Begin + shown_ + End, 0)); // without waiting: output may be halted
    }
}

void TerminalProgress::erase() {
    const std::lock_guard guard(lock);
    if (std::exchange(lineIsThere, false)) {
        static_cast<void>(writeWithin(STDERR_FILENO, Erase, 0));
    }
}

std::string TerminalProgress::text() const {
    std::string line = controls_.label.stringValue();
    if (!controls_.progressBar.isIndeterminate()) {
        const double value = controls_.progressBar.doubleValue(); // over 100, or NaN, if a size was wrong
        line = format("%3d %%  %@", value > 0 ? static_cast<int>(std::min(value, 100.0)) : 0, line);
    }
    return onOneLine(line);
}

} // namespace kestrav::platform
