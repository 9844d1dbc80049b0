// A desktop's notification service for the tests of the notices: owns the well-known name on a bus and records what
// it is asked to show. Arguments: ADDRESS RECORD MODE, where MODE is
//   markup   announces "body-markup"     plain   does not
//   error    refuses every notice        silent  never answers one
// It prints "ready" once it owns the name.

#include <gio/gio.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace {

/// Answers calls of the service's methods; leaves other messages to the library.
GDBusMessage *answer(GDBusConnection *connection, GDBusMessage *message, int incoming, void *arguments) {
    const auto *const argv = static_cast<char **>(arguments);
    const std::string mode = argv[3];
    const char *member = g_dbus_message_get_member(message);
    const std::string method = incoming != 0 && member != nullptr ? member : "";
    if (method != "GetCapabilities" && method != "Notify") {
        return message;
    }
    GDBusMessage *reply = g_dbus_message_new_method_reply(message);
    if (method == "GetCapabilities") {
        const char *const names[] = {"body", mode == "markup" ? "body-markup" : "icon-static", nullptr};
        g_dbus_message_set_body(reply, g_variant_new("(^as)", names));
    } else {
        char *text = g_variant_print(g_dbus_message_get_body(message), TRUE);
        std::ofstream(argv[2], std::ios::app) << text << "\n";
        g_free(text);
        g_dbus_message_set_body(reply, g_variant_new("(u)", 1U));
        if (mode == "error") {
            g_object_unref(reply);
            reply = g_dbus_message_new_method_error(message, "org.freedesktop.Notifications.Error", "full");
        }
    }
    if (method != "Notify" || mode != "silent") {
        g_dbus_connection_send_message(connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    }
    g_object_unref(reply);
    g_object_unref(message);
    return nullptr;
}

void nameAcquired(GDBusConnection * /*connection*/, const char * /*name*/, void * /*data*/) {
    std::cout << "ready" << std::endl;
}

} // namespace

int main(int argc, char **argv) {
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GDBusConnection *connection =
        argc == 4 ? g_dbus_connection_new_for_address_sync(argv[1], flags, nullptr, nullptr, nullptr) : nullptr;
    if (connection == nullptr) {
        return EXIT_FAILURE;
    }
    g_dbus_connection_add_filter(connection, answer, argv, nullptr);
    g_bus_own_name_on_connection(connection, "org.freedesktop.Notifications", G_BUS_NAME_OWNER_FLAGS_NONE, nameAcquired,
                                 nullptr, nullptr, nullptr);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
