#pragma once

#include "platform/Application.h"
#include "platform/linux/WindowModule.h"

#include <functional>
#include <optional>
#include <string>

namespace kestrav::platform {

/// The progress window on the screen: opens the window module and shows the controls through it. Main thread; one per
/// process.
class DesktopWindow {
public:
    /// Finds out whether there may be a display and prepares the process for the module. To be called before other
    /// threads read the environment. Controls and delegate have to outlive the object. If the display, or the window on
    /// it, is lost, `withoutWindow` is called from wherever that is noticed; it must not return.
    DesktopWindow(WindowControls &controls, ApplicationDelegate &delegate, std::function<void()> withoutWindow);

    /// Opens the module and shows the window. False if either is impossible; only the debug log says why.
    [[nodiscard]] bool open();

    /// Runs the event loop and the main queue until the window is closed.
    void run();

private:
    static DesktopWindow &fromContext(void *context) { return *static_cast<DesktopWindow *>(context); }

    void note(std::string_view text) const;
    bool loadModule();
    /// Calls back into the program, then shows what that has changed.
    template <class Action> void act(Action action);
    void requestClose();
    void showChanges();
    const KestravWindowContent &content();
    void loadIcon();

    WindowControls &controls_;
    ApplicationDelegate &delegate_;
    bool displayIsLikely_ = false;
    std::string interfacePath_;
    std::string programName_;
    std::function<void()> withoutWindow_;

    KestravWindowModule module_{};
    KestravWindowSettings settings_{};
    KestravWindowContent content_{};
    std::optional<std::string> iconPath_;
    std::string iconFile_;
    bool changed_ = false;
    bool closed_ = false;
};

} // namespace kestrav::platform
