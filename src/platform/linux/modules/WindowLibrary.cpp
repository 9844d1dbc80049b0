#include "platform/linux/modules/WindowLibrary.h"

#include "platform/linux/modules/FreeWith.h"

#include <memory>

namespace {

/// Cairo draws such small windows in half the time that OpenGL takes to start. The launcher has set the variables that
/// select it; the value of this one depends on the library's version.
void turnOpenGLOff() {
    constexpr unsigned FirstVersionWithOwnVariable = 16;
    if (gtk_get_minor_version() < FirstVersionWithOwnVariable && g_strcmp0(g_getenv("GDK_DEBUG"), "") == 0) {
        g_setenv("GDK_DEBUG", "gl-disable", TRUE);
    }
}

} // namespace

bool initializeWindowLibrary(const char *programName) noexcept {
    turnOpenGLOff();
    gtk_disable_setlocale(); // otherwise numbers would be written by the user's locale
    g_set_prgname(programName);
    return gtk_init_check() != FALSE;
}

void setTextDirection(GtkWidget *widget, const char *string) noexcept {
    const std::unique_ptr<PangoLayout, FreeWith<g_object_unref>> layout(gtk_widget_create_pango_layout(widget, string));
    const bool rightToLeft = pango_layout_get_direction(layout.get(), 0) == PANGO_DIRECTION_RTL;
    gtk_widget_set_default_direction(rightToLeft ? GTK_TEXT_DIR_RTL : GTK_TEXT_DIR_LTR);
}
