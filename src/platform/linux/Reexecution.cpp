#include "platform/Reexecution.h"

#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace kestrav::platform {

namespace {

// "PROCESS-ID START-TIME LENGTH LENGTH TEXTS": the texts are the version, the library and the library search path, the
// lengths the first two's. The start time tells this process from a later one with the same number; executing a file
// changes neither. A runtime's library executes the file again to change the search path; a Java program that executes
// it itself, to start it from the beginning, leaves that as it is.
constexpr const char *variable = "KESTRAV_REEXEC";

/// Where the system looks for libraries. No other thread exists.
std::string_view librarySearchPath() {
    const char *path = std::getenv("LD_LIBRARY_PATH"); // NOLINT(concurrency-mt-unsafe)
    return path == nullptr ? "" : path;
}

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

/// When this process began, in ticks since the system started; empty if that cannot be found out.
std::optional<std::uint64_t> processStartTime() {
    constexpr int fieldsBehindName = 20; // the start time is field 22, the name field 2
    const FileDescriptor file = FileDescriptor::open("/proc/self/stat", O_RDONLY);
    std::array<char, 1024> content{};
    ssize_t size = -1;
    for (int attempt = 0; file.valid() && size < 0 && attempt < 10; ++attempt) { // a single read returns everything
        size = read(file.get(), content.data(), content.size());
    }
    std::string_view text(content.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    // The name, in parentheses, may hold blanks and parentheses.
    text.remove_prefix(std::min(text.rfind(')'), text.size()));
    for (int field = 0; field < fieldsBehindName; ++field) {
        const std::size_t blank = text.find(' ');
        if (blank == std::string_view::npos) {
            return std::nullopt;
        }
        text.remove_prefix(blank + 1);
    }
    return takeNumber<std::uint64_t>(text);
}

} // namespace

void prepareReexecution(std::string_view version, std::string_view libraryPath) {
    const auto startTime = processStartTime();
    if (!startTime) {
        return; // if the file is executed again, the program starts from the beginning
    }
    std::string value = std::to_string(getpid()) + " " + std::to_string(*startTime) + " " +
                        std::to_string(version.size()) + " " + std::to_string(libraryPath.size()) + " ";
    value.append(version).append(libraryPath).append(librarySearchPath());
    // If there is no memory for it, an ordinary launch still works.
    static_cast<void>(setenv(variable, value.c_str(), 1));
}

std::optional<Reexecution> takeReexecution() {
    const char *found = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): no other thread exists
    if (found == nullptr) {
        return std::nullopt;
    }
    const std::string value = found;
    unsetenv(variable);
    const bool isPrivileged = getauxval(AT_SECURE) != 0; // the user who started this has fewer rights
    std::string_view rest = value;
    if (isPrivileged || takeNumber<pid_t>(rest) != getpid()) {
        return std::nullopt;
    }
    const auto startTime = takeNumber<std::uint64_t>(rest);
    if (!startTime || startTime != processStartTime()) {
        return std::nullopt;
    }
    const auto versionLength = takeNumber<std::size_t>(rest);
    const auto libraryLength = takeNumber<std::size_t>(rest);
    if (!versionLength || !libraryLength || *versionLength >= rest.size() ||
        *libraryLength > rest.size() - *versionLength || *libraryLength == 0) {
        return std::nullopt;
    }
    const std::string_view library = rest.substr(*versionLength, *libraryLength);
    if (rest.substr(*versionLength + *libraryLength) == librarySearchPath()) {
        return std::nullopt;
    }
    return Reexecution{std::string(rest.substr(0, *versionLength)), std::string(library)};
}

} // namespace kestrav::platform
