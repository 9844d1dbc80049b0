#include "FirstFrame.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>

#include <memory>
#include <stdexcept>

namespace kestrav::bench {

namespace {

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

} // namespace

Contender showing(const char *name, const std::vector<std::string> &command, const std::string &display) {
    return {name, [=] {
                Watcher watcher(display);
                Process process(command);
                watcher.waitForFirstFrame();
                return process.untilNow();
            }};
}

} // namespace kestrav::bench
