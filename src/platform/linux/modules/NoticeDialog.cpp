#include "platform/linux/modules/NoticeDialog.h"

#include "platform/linux/modules/FreeWith.h"
#include "platform/linux/modules/WindowLibrary.h"

#include <gtk/gtk.h>

#include <memory>

namespace {

constexpr int Space = 12; // pixels
constexpr int CharactersInALine = 60;
constexpr int LargestHeight = 400;                   // of the text, in pixels; more is scrolled to
constexpr unsigned SecondsForTheClipboard = 10 * 60; // how long the text can be pasted once the dialog is closed

struct Dialog {
    const KestravNoticeDialog *content = nullptr;
    GtkWindow *window = nullptr;
    GMainLoop *loop = nullptr;
    std::unique_ptr<char, FreeWith<g_free>> text; // for the clipboard
};

GdkClipboard *clipboardOf(const Dialog &dialog) {
    return gtk_widget_get_clipboard(GTK_WIDGET(dialog.window));
}

void copyPressed(GtkButton * /*button*/, void *data) {
    const Dialog &dialog = *static_cast<Dialog *>(data);
    gdk_clipboard_set_text(clipboardOf(dialog), dialog.text.get());
}

void closePressed(GtkButton * /*button*/, void *data) {
    gtk_window_close(static_cast<Dialog *>(data)->window);
}

void clipboardChanged(GdkClipboard *clipboard, void *data) {
    if (gdk_clipboard_is_local(clipboard) == FALSE) {
        g_main_loop_quit(static_cast<Dialog *>(data)->loop);
    }
}

gboolean endOfPatience(void *data) {
    g_main_loop_quit(static_cast<Dialog *>(data)->loop);
    return G_SOURCE_REMOVE;
}

void clipboardStored(GObject *clipboard, GAsyncResult *result, void *data) {
    Dialog &dialog = *static_cast<Dialog *>(data);
    if (gdk_clipboard_store_finish(GDK_CLIPBOARD(clipboard), result, nullptr) != FALSE) {
        g_main_loop_quit(dialog.loop);
        return;
    }
    // No clipboard manager has taken the text over, so it can be pasted only as long as this process is there.
    g_signal_connect(clipboard, "changed", G_CALLBACK(clipboardChanged), &dialog);
    g_timeout_add_seconds(SecondsForTheClipboard, endOfPatience, &dialog);
}

gboolean closeRequested(GtkWindow *window, void *data) {
    Dialog &dialog = *static_cast<Dialog *>(data);
    gtk_widget_set_visible(GTK_WIDGET(window), FALSE);
    if (gdk_clipboard_is_local(clipboardOf(dialog)) != FALSE) {
        gdk_clipboard_store_async(clipboardOf(dialog), G_PRIORITY_DEFAULT, nullptr, clipboardStored, &dialog);
    } else {
        g_main_loop_quit(dialog.loop);
    }
    return TRUE; // the window stays, because the clipboard belongs to it
}

gboolean keyPressed(GtkEventControllerKey * /*keys*/, unsigned key, unsigned /*code*/, GdkModifierType /*modifiers*/,
                    void *data) {
    if (key != GDK_KEY_Escape) {
        return FALSE;
    }
    gtk_window_close(static_cast<Dialog *>(data)->window);
    return TRUE;
}

GtkWidget *makeMessage(const char *message) {
    const std::unique_ptr<char, FreeWith<g_free>> valid(g_utf8_make_valid(message, -1));
    GtkWidget *const label = gtk_label_new(valid.get());
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_width_chars(GTK_LABEL(label), CharactersInALine);
    gtk_label_set_max_width_chars(GTK_LABEL(label), CharactersInALine);
    gtk_label_set_selectable(GTK_LABEL(label), TRUE);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_yalign(GTK_LABEL(label), 0);
    GtkWidget *const scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scroller), TRUE);
    gtk_scrolled_window_set_max_content_height(GTK_SCROLLED_WINDOW(scroller), LargestHeight);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), label);
    gtk_widget_set_vexpand(scroller, TRUE);
    return scroller;
}

GtkWidget *addButton(Dialog &dialog, GtkWidget *row, const char *title, GCallback pressed) {
    GtkWidget *const button = gtk_button_new_with_label(title);
    g_signal_connect(button, "clicked", pressed, &dialog);
    gtk_box_append(GTK_BOX(row), button);
    return button;
}

void build(Dialog &dialog) {
    const KestravNoticeDialog &content = *dialog.content;
    const std::unique_ptr<char, FreeWith<g_free>> title(g_utf8_make_valid(content.title, -1));
    dialog.window = GTK_WINDOW(gtk_window_new());
    setTextDirection(GTK_WIDGET(dialog.window), content.closeTitle);
    gtk_window_set_title(dialog.window, title.get());
    GtkWidget *const column = gtk_box_new(GTK_ORIENTATION_VERTICAL, Space);
    for (const auto set : {gtk_widget_set_margin_start, gtk_widget_set_margin_end, gtk_widget_set_margin_top,
                           gtk_widget_set_margin_bottom}) {
        set(column, Space);
    }
    gtk_box_append(GTK_BOX(column), makeMessage(content.message));
    GtkWidget *const buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, Space);
    gtk_widget_set_halign(buttons, GTK_ALIGN_END);
    addButton(dialog, buttons, content.copyTitle, G_CALLBACK(copyPressed));
    GtkWidget *const close = addButton(dialog, buttons, content.closeTitle, G_CALLBACK(closePressed));
    gtk_box_append(GTK_BOX(column), buttons);
    gtk_window_set_child(dialog.window, column);
    gtk_window_set_default_widget(dialog.window, close);
    gtk_window_set_focus(dialog.window, close); // else the library would select the whole text
}

void tellThatItIsShown(GtkWidget * /*window*/, void *data) {
    const KestravNoticeDialog &content = *static_cast<Dialog *>(data)->content;
    content.shown(content.context);
}

} // namespace

int showNotice(const KestravNoticeDialog *content) noexcept {
    if (!initializeWindowLibrary(content->programName)) {
        return 0;
    }
    Dialog dialog;
    dialog.content = content;
    dialog.loop = g_main_loop_new(nullptr, FALSE);
    const std::unique_ptr<char, FreeWith<g_free>> text(g_strconcat(content->title, "\n", content->message, nullptr));
    dialog.text.reset(g_utf8_make_valid(text.get(), -1));
    build(dialog);
    GtkEventController *const keys = gtk_event_controller_key_new();
    g_signal_connect(keys, "key-pressed", G_CALLBACK(keyPressed), &dialog);
    gtk_widget_add_controller(GTK_WIDGET(dialog.window), keys);
    g_signal_connect(dialog.window, "close-request", G_CALLBACK(closeRequested), &dialog);
    g_signal_connect_after(dialog.window, "map", G_CALLBACK(tellThatItIsShown), &dialog);
    gtk_window_present(dialog.window);
    g_main_loop_run(dialog.loop);
    return 1; // the process ends, and what it has made with it
}
