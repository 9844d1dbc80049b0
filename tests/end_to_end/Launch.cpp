#include "Launch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

namespace kestrav::tests {

namespace {

constexpr std::chrono::seconds patience{60};
constexpr std::chrono::seconds patienceAfterFailure{1}; // so that the rest of a failed test does not take minutes
constexpr std::chrono::milliseconds pollInterval{5};
constexpr uid_t nobody = 65534;
constexpr int failedToStart = 126;

/// Between fork and exec: only calls that are safe there.
[[noreturn]] void become(const Start &start, int input, int output, int errors, char **arguments, char **environment) {
    if (start.terminal.empty()) {
        setpgid(0, 0);
    } else {
        setsid();
        input = open(start.terminal.c_str(), O_RDWR); // becomes the controlling terminal
    }
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    dup2(input, STDIN_FILENO);
    closefrom(STDERR_FILENO + 1);
    if (start.asNobody && getuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) {
        _exit(failedToStart);
    }
    execve(arguments[0], arguments, environment);
    _exit(failedToStart);
}

std::vector<char *> pointers(std::vector<std::string> &texts) {
    std::vector<char *> result(texts.size());
    std::transform(texts.begin(), texts.end(), result.begin(), [](std::string &entry) { return entry.data(); });
    result.push_back(nullptr);
    return result;
}

int openFile(const std::string &path) {
    return open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
}

} // namespace

bool Report::has(std::string_view argument) const {
    return std::find(arguments.begin(), arguments.end(), argument) != arguments.end();
}

bool waitUntil(const std::function<bool()> &condition, std::string_view what) {
    const auto limit =
        std::chrono::steady_clock::now() + (testing::Test::HasFailure() ? patienceAfterFailure : patience);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            ADD_FAILURE() << "waited in vain for " << what;
            return false;
        }
        std::this_thread::sleep_for(pollInterval);
    }
    return true;
}

Launch::Launch(const AppBundle &bundle, const Start &start) {
    bundle.writeInfo();
    auto variables = start.environment;
    variables.merge(std::map<std::string, std::string>{
        {"PATH", "/usr/bin:/bin"},
        {"HOME", folder_.makeDirectory("home")},
        {"XDG_CONFIG_HOME", folder_.makeDirectory("configuration")},
        {"TMPDIR", folder_.makeDirectory("temporary")},
        {"FAKE_REPORT", folder_ / "report"},
        // A sanitizer's report counts as a crash, not as status 1. The program may end with threads running and memory
        // in use.
        {"ASAN_OPTIONS", "abort_on_error=1:detect_leaks=0:disable_coredump=1"},
        {"UBSAN_OPTIONS", "abort_on_error=1:print_stacktrace=1"},
        {"TSAN_OPTIONS", "abort_on_error=1:halt_on_error=1:suppressions=" KESTRAV_TSAN_SUPPRESSIONS},
    });
    if (start.asNobody) {
        for (const std::string &path : {folder_.path(), folder_ / "home", folder_ / "configuration",
                                        folder_ / "temporary", bundle.folder().path()}) {
            fs::permissions(path, fs::perms::all);
        }
    }
    std::vector<std::string> environment;
    for (const auto &[name, value] : variables) {
        environment.push_back(name + "=" + value);
    }
    std::vector<std::string> arguments = start.by;
    arguments.push_back(start.program.empty() ? bundle.executable() : start.program);
    arguments.insert(arguments.end(), start.arguments.begin(), start.arguments.end());
    auto argumentPointers = pointers(arguments);
    auto environmentPointers = pointers(environment);

    const int output = openFile(folder_ / "output");
    const int errors = start.standardError >= 0 ? dup(start.standardError) : openFile(folder_ / "errors");
    const int nothing = openFile("/dev/null");
    const int input = start.standardInput >= 0 ? start.standardInput : nothing;
    pid_ = fork();
    if (pid_ == 0) {
        become(start, input, output, errors, argumentPointers.data(), environmentPointers.data());
    }
    for (const int descriptor : {output, errors, nothing}) {
        close(descriptor);
    }
}

Launch::~Launch() {
    if (!ended_) {
        kill(-pid_, SIGKILL); // what the program has started stays in its group
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

void Launch::sendSignal(int number) const {
    kill(pid_, number);
}

int Launch::wait() {
    int status = 0;
    const auto hasEnded = [&] {
        siginfo_t info{};
        return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == pid_;
    };
    if (!waitUntil(hasEnded, "the end of the run")) {
        ADD_FAILURE() << errors();
        return -1;
    }
    kill(-pid_, SIGKILL); // ends what it has left behind, while the number is still ours
    waitpid(pid_, &status, 0);
    ended_ = true;
    if (!WIFEXITED(status) || WEXITSTATUS(status) == failedToStart) {
        ADD_FAILURE() << "status " << status << "\n" << errors();
        return -1;
    }
    return WEXITSTATUS(status);
}

bool Launch::childStarted() const {
    return fs::exists(folder_ / "report");
}

bool Launch::leftNothing() const {
    return fs::is_empty(folder_ / "temporary");
}

Report Launch::report() const {
    Report report;
    if (!waitUntil([&] { return childStarted(); }, "the child's report")) {
        ADD_FAILURE() << errors();
        return report;
    }
    std::istringstream entries(contentOf(folder_ / "report"));
    for (std::string entry; std::getline(entries, entry, '\0');) {
        const auto split = entry.find('=');
        const std::string key = entry.substr(0, split);
        const std::string value = entry.substr(split + 1);
        if (key == "argument") {
            report.arguments.push_back(value);
        } else if (key == "environment") {
            report.environment.emplace(value.substr(0, value.find('=')), value.substr(value.find('=') + 1));
        } else if (key == "directory") {
            report.directory = value;
        } else {
            (key == "descriptor" ? report.descriptors : report.signals).insert(value);
        }
    }
    return report;
}

void expectRefusal(Launch &run, std::string_view message) {
    EXPECT_EQ(run.wait(), 1);
    EXPECT_FALSE(run.childStarted());
    const std::string errors = "\n" + run.errors();
    const auto notice = errors.find("\nTest: ");
    ASSERT_NE(notice, std::string::npos) << errors;
    EXPECT_NE(errors.find(message, notice), std::string::npos) << errors;
}

void expectCancelled(Launch &run) {
    run.sendSignal(SIGTERM);
    EXPECT_EQ(run.wait(), 1);
    EXPECT_FALSE(run.childStarted());
    EXPECT_NE(run.errors().find("] Cancelled\n"), std::string::npos) << run.errors();
    EXPECT_EQ(run.errors().find("\nTest: "), std::string::npos) << run.errors();
    EXPECT_TRUE(run.leftNothing());
}

Journal::Journal() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    reader_ = platform::FileDescriptor(ends[0]);
    writer_ = platform::FileDescriptor(ends[1]);
}

Start Journal::start(const std::string &shell) const {
    struct stat status {};
    EXPECT_EQ(fstat(writer_.get(), &status), 0);
    return {.environment = {{"JOURNAL_STREAM", std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino)},
                            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/missing"},
                            {"FAKE_SHELL", shell}},
            .standardError = writer_.get()};
}

const std::string &Journal::text() {
    std::string piece(65536, '\0');
    for (ssize_t count = 0; (count = recv(reader_.get(), piece.data(), piece.size(), MSG_DONTWAIT)) > 0;) {
        text_.append(piece, 0, static_cast<std::size_t>(count));
    }
    return text_;
}

Terminal::Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(grantpt(master_.get()), 0);
    EXPECT_EQ(unlockpt(master_.get()), 0);
    slave_ = ptsname(master_.get());
}

void Terminal::type(std::string_view keys) const {
    EXPECT_TRUE(platform::writeAll(master_.get(), keys));
}

ArchiveWriter runtimeBundle() {
    return ArchiveWriter()
        .file("size", contentOf(KESTRAV_TOOL).substr(0, 200'000)) // takes several chunks
        .directory("Contents/Home/bin/")
        .file("Contents/Info.plist", runtimeInfo())
        .file("Contents/Home/bin/java", contentOf(KESTRAV_FAKE_JAVA), 0755);
}

} // namespace kestrav::tests
