// Measures the time from the start of a process to the first frame of its window, seen from outside: the launcher's
// progress window, and the same window shown by a bare GTK 4 program, in turns, on a separate display.
//
//   window_bench [ROUNDS]
//
// Ends with status 1 if the launcher takes too long.

#include "end_to_end/AppBundle.h"
#include "harness.h"
#include "support/VirtualDisplay.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace kestrav::bench;
using namespace kestrav::tests;

namespace {

constexpr double mayTakeOfBare = 1.2;
constexpr int usualRounds = 15;
constexpr unsigned deadlineSeconds = 300;

/// The events on a display.
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
        XSync(display_.get(), True); // earlier events do not count
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

/// Measures a command until its first frame, then ends the command and everything that it has started.
Contender showing(const char *name, const std::vector<std::string> &command, const std::string &display) {
    return {name, [=] {
                Watcher watcher(display);
                Process process(command);
                watcher.waitForFirstFrame();
                return process.untilNow();
            }};
}

bool compare(int rounds) {
    const VirtualDisplay display(false);
    const AppBundle bundle;
    bundle.writeInfo();
    setenv("DISPLAY", display.name().c_str(), 1);
    setenv("GDK_BACKEND", "x11", 1);
    setenv("GTK_A11Y", "none", 1); // only the bare program would look for a session bus, which is not there
    setenv("FAKE_PAUSE", "1", 1);  // the program behind the window does nothing
    std::vector<Contender> contenders{
        showing("bare GTK 4 program", {KESTRAV_WINDOW_BARE, bundle.path() + "/Contents/Resources/MainWindow.ui"},
                display.name()),
        showing("launcher", {bundle.executable()}, display.name()),
    };
    takeTurns(contenders, rounds);
    printTable("start to first frame", contenders);
    return within("launcher, of the bare program", medianRatio(contenders[1], contenders[0]), mayTakeOfBare);
}

} // namespace

int main(int argc, char **argv) {
    alarm(deadlineSeconds);
    return runMain("window_bench", [&] { return compare(argc > 1 ? std::atoi(argv[1]) : usualRounds); });
}
