#include "ChildProcess.h"

#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <string_view>

extern char **environ; // NOLINT(readability-redundant-declaration): not every system declares it

namespace kestrav::tools {

namespace {

std::vector<char *> pointers(std::vector<std::string> &strings) {
    std::vector<char *> result(strings.size() + 1);
    std::transform(strings.begin(), strings.end(), result.begin(), [](std::string &string) { return string.data(); });
    return result;
}

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

bool prepare(posix_spawn_file_actions_t &actions, const ChildStart &start) {
    constexpr mode_t ownerOnly = 0600;
    constexpr int writing = O_WRONLY | O_CREAT | O_TRUNC; // NOLINT(hicpp-signed-bitwise): the system's own flags
    return posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0 &&
           (start.output.empty() ||
            (posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, start.output.c_str(), writing, ownerOnly) == 0 &&
             posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO) == 0)) &&
           (start.folder.empty() || posix_spawn_file_actions_addchdir_np(&actions, start.folder.c_str()) == 0);
}

bool prepare(posix_spawnattr_t &attributes) {
    // NOLINTNEXTLINE(hicpp-signed-bitwise): the system's own flags
    constexpr short flags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF;
    sigset_t signals;
    sigfillset(&signals);
    return posix_spawnattr_setflags(&attributes, flags) == 0 &&
           posix_spawnattr_setsigdefault(&attributes, &signals) == 0;
}

} // namespace

ChildProcess::ChildProcess(const ChildStart &start) {
    std::vector<std::string> words = start.arguments;
    words.insert(words.begin(), start.program);
    std::vector<std::string> environment = plainEnvironment();
    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t actions{};
    if (posix_spawnattr_init(&attributes) != 0) {
        return;
    }
    if (posix_spawn_file_actions_init(&actions) == 0) {
        pid_t pid = -1;
        if (prepare(attributes) && prepare(actions, start) &&
            posix_spawn(&pid, start.program.c_str(), &actions, &attributes, pointers(words).data(),
                        pointers(environment).data()) == 0) {
            pid_ = pid;
        }
        posix_spawn_file_actions_destroy(&actions);
    }
    posix_spawnattr_destroy(&attributes);
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0) {
        ::kill(-pid_, SIGKILL);
        static_cast<void>(platform::uninterrupted([this] { return ::waitpid(pid_, nullptr, 0); }));
    }
}

void ChildProcess::terminate() const {
    if (pid_ > 0) {
        ::kill(pid_, SIGTERM);
    }
}

std::optional<int> ChildProcess::status() {
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) {
        return std::nullopt;
    }
    pid_ = -1;
    return status;
}

} // namespace kestrav::tools
