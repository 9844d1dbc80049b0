#pragma once

#include "platform/linux/WindowModule.h"

#include <gtk/gtk.h>

#include <optional>
#include <string>

/// The one window of the process. The widgets belong to the library.
struct ProgressWindow {
    const KestravWindowSettings *settings = nullptr;
    GThread *thread = nullptr; // the only one that uses it

    GtkWindow *window = nullptr; // null: closed
    GtkLabel *label = nullptr;
    GtkLabel *progressLabel = nullptr;
    GtkProgressBar *progressBar = nullptr;
    GtkButton *cancelButton = nullptr;
    GtkImage *iconView = nullptr;

    // What is shown, so that only changes are drawn again.
    std::optional<std::string> title;
    std::optional<std::string> labelText;
    std::optional<std::string> progressText;
    std::optional<std::string> buttonTitle;
    const char *icon = nullptr;
    double value = -1;
    unsigned pulse = 0; // the timer that moves an indeterminate bar
};

inline ProgressWindow &progressWindow() noexcept {
    static ProgressWindow instance;
    return instance;
}
