#include "platform/Task.h"

#include "platform/Clock.h"
#include "platform/Exception.h"
#include "platform/ProcessInfo.h"
#include "platform/Signals.h"
#include "platform/format.h"
#include "platform/posix/system.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace kestrav::platform {

namespace {

/// Held while a pipe is made and while a child starts: not every system makes a pipe and its close-on-exec flags in
/// one step, and a child started in between would keep the pipe open.
std::mutex spawnMutex;

/// Duplicates a descriptor to a number above the standard three, which are set up separately in the child.
FileDescriptor duplicateAboveStandard(int descriptor) {
    return FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

std::string describe(int error) {
    return std::generic_category().message(error);
}

/// The attributes and file actions of one start, freed with this object. `error` is the first failure of the
/// preparations.
class SpawnSettings {
public:
    explicit SpawnSettings(bool ownGroup) {
        check(posix_spawnattr_init(&attributes));
        check(posix_spawn_file_actions_init(&actions));
        sigset_t signals;
        sigfillset(&signals);
        for (int number = 1; number < NSIG; ++number) {
            if (number != SIGCHLD && Signals::wasIgnoredAtStart(number)) {
                sigdelset(&signals, number);
            }
        }
        check(posix_spawnattr_setsigdefault(&attributes, &signals));
        sigemptyset(&signals);
        check(posix_spawnattr_setsigmask(&attributes, &signals));
        check(posix_spawnattr_setpgroup(&attributes, 0));
        if (ownGroup) {
            flags = static_cast<short>(flags | POSIX_SPAWN_SETPGROUP);
        }
    }
    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;
    ~SpawnSettings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }

    void check(int result) {
        if (error == 0) {
            error = result;
        }
    }

    /// To be called once all file actions have been added.
    void finish(int firstToClose) {
        check(closeOtherDescriptors(actions, flags, firstToClose));
        check(posix_spawnattr_setflags(&attributes, flags));
    }

    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t actions{};
    short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    int error = 0;
};

/// If SIGCHLD is ignored, as a careless parent may leave it, the system discards the child's status. It is the one
/// signal that does not stay ignored.
void keepStatusOfChildren() {
    struct sigaction current {};
    if (sigaction(SIGCHLD, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
        current.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &current, nullptr);
    }
}

/// The path and the arguments, as they are passed to the child.
std::vector<std::string> argumentVector(const std::string &path, const std::vector<std::string> &arguments) {
    for (const std::string &argument : arguments) {
        if (argument.find('\0') != std::string::npos) {
            throw Exception("TaskLaunchException",
                            format("could not start %@: an argument holds a NUL character: %@", path, argument));
        }
    }
    std::vector<std::string> vector{path};
    vector.insert(vector.end(), arguments.begin(), arguments.end());
    return vector;
}

/// "NAME=value" for each variable of the process's copy of the environment.
std::vector<std::string> environmentEntries() {
    std::vector<std::string> entries;
    for (const auto &[name, value] : ProcessInfo::processInfo().environment()) {
        entries.push_back(format("%@=%@", name, value));
    }
    return entries;
}

/// The null-terminated vector of pointers that the system takes. Refers to `strings`.
std::vector<char *> nullTerminated(std::vector<std::string> &strings) {
    std::vector<char *> result(strings.size() + 1);
    std::transform(strings.begin(), strings.end(), result.begin(), [](std::string &each) { return each.data(); });
    return result;
}

/// Names the most likely cause: the system limits each string and all of them together.
std::string describeTooLong(const std::vector<std::string> &arguments, const std::vector<std::string> &environment) {
    const std::string *longest = &arguments.front();
    for (const auto *strings : {&arguments, &environment}) {
        for (const std::string &text : *strings) {
            longest = text.size() > longest->size() ? &text : longest;
        }
    }
    return format("arguments and environment are longer than the system allows; the longest, of %lu bytes, begins with "
                  "\"%.60@\"",
                  longest->size(), *longest);
}

/// Waits with `call`, and tries again if that fails without a reason, because a child must not outlive its launcher.
/// Returns 0 or an error number.
template <class Call> int waitWithRetries(Call call) {
    constexpr int attempts = 100;
    constexpr std::int64_t pause = 1'000; // microseconds
    int error = 0;
    for (int attempt = 0; attempt < attempts && error != ECHILD; ++attempt) {
        if (uninterrupted(call) >= 0) {
            return 0;
        }
        error = errno;
        sleepMicroseconds(pause);
    }
    return error;
}

/// Blocks until the child has exited and leaves it a zombie, so that its number is not used again. Returns 0 or an
/// error number.
int awaitExit(pid_t pid) {
    siginfo_t info{};
    return waitWithRetries([&] { return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT); });
}

/// Takes the status of a child that has exited; its number is free afterwards. Returns 0 or an error number.
int reap(pid_t pid, int &status) {
    return waitWithRetries([&] { return waitpid(pid, &status, 0); });
}

} // namespace

Pipe::Pipe() {
    const std::lock_guard lock(spawnMutex);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw Exception("PipeException", "could not make a pipe: " + describe(errno));
    }
    readEnd = FileDescriptor(ends[0]);
    writeEnd = FileDescriptor(ends[1]);
    for (FileDescriptor *end : {&readEnd, &writeEnd}) {
        if (end->get() <= STDERR_FILENO) {
            *end = duplicateAboveStandard(end->get());
        }
        if (!end->valid() || fcntl(end->get(), F_SETFD, FD_CLOEXEC) != 0) {
            throw Exception("PipeException", "could not make a pipe: " + describe(errno));
        }
    }
}

Task::Task(std::string launchPath, std::vector<std::string> arguments)
    : launchPath_(std::move(launchPath)), arguments_(std::move(arguments)) {}

Task::~Task() {
    if (pid_ > 0 && !reaped_) {
        sendSignal(SIGKILL);
        int status = 0;
        static_cast<void>(reap(pid_, status));
    }
}

std::string Task::reason(int error) const {
    if (error == ENOENT && access(launchPath_.c_str(), F_OK) == 0) {
        return "the program that it needs to run is missing"; // that is, the interpreter or loader named in the file
    }
    return describe(error);
}

void Task::launch() {
    std::vector<std::string> vector = argumentVector(launchPath_, arguments_);
    std::vector<std::string> environment = environmentEntries();
    SpawnSettings settings(ownGroup_);
    std::array<FileDescriptor, 3> copies; // because one of them may have another's number
    for (std::size_t number = 0; number < standard_.size(); ++number) {
        if (standard_.at(number) >= 0) {
            FileDescriptor &copy = copies.at(number);
            copy = duplicateAboveStandard(standard_.at(number));
            settings.check(copy.valid() ? 0 : errno);
            settings.check(posix_spawn_file_actions_adddup2(&settings.actions, copy.get(), static_cast<int>(number)));
        }
    }
    FileDescriptor kept;
    if (kept_ >= 0) {
        kept = FileDescriptor(fcntl(kept_, F_DUPFD_CLOEXEC, keptDescriptor + 1));
        settings.check(kept.valid() ? 0 : errno);
        settings.check(posix_spawn_file_actions_adddup2(&settings.actions, kept.get(), keptDescriptor));
    }
    settings.finish(kept_ >= 0 ? keptDescriptor + 1 : keptDescriptor);
    keepStatusOfChildren();
    pid_t pid = -1;
    if (settings.error == 0) {
        const std::lock_guard lock(spawnMutex);
        settings.error = posix_spawn(&pid, launchPath_.c_str(), &settings.actions, &settings.attributes,
                                     nullTerminated(vector).data(), nullTerminated(environment).data());
    }
    if (settings.error != 0) {
        throw Exception("TaskLaunchException",
                        "could not start " + launchPath_ + ": " +
                            (settings.error == E2BIG ? describeTooLong(vector, environment) : reason(settings.error)));
    }
    const std::lock_guard lock(mutex_);
    pid_ = pid;
}

void Task::leave() {
    const std::lock_guard lock(mutex_);
    reaped_ = true;
}

bool Task::hasExited() const {
    siginfo_t info{};
    const int result =
        uninterrupted([&] { return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT | WNOHANG); });
    return result != 0 || info.si_pid == pid_; // of what cannot be waited for, the wait tells why
}

void Task::waitUntilExit() {
    int error = pid_ > 0 ? awaitExit(pid_) : ECHILD;
    const std::lock_guard lock(mutex_);
    int status = 0;
    if (error == 0) {
        error = reap(pid_, status);
    }
    reaped_ = true;
    if (error != 0) {
        if (error != ECHILD) {
            kill(pid_, SIGKILL); // nothing will wait for it any more
        }
        throw Exception("TaskWaitException", "could not wait for " + launchPath_ + ": " + describe(error));
    }
    status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void Task::sendSignal(int signal) {
    const std::lock_guard lock(mutex_);
    if (pid_ > 0 && !reaped_) {
        // It fails only for a zombie, on some systems, which needs no signal any more.
        kill(ownGroup_ ? -pid_ : pid_, signal);
    }
}

} // namespace kestrav::platform
