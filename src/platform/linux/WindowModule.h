#pragma once

#include <cstddef>

// The interface between the launcher and its module for the progress window. Only plain C data crosses it, and no
// exceptions, because each side is linked to its own C++ library. All calls are made on the main thread.

extern "C" {

/// What the window shows. Strings are UTF-8. All of it belongs to the caller and is valid during the call; the icon
/// stays valid for as long as its address is passed.
struct KestravWindowContent {
    const char *title;
    const char *label;
    const char *progressLabel;
    const char *buttonTitle;
    const char *icon; ///< a PNG image, or null
    std::size_t iconLength;
    double value; ///< 0 to 100
    int buttonEnabled;
    int indeterminate; ///< the bar only shows that something is going on …
    int animating;     ///< … and moves while it does
};

/// How the window is made, and the functions that it calls. Valid for as long as the window exists.
struct KestravWindowSettings {
    const char *interfacePath; ///< the main interface file
    const char *programName;   ///< the name by which the desktop knows the program
    int taskDescriptor;        ///< readable while tasks wait
    void *context;             ///< passed to the functions below

    void (*runTasks)(void *context) noexcept;
    void (*cancelPressed)(void *context) noexcept;
    void (*closeRequested)(void *context) noexcept; ///< call `close` to let it happen
    /// The display, or the window on it, is gone. Must not return: the window's library would end the process.
    void (*displayLost)(void *context) noexcept;
    void (*message)(void *context, const char *text) noexcept; ///< a warning from the library; any thread
};

/// A dialog with an error notice. Strings are UTF-8 and valid during the call, like the function.
struct KestravNoticeDialog {
    const char *programName; ///< the name by which the desktop knows the program
    const char *title;
    const char *message;
    const char *copyTitle; ///< of the buttons
    const char *closeTitle;
    void *context;
    void (*shown)(void *context) noexcept; ///< called once it is on the screen
};

struct KestravWindowModule {
    static constexpr const char *file = "window.so"; ///< in the bundle's Contents/Frameworks
    static constexpr const char *entry = "kestravWindowModule";

    /// Makes the window and shows it. 0 if there is no usable display or interface file.
    int (*open)(const KestravWindowSettings *settings, const KestravWindowContent *content) noexcept;
    /// Shows other content.
    void (*update)(const KestravWindowContent *content) noexcept;
    /// Runs the event loop, tasks included, until the window is closed.
    void (*run)() noexcept;
    /// Takes the window off the screen and ends `run`. Nothing but `run` may be called afterwards.
    void (*close)() noexcept;

    /// Shows a dialog until it is closed and, if its text was copied, until the text is no longer needed. 0 if there is
    /// no usable display. In a process without a progress window.
    int (*showNotice)(const KestravNoticeDialog *content) noexcept;
};

/// The module's one export: fills in its functions.
void kestravWindowModule(KestravWindowModule *module) noexcept;
}
