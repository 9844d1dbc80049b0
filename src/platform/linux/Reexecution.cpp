#include "platform/Reexecution.h"

#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <cstdlib>

namespace kestrav::platform {

namespace {

// "PROCESS-ID LENGTH VERSION-AND-LIBRARY", the length being the version's.
constexpr const char *variable = "KESTRAV_REEXEC";

/// Takes a number and the blank after it from the beginning of the text.
template <class Number> std::optional<Number> takeNumber(std::string_view &text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto length = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || length == text.size() || *end != ' ') {
        return std::nullopt;
    }
    text.remove_prefix(length + 1);
    return number;
}

} // namespace

void prepareReexecution(std::string_view version, std::string_view libraryPath) {
    std::string value = std::to_string(getpid()) + " " + std::to_string(version.size()) + " ";
    value.append(version).append(libraryPath);
    // Without memory for it an ordinary launch still works.
    static_cast<void>(setenv(variable, value.c_str(), 1));
}

std::optional<Reexecution> takeReexecution() {
    const char *found = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): no other thread exists
    if (found == nullptr) {
        return std::nullopt;
    }
    const std::string value = found;
    unsetenv(variable);
    std::string_view rest = value;
    if (takeNumber<pid_t>(rest) != getpid()) {
        return std::nullopt;
    }
    const auto versionLength = takeNumber<std::size_t>(rest);
    if (!versionLength || *versionLength >= rest.size()) {
        return std::nullopt;
    }
    return Reexecution{std::string(rest.substr(0, *versionLength)), std::string(rest.substr(*versionLength))};
}

} // namespace kestrav::platform
