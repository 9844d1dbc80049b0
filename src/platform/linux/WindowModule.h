#pragma once

#include <cstddef>

// What the launcher and its module of the progress window agree on. Only plain C data crosses, and no exception: the
// two are linked to C++ libraries of their own. Everything happens on the main thread.

extern "C" {

/// What the window shows. Strings are UTF-8. All of it belongs to the caller and is valid during the call; the icon
/// stays as long as its address is passed.
struct KestravWindowContent {
    const char *title;
    const char *label;
    const char *progressLabel;
    const char *buttonTitle;
    const char *icon; ///< a PNG image, or null
    std::size_t iconLength;
    double value; ///< 0 to 100
    int buttonEnabled;
    int indeterminate; ///< the bar only shows that something goes on …
    int animating;     ///< … and moves while it does
};

/// How the window comes into being and whom it asks. Valid as long as the window lives.
struct KestravWindowSettings {
    const char *interfacePath; ///< the main interface file
    const char *programName;   ///< what the desktop knows the program by
    int taskDescriptor;        ///< readable while tasks wait
    void *context;             ///< passed to the functions below

    void (*runTasks)(void *context) noexcept;
    void (*cancelPressed)(void *context) noexcept;
    void (*closeRequested)(void *context) noexcept; ///< to grant it, call `close`
    /// The display, or the window on it, is gone. Must not return: the window's library would end the process.
    void (*displayLost)(void *context) noexcept;
    void (*message)(void *context, const char *text) noexcept; ///< a complaint of the library; any thread
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
};

/// The module's one export: fills in its functions.
void kestravWindowModule(KestravWindowModule *module) noexcept;
}
