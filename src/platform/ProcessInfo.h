#pragma once

#include <atomic>
#include <cstdint>
#include <forward_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::platform {

/// What the process was started with. The environment is a copy of its own, taken at first use: changes reach variables
/// and children, never the real environment. Filled before other threads exist. One thread may change the environment
/// afterwards while others read it: a change makes a new copy, and the earlier copies are kept for threads that still
/// read them.
class ProcessInfo {
public:
    using Environment = std::map<std::string, std::string, std::less<>>;

    [[nodiscard]] static ProcessInfo &processInfo();

    /// The whole argument vector, entry 0 included.
    [[nodiscard]] const std::vector<std::string> &arguments() const { return arguments_; }
    /// Called once, by the process's entry point.
    void setArguments(int argc, const char *const *argv);

    [[nodiscard]] const Environment &environment() const { return *current_.load(); }
    [[nodiscard]] std::optional<std::string> environmentVariable(std::string_view name) const;
    /// Sets a variable in the copy; an existing one is kept unless `overwrite`.
    void setEnvironmentVariable(std::string_view name, std::string_view value, bool overwrite);

    /// The last component of entry 0 of the arguments.
    [[nodiscard]] std::string processName() const;

    /// A string that no other call, in this process or another, has returned.
    [[nodiscard]] std::string globallyUniqueString() const;

private:
    ProcessInfo();

    std::vector<std::string> arguments_;
    std::forward_list<Environment> copies_; // of the environment, the newest first
    std::atomic<const Environment *> current_;
};

/// Sets a variable of the process's real environment, for code in this process that is not ours; a variable that is
/// already set keeps its value. The copy in `ProcessInfo` is not changed. To be called only while the process has one
/// thread.
void exportEnvironmentVariable(const std::string &name, const std::string &value);

/// A 32-bit integer of the system's own settings (sysctl), empty if the system has none of that name.
[[nodiscard]] std::optional<std::int32_t> systemControlInteger(const std::string &name);

/// Has `endProcess` call this first; it must not fail or wait. Any thread.
void setLastStep(void (*step)());

/// Ends the process with a status: output is flushed, but no destructors run. The first caller's status counts; later
/// callers wait for the end. Any thread.
[[noreturn]] void endProcess(int status);

} // namespace kestrav::platform
