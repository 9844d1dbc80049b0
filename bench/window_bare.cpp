// What the progress window is compared with: a bare GTK 4 program that shows an equal window with the library's own
// defaults.
//
// window_bare INTERFACE_FILE

#include <gtk/gtk.h>

int main(int argc, char **argv) {
    gtk_init();
    GtkBuilder *const builder = gtk_builder_new_from_file(argv[argc - 1]);
    const auto object = [&](const char *id) { return gtk_builder_get_object(builder, id); };
    gtk_window_set_title(GTK_WINDOW(object("window")), "Application Start");
    gtk_label_set_text(GTK_LABEL(object("label")), "Preparing Test…");
    gtk_button_set_label(GTK_BUTTON(object("cancelButton")), "Cancel");
    gtk_window_present(GTK_WINDOW(object("window")));
    for (;;) {
        g_main_context_iteration(nullptr, TRUE);
    }
}
