#include "platform/linux/WindowModule.h"

#include "platform/linux/modules/DisplayLoss.h"
#include "platform/linux/modules/FreeWith.h"
#include "platform/linux/modules/NoticeDialog.h"
#include "platform/linux/modules/ProgressWindow.h"
#include "platform/linux/modules/WindowLibrary.h"

#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>

#include <glib-unix.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace {

template <class T> using Object = std::unique_ptr<T, FreeWith<g_object_unref>>;

constexpr unsigned PulseMilliseconds = 100;
constexpr double PulseStep = 0.04;         // of the bar's length
constexpr unsigned LookAtTasksSeconds = 1; // in case the tasks' descriptor could not be made readable
/// Tasks run after drawing and input, so that the window stays responsive however many are posted.
constexpr int TaskPriority = GDK_PRIORITY_REDRAW + 10;

gboolean runTasks(int /*descriptor*/, GIOCondition /*condition*/, void *data) {
    const auto &settings = *static_cast<const KestravWindowSettings *>(data);
    settings.runTasks(settings.context);
    return G_SOURCE_CONTINUE;
}

gboolean lookAtTasks(void *data) {
    return runTasks(0, G_IO_IN, data);
}

/// Handles "clicked" and "activate": a key first shows the button as pressed for a while, and clicks it only then.
void cancelPressed(GtkButton * /*button*/, void *data) {
    const auto &settings = *static_cast<const KestravWindowSettings *>(data);
    settings.cancelPressed(settings.context);
}

gboolean closeRequested(GtkWindow * /*window*/, void *data) {
    const auto &settings = *static_cast<const KestravWindowSettings *>(data);
    settings.closeRequested(settings.context);
    return TRUE; // the launcher has closed the window, or keeps it
}

/// Sets `shown` to the text, made valid UTF-8 as the library requires; false if it is shown already.
bool changed(std::optional<std::string> &shown, const char *text) {
    const std::unique_ptr<char, FreeWith<g_free>> valid(g_utf8_make_valid(text, -1));
    if (shown == valid.get()) {
        return false;
    }
    shown = valid.get();
    return true;
}

gboolean movePulse(void *data) {
    gtk_progress_bar_pulse(static_cast<GtkProgressBar *>(data));
    return G_SOURCE_CONTINUE;
}

void stopPulse(ProgressWindow &shown) {
    if (shown.pulse != 0) {
        g_source_remove(shown.pulse);
        shown.pulse = 0;
    }
}

void updateBar(ProgressWindow &shown, const KestravWindowContent &content) {
    if (content.indeterminate != 0) {
        shown.value = -1;
        if (content.animating != 0 && shown.pulse == 0) {
            gtk_progress_bar_set_pulse_step(shown.progressBar, PulseStep);
            gtk_progress_bar_pulse(shown.progressBar);
            shown.pulse = g_timeout_add(PulseMilliseconds, movePulse, shown.progressBar);
        }
        return;
    }
    stopPulse(shown);
    if (content.value != shown.value) {
        shown.value = content.value;
        gtk_progress_bar_set_fraction(shown.progressBar, content.value / 100);
    }
}

/// Shows the icon in the window and hands it to the desktop.
void updateIcon(ProgressWindow &shown, const KestravWindowContent &content) {
    if (content.icon == shown.icon) {
        return;
    }
    shown.icon = content.icon;
    Object<GdkTexture> texture;
    if (content.icon != nullptr) {
        const std::unique_ptr<GBytes, FreeWith<g_bytes_unref>> bytes(g_bytes_new(content.icon, content.iconLength));
        texture.reset(gdk_texture_new_from_bytes(bytes.get(), nullptr));
    }
    gtk_image_set_from_paintable(shown.iconView, GDK_PAINTABLE(texture.get()));
    gtk_widget_set_visible(GTK_WIDGET(shown.iconView), texture != nullptr);
    GdkSurface *const surface = gtk_native_get_surface(GTK_NATIVE(shown.window));
    if (texture && GDK_IS_TOPLEVEL(surface)) {
        GList icons{texture.get(), nullptr, nullptr};
        gdk_toplevel_set_icon_list(GDK_TOPLEVEL(surface), &icons);
    }
}

void update(const KestravWindowContent *content) noexcept {
    ProgressWindow &shown = progressWindow();
    if (changed(shown.title, content->title)) {
        gtk_window_set_title(shown.window, shown.title->c_str());
    }
    if (shown.label != nullptr && changed(shown.labelText, content->label)) {
        gtk_label_set_text(shown.label, shown.labelText->c_str());
    }
    if (shown.progressLabel != nullptr && changed(shown.progressText, content->progressLabel)) {
        gtk_label_set_text(shown.progressLabel, shown.progressText->c_str());
    }
    if (shown.cancelButton != nullptr) {
        if (changed(shown.buttonTitle, content->buttonTitle)) {
            gtk_button_set_label(shown.cancelButton, shown.buttonTitle->c_str());
        }
        gtk_widget_set_sensitive(GTK_WIDGET(shown.cancelButton), content->buttonEnabled);
    }
    if (shown.progressBar != nullptr) {
        updateBar(shown, *content);
    }
    if (shown.iconView != nullptr) {
        updateIcon(shown, *content);
    }
}

/// The widget with that id, or null if there is none of that type.
template <class Widget> Widget *find(GtkBuilder *builder, const char *id, GType type) {
    GObject *const object = gtk_builder_get_object(builder, id);
    return object != nullptr && g_type_is_a(G_OBJECT_TYPE(object), type) != FALSE ? reinterpret_cast<Widget *>(object)
                                                                                  : nullptr;
}

/// Creates the widgets of the interface file; false if it cannot be read or has no window.
bool build(ProgressWindow &made) {
    const KestravWindowSettings &settings = *made.settings;
    const Object<GtkBuilder> builder(gtk_builder_new());
    GError *error = nullptr;
    if (gtk_builder_add_from_file(builder.get(), settings.interfacePath, &error) == FALSE) {
        settings.message(settings.context, error->message);
        g_error_free(error);
        return false;
    }
    made.window = find<GtkWindow>(builder.get(), "window", GTK_TYPE_WINDOW);
    made.label = find<GtkLabel>(builder.get(), "label", GTK_TYPE_LABEL);
    made.progressLabel = find<GtkLabel>(builder.get(), "progressLabel", GTK_TYPE_LABEL);
    made.progressBar = find<GtkProgressBar>(builder.get(), "progressBar", GTK_TYPE_PROGRESS_BAR);
    made.cancelButton = find<GtkButton>(builder.get(), "cancelButton", GTK_TYPE_BUTTON);
    made.iconView = find<GtkImage>(builder.get(), "iconView", GTK_TYPE_IMAGE);
    if (made.iconView != nullptr) {
        gtk_widget_set_visible(GTK_WIDGET(made.iconView), FALSE); // until it has an icon
    }
    if (made.window == nullptr) {
        settings.message(settings.context, "the interface file has no window");
    }
    return made.window != nullptr;
}

void connect(ProgressWindow &made, const KestravWindowSettings *settings) {
    auto *const data = const_cast<KestravWindowSettings *>(settings);
    if (made.cancelButton != nullptr) {
        g_signal_connect(made.cancelButton, "activate", G_CALLBACK(cancelPressed), data);
        g_signal_connect(made.cancelButton, "clicked", G_CALLBACK(cancelPressed), data);
    }
    g_signal_connect(made.window, "close-request", G_CALLBACK(closeRequested), data);
    g_unix_fd_add_full(TaskPriority, settings->taskDescriptor, G_IO_IN, runTasks, data, nullptr);
    g_timeout_add_seconds_full(TaskPriority, LookAtTasksSeconds, lookAtTasks, data, nullptr);
}

int open(const KestravWindowSettings *settings, const KestravWindowContent *content) noexcept {
    ProgressWindow &made = progressWindow();
    made.settings = settings;
    made.thread = g_thread_self();
    g_log_set_writer_func(writeMessage, nullptr, nullptr);
    if (!initializeWindowLibrary(settings->programName)) {
        settings->message(settings->context, "the display cannot be opened");
        return 0;
    }
    XSetIOErrorHandler(endWithoutDisplay);
    if (!build(made)) {
        return 0;
    }
    setTextDirection(GTK_WIDGET(made.window), content->buttonTitle);
    connect(made, settings);
    GdkDisplay *const display = gtk_widget_get_display(GTK_WIDGET(made.window));
    if (GDK_IS_X11_DISPLAY(display)) {
        g_signal_connect(display, "xevent", G_CALLBACK(lookAtEvent), nullptr);
    }
    gtk_widget_realize(GTK_WIDGET(made.window)); // needed for the icon
    update(content);
    const bool hasFocus = gtk_window_get_focus(made.window) != nullptr; // as set in the interface file
    gtk_window_present(made.window);
    if (!hasFocus) {
        // The library has given the focus to the button, so a key that was meant for another window would cancel.
        gtk_window_set_focus(made.window, nullptr);
    }
    return 1;
}

void run() noexcept {
    while (progressWindow().window != nullptr) {
        g_main_context_iteration(nullptr, TRUE);
    }
}

void close() noexcept {
    ProgressWindow &shown = progressWindow();
    stopPulse(shown);
    GdkDisplay *const display = gtk_widget_get_display(GTK_WIDGET(shown.window));
    gtk_window_destroy(shown.window);
    shown.window = nullptr;
    gdk_display_flush(display); // the library's loop no longer runs
}

} // namespace

extern "C" __attribute__((visibility("default"))) void kestravWindowModule(KestravWindowModule *module) noexcept {
    *module = {open, update, run, close, showNotice};
}
