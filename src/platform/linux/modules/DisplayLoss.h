#pragma once

#include "platform/linux/modules/ProgressWindow.h"

#include <gdk/wayland/gdkwayland.h>
#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>

#include <cstdlib>

// When the display is lost, the library would end the process at once, while the program that it has started keeps
// running. The following functions prevent that.

[[noreturn]] inline int endWithoutDisplay(Display * /*display*/) {
    const KestravWindowSettings &settings = *progressWindow().settings;
    settings.displayLost(settings.context);
    std::abort();
}

/// Another client may destroy the window itself, which the library would treat as its own error.
inline gboolean lookAtEvent(GdkDisplay * /*display*/, const XEvent *event, void * /*data*/) {
    GtkWindow *const window = progressWindow().window;
    GdkSurface *const surface = window != nullptr ? gtk_native_get_surface(GTK_NATIVE(window)) : nullptr;
    if (event->type == DestroyNotify && surface != nullptr &&
        event->xdestroywindow.window == gdk_x11_surface_get_xid(surface)) {
        endWithoutDisplay(nullptr);
    }
    return FALSE; // the library handles the event as usual
}

/// True for the message that the library logs about an unexpected X error before it ends the process. An X error
/// handler of ours would not be enough: the library installs its own wherever it expects errors, and late ones arrive
/// there as well.
inline bool tellsOfXError(const char *message) {
    return g_strstr_len(message, -1, "received an X Window System error") != nullptr;
}

/// Wayland has no handler for this either, but the library logs a message before it ends the process.
inline bool waylandIsLost() {
    GdkDisplay *const display = gdk_display_get_default();
    return GDK_IS_WAYLAND_DISPLAY(display) && g_thread_self() == progressWindow().thread &&
           wl_display_get_error(gdk_wayland_display_get_wl_display(display)) != 0;
}

inline GLogWriterOutput writeMessage(GLogLevelFlags level, const GLogField *fields, gsize count, void * /*data*/) {
    const KestravWindowSettings &settings = *progressWindow().settings;
    const bool isComplaint = (level & G_LOG_LEVEL_MASK) <= G_LOG_LEVEL_WARNING;
    bool isXError = false;
    for (gsize i = 0; isComplaint && i < count; ++i) {
        if (g_strcmp0(fields[i].key, "MESSAGE") == 0 && fields[i].length < 0) {
            const auto *message = static_cast<const char *>(fields[i].value);
            settings.message(settings.context, message);
            isXError = tellsOfXError(message);
        }
    }
    if (isXError || waylandIsLost()) {
        endWithoutDisplay(nullptr);
    }
    return G_LOG_WRITER_HANDLED;
}
