// From the start of a process to the first frame of its window, seen from outside: the launcher's progress window, and
// the same window shown by a bare GTK 4 program; by turns, on a display of their own.
//
// window_bench RESULTS [ROUNDS]
// Ends with status 1 if the launcher takes longer than it may.

#include "end_to_end/AppBundle.h"
#include "support/VirtualDisplay.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace kestrav::tests;

namespace {

using Clock = std::chrono::steady_clock;

constexpr double mayTakeOfBare = 1.2;
constexpr int usualRounds = 15;
constexpr unsigned deadlineSeconds = 300;

/// What happens on a display.
class Watcher {
public:
    explicit Watcher(const std::string &display) : display_(XOpenDisplay(display.c_str())) {
        int errorBase = 0;
        if (!display_ || XDamageQueryExtension(display_.get(), &damageEvent_, &errorBase) == 0) {
            throw std::runtime_error("the display cannot be watched");
        }
        const Window root = DefaultRootWindow(display_.get());
        XSelectInput(display_.get(), root, SubstructureNotifyMask);
        XDamageCreate(display_.get(), root, XDamageReportRawRectangles);
        XSync(display_.get(), True); // what was before does not count
    }

    /// Waits until something is drawn after a window has appeared.
    void waitForFirstFrame() {
        constexpr int leastWidth = 100; // helper windows are smaller
        for (bool mapped = false;;) {
            XEvent event{};
            XNextEvent(display_.get(), &event);
            if (event.type == ConfigureNotify && event.xconfigure.width >= leastWidth) {
                window_ = event.xconfigure.window;
            } else if (event.type == MapNotify && event.xmap.window == window_) {
                mapped = true;
            } else if (mapped && event.type == damageEvent_ + XDamageNotify) {
                return;
            }
        }
    }

private:
    struct Close {
        void operator()(Display *display) const { XCloseDisplay(display); }
    };
    std::unique_ptr<Display, Close> display_;
    int damageEvent_ = 0;
    Window window_ = None;
};

/// Milliseconds from the start of a command to its first frame. Then the command, and what it has started, ends.
double measure(std::vector<std::string> command, const std::string &display) {
    Watcher watcher(display);
    std::vector<char *> arguments;
    for (std::string &argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    pid_t process = 0;
    const auto start = Clock::now();
    if (posix_spawn(&process, arguments[0], nullptr, &attributes, arguments.data(), environ) != 0) {
        throw std::runtime_error("cannot start " + command[0]);
    }
    watcher.waitForFirstFrame();
    const std::chrono::duration<double, std::milli> time = Clock::now() - start;
    kill(-process, SIGKILL);
    waitpid(process, nullptr, 0);
    posix_spawnattr_destroy(&attributes);
    return time.count();
}

/// The middle of the quicker half: what the machine does besides only ever adds.
double typical(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 4);
}

} // namespace

int main(int argc, char **argv) {
    alarm(deadlineSeconds);
    const int rounds = argc > 2 ? std::atoi(argv[2]) : usualRounds;
    const VirtualDisplay display(false);
    const AppBundle bundle;
    bundle.writeInfo();
    setenv("DISPLAY", display.name().c_str(), 1);
    setenv("GDK_BACKEND", "x11", 1);
    setenv("GTK_A11Y", "none", 1); // looking for a session bus, which is not there, would count for the bare one alone
    setenv("FAKE_PAUSE", "1", 1);  // the program behind the window does nothing

    struct Contender {
        const char *name;
        std::vector<std::string> command;
        std::vector<double> times = {};
    };
    std::vector<Contender> contenders{
        {"launcher", {bundle.executable()}},
        {"bare", {KESTRAV_WINDOW_BARE, bundle.path() + "/Contents/Resources/MainWindow.ui"}},
    };
    for (int round = 0; round <= rounds; ++round) {
        for (Contender &contender : contenders) {
            const double time = measure(contender.command, display.name());
            if (round > 0) { // the first one fills the caches
                contender.times.push_back(time);
            }
        }
    }
    const double launcher = typical(contenders[0].times);
    const double bare = typical(contenders[1].times);
    std::printf("launcher              %6.1f ms\nbare GTK 4 program    %6.1f ms\nratio                 %6.2f (aim: at "
                "most %.1f)\n",
                launcher, bare, launcher / bare, mayTakeOfBare);
    std::ofstream(argv[1]) << "{\"launcher\": " << launcher << ", \"bare\": " << bare << "}\n";
    return launcher / bare <= mayTakeOfBare ? 0 : 1;
}
