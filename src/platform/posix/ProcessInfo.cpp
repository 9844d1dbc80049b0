#include "platform/ProcessInfo.h"

#include "platform/Clock.h"
#include "platform/posix/NeverDestroyed.h"

#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <utility>

// Not every system declares it in <unistd.h>.
extern char **environ; // NOLINT(readability-redundant-declaration)

namespace kestrav::platform {

namespace {
std::atomic<void (*)()> lastStep{nullptr};
}

ProcessInfo &ProcessInfo::processInfo() {
    static NeverDestroyed<ProcessInfo> info([] { return ProcessInfo(); });
    return info.get();
}

ProcessInfo::ProcessInfo() : copies_(1), current_(&copies_.front()) {
    for (char **entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos) {
            // Of two entries with the same name the first counts, as for getenv.
            copies_.front().emplace(text.substr(0, equals), text.substr(equals + 1));
        }
    }
}

void ProcessInfo::setArguments(int argc, const char *const *argv) {
    arguments_.assign(argv, argv + argc);
}

std::optional<std::string> ProcessInfo::environmentVariable(std::string_view name) const {
    const Environment &environment = this->environment();
    const auto found = environment.find(name);
    return found == environment.end() ? std::nullopt : std::optional(found->second);
}

void ProcessInfo::setEnvironmentVariable(std::string_view name, std::string_view value, bool overwrite) {
    if (!overwrite && environment().count(name) != 0) {
        return;
    }
    Environment changed = environment();
    changed.insert_or_assign(std::string(name), std::string(value));
    current_ = &copies_.emplace_front(std::move(changed));
}

std::string ProcessInfo::processName() const {
    if (arguments_.empty()) {
        return {};
    }
    return arguments_.front().substr(arguments_.front().rfind('/') + 1);
}

std::string ProcessInfo::globallyUniqueString() const {
    static std::atomic<unsigned> counter{0};
    std::array<unsigned char, 16> random{};
    // Without entropy the other parts still tell processes and calls apart.
    static_cast<void>(getentropy(random.data(), random.size()));
    std::string text;
    std::array<char, 64> piece{};
    for (std::size_t index = 0; index < random.size(); ++index) {
        const bool dash = index == 4 || index == 6 || index == 8 || index == 10;
        std::snprintf(piece.data(), piece.size(), dash ? "-%02X" : "%02X", static_cast<unsigned>(random[index]));
        text += piece.data();
    }
    std::snprintf(piece.data(), piece.size(), "-%ld-%016llX-%X", static_cast<long>(getpid()),
                  static_cast<unsigned long long>(currentMicroseconds()), counter.fetch_add(1));
    return text + piece.data();
}

void exportEnvironmentVariable(const std::string &name, const std::string &value) {
    // It fails if memory is short or the name is impossible; the runtime then has to do without the variable.
    static_cast<void>(setenv(name.c_str(), value.c_str(), 0));
}

void setLastStep(void (*step)()) {
    lastStep = step;
}

void endProcess(int status) {
    static std::atomic<bool> ending{false};
    if (ending.exchange(true)) {
        for (;;) {
            pause();
        }
    }
    if (const auto step = lastStep.load(); step != nullptr) {
        step();
    }
    static_cast<void>(std::fflush(stdout));
    static_cast<void>(std::fflush(stderr));
    std::_Exit(status);
}

} // namespace kestrav::platform
