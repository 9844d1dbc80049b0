#pragma once

#include <gtk/gtk.h>

/// Prepares the window's library; false if the display cannot be opened.
[[nodiscard]] bool initializeWindowLibrary(const char *programName) noexcept;

/// The strings may not be in the user's first language, so one of them decides the direction of all widgets' text.
void setTextDirection(GtkWidget *widget, const char *string) noexcept;
