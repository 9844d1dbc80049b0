// A desktop's notification service for the tests of the notices: owns the well-known name on a bus and writes down what
// it is asked to show. Arguments: ADDRESS RECORD MODE, where MODE is
//   markup   announces "body-markup"          plain   does not
//   error    refuses every notice             silent  never answers one
// It prints "ready" once it owns the name.

#include <gio/gio.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace {

constexpr const char *Interface = "<node><interface name='org.freedesktop.Notifications'>"
                                  "<method name='GetCapabilities'><arg type='as' direction='out'/></method>"
                                  "<method name='Notify'>"
                                  "<arg type='s' direction='in'/><arg type='u' direction='in'/>"
                                  "<arg type='s' direction='in'/><arg type='s' direction='in'/>"
                                  "<arg type='s' direction='in'/><arg type='as' direction='in'/>"
                                  "<arg type='a{sv}' direction='in'/><arg type='i' direction='in'/>"
                                  "<arg type='u' direction='out'/>"
                                  "</method></interface></node>";

struct Options {
    std::string record;
    std::string mode;
};

void answer(GDBusConnection * /*connection*/, const char * /*sender*/, const char * /*path*/,
            const char * /*interface*/, const char *method, GVariant *parameters, GDBusMethodInvocation *invocation,
            void *data) {
    const auto &options = *static_cast<const Options *>(data);
    if (std::string(method) == "GetCapabilities") {
        const char *const names[] = {"body", options.mode == "markup" ? "body-markup" : "icon-static", nullptr};
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(^as)", names));
        return;
    }
    char *text = g_variant_print(parameters, TRUE);
    std::ofstream(options.record, std::ios::app) << text << "\n";
    g_free(text);
    if (options.mode == "error") {
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.Notifications.Error", "full");
    } else if (options.mode != "silent") {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(u)", 1U));
    }
}

void nameAcquired(GDBusConnection * /*connection*/, const char * /*name*/, void * /*data*/) {
    std::cout << "ready" << std::endl;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 4) {
        return EXIT_FAILURE;
    }
    Options options{argv[2], argv[3]};
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GDBusConnection *connection = g_dbus_connection_new_for_address_sync(argv[1], flags, nullptr, nullptr, nullptr);
    if (connection == nullptr) {
        return EXIT_FAILURE;
    }
    GDBusNodeInfo *node = g_dbus_node_info_new_for_xml(Interface, nullptr);
    GDBusInterfaceVTable table{};
    table.method_call = answer;
    g_dbus_connection_register_object(connection, "/org/freedesktop/Notifications", node->interfaces[0], &table,
                                      &options, nullptr, nullptr);
    g_bus_own_name_on_connection(connection, "org.freedesktop.Notifications", G_BUS_NAME_OWNER_FLAGS_NONE, nameAcquired,
                                 nullptr, &options, nullptr);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
