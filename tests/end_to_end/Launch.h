#pragma once

#include "AppBundle.h"
#include "platform/FileDescriptor.h"
#include "support/ArchiveWriter.h"

#include <sys/types.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::tests {

/// What `fake_java` saw.
struct Report {
    std::vector<std::string> arguments; // including argv[0]
    std::map<std::string, std::string> environment;
    std::string directory;
    std::set<std::string> descriptors;
    std::set<std::string> signals; // the sets of blocked and ignored signals, by their names in /proc

    [[nodiscard]] bool has(std::string_view argument) const;
};

/// How a bundle is started.
struct Start {
    std::vector<std::string> arguments = {};
    std::string program = {};                            // instead of the bundle's executable
    std::map<std::string, std::string> environment = {}; // added to the run's own variables
    int standardInput = -1;                              // empty input if below zero
    int standardError = -1;                              // instead of what `errors` reads
    std::vector<std::string> by = {};                    // a command that starts the program or is replaced by it
    std::string terminal = {}; // the slave side of a pseudo-terminal; the program leads its session, in the foreground
    bool asNobody = false;     // as a user without rights, if the tests run as root
};

/// One start of a bundle's executable, with a home, a configuration and a temporary directory of its own, and neither
/// display nor desktop. A run that does not end within a minute fails its test; anything left of it is ended with this
/// object.
class Launch {
public:
    explicit Launch(const AppBundle &bundle, const Start &start = {});
    Launch(const Launch &) = delete;
    Launch &operator=(const Launch &) = delete;
    ~Launch();

    /// Waits for the end and returns the exit status; -1, and a failed test, for a crash or a hang.
    int wait();
    void sendSignal(int number) const;
    [[nodiscard]] pid_t pid() const { return pid_; }

    /// Waits until the child has reported.
    [[nodiscard]] Report report() const;
    [[nodiscard]] bool childStarted() const;
    /// Standard output and standard error up to now.
    [[nodiscard]] std::string output() const { return contentOf(folder_ / "output"); }
    [[nodiscard]] std::string errors() const { return contentOf(folder_ / "errors"); }
    /// The run's own folder: home/, configuration/, temporary/ and anything that the test adds.
    [[nodiscard]] const TemporaryDirectory &folder() const { return folder_; }
    [[nodiscard]] bool leftNothing() const;

private:
    TemporaryDirectory folder_;
    pid_t pid_ = -1;
    bool ended_ = false;
};

/// Waits until a condition holds; false, and a failed test, if it does not within a minute.
bool waitUntil(const std::function<bool()> &condition, std::string_view what);

/// Expects a run that ends with status 1 and a notice on standard error that contains `message`, without having started
/// a child.
void expectRefusal(Launch &run, std::string_view message);

/// Ends a run that logs and has no child yet with a signal, and expects neither a notice nor anything left.
void expectCancelled(Launch &run);

/// Stands in for the system's journal: a socket that the environment names.
class Journal {
public:
    Journal();
    /// How to be started with it as standard error, on a desktop that shows no notices, so that they are written there.
    [[nodiscard]] Start start(const std::string &shell) const;
    /// What was written until now.
    [[nodiscard]] const std::string &text();

private:
    platform::FileDescriptor reader_, writer_;
    std::string text_;
};

/// A pseudo-terminal, which is hung up when this object is destroyed.
class Terminal {
public:
    Terminal();
    /// The name of the side that programs use.
    [[nodiscard]] const std::string &slave() const { return slave_; }
    void type(std::string_view keys) const;

private:
    platform::FileDescriptor master_;
    std::string slave_;
};

/// Makes a runtime in the form of a bundle.
ArchiveWriter runtimeBundle();

} // namespace kestrav::tests
