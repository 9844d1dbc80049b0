#include "ProgramRun.h"

#include "Interruption.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <thread>

extern char **environ; // NOLINT(readability-redundant-declaration): not every system declares it

namespace kestrav::tools {

namespace {

/// A child in a process group of its own, which is ended with this object.
class Child {
public:
    Child(const std::string &program, std::vector<char *> arguments, std::vector<char *> environment,
          const std::string &folder, const std::string &output) {
        posix_spawnattr_t attributes{};
        posix_spawn_file_actions_t actions{};
        sigset_t signals;
        sigfillset(&signals);
        constexpr mode_t ownerOnly = 0600;
        // NOLINTNEXTLINE(hicpp-signed-bitwise): the system's own flags
        constexpr short flags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF;
        constexpr int writing = O_WRONLY | O_CREAT | O_TRUNC;
        if (posix_spawnattr_init(&attributes) != 0) {
            return;
        }
        if (posix_spawn_file_actions_init(&actions) == 0) {
            const bool prepared =
                posix_spawnattr_setflags(&attributes, flags) == 0 &&
                posix_spawnattr_setsigdefault(&attributes, &signals) == 0 &&
                posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0 &&
                posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), writing, ownerOnly) == 0 &&
                posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO) == 0 &&
                posix_spawn_file_actions_addchdir_np(&actions, folder.c_str()) == 0;
            pid_t pid = -1;
            if (prepared &&
                posix_spawn(&pid, program.c_str(), &actions, &attributes, arguments.data(), environment.data()) == 0) {
                pid_ = pid;
            }
            posix_spawn_file_actions_destroy(&actions);
        }
        posix_spawnattr_destroy(&attributes);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child() {
        if (pid_ > 0) {
            ::kill(-pid_, SIGKILL);
            static_cast<void>(platform::uninterrupted([this] { return ::waitpid(pid_, nullptr, 0); }));
        }
    }

    [[nodiscard]] bool started() const { return pid_ > 0; }

    /// The status, once the child has ended.
    std::optional<int> status() {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) != pid_) {
            return std::nullopt;
        }
        pid_ = -1;
        return status;
    }

private:
    pid_t pid_ = -1;
};

std::vector<char *> pointers(std::vector<std::string> &strings) {
    std::vector<char *> result(strings.size() + 1);
    std::transform(strings.begin(), strings.end(), result.begin(), [](std::string &string) { return string.data(); });
    return result;
}

/// The environment without what changes the options of every Java program.
std::vector<std::string> plainEnvironment() {
    constexpr std::array changing{"JAVA_TOOL_OPTIONS=", "_JAVA_OPTIONS=", "JDK_JAVA_OPTIONS="};
    std::vector<std::string> result;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        if (std::none_of(changing.begin(), changing.end(),
                         [&](const char *each) { return std::string_view(*variable).starts_with(each); })) {
            result.emplace_back(*variable);
        }
    }
    return result;
}

} // namespace

ProgramRun runProgram(const std::string &program, const std::vector<std::string> &arguments, const std::string &folder,
                      std::chrono::seconds patience) {
    constexpr std::chrono::milliseconds pause(5);
    const std::string output = platform::appendingPathComponent(folder, ".output");
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), program);
    std::vector<std::string> environment = plainEnvironment();
    Child child(program, pointers(words), pointers(environment), folder, output);
    ProgramRun run;
    if (!child.started()) {
        return run;
    }
    std::optional<int> status;
    const auto start = std::chrono::steady_clock::now();
    while (!(status = child.status()) && std::chrono::steady_clock::now() - start < patience) {
        raiseIfInterrupted();
        std::this_thread::sleep_for(pause);
    }
    run.end = status ? ProgramRun::End::exited : ProgramRun::End::timedOut;
    run.succeeded = status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
    run.output = platform::contentsOfFile(output).value_or("");
    return run;
}

std::optional<std::string> programInPath(const std::string &name) {
    const char *path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe): nothing changes the environment
    for (const std::string &folder : platform::componentsSeparatedBy(path == nullptr ? "" : path, ":")) {
        std::error_code unknown;
        const auto program = std::filesystem::absolute(std::filesystem::path(folder) / name, unknown);
        if (!unknown && std::filesystem::is_regular_file(program, unknown) && ::access(program.c_str(), X_OK) == 0) {
            return program.string();
        }
    }
    return std::nullopt;
}

} // namespace kestrav::tools
