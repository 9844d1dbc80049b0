#include "platform/linux/NoticeModule.h"

#include "platform/linux/modules/FreeWith.h"

#include <gio/gio.h>

#include <algorithm>
#include <memory>

namespace {

using Connection = std::unique_ptr<GDBusConnection, FreeWith<g_object_unref>>;
using Value = std::unique_ptr<GVariant, FreeWith<g_variant_unref>>;
using Text = std::unique_ptr<char, FreeWith<g_free>>;

constexpr const char *Service = "org.freedesktop.Notifications";
constexpr const char *ServicePath = "/org/freedesktop/Notifications";
constexpr guchar UrgencyCritical = 2;
constexpr gint32 NeverExpires = 0;

Connection connect(const KestravNotice &notice) {
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    Text address(g_strdup(notice.busAddress));
    if (!address) {
        const Text path(g_dbus_address_escape_value(notice.busSocket));
        address.reset(g_strconcat("unix:path=", path.get(), nullptr));
    }
    // A private connection: the shared one ends the process when the bus is lost.
    return Connection(g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, nullptr));
}

/// Calls the notification service until `deadline` (monotonic, microseconds); null for any failure.
Value call(const Connection &connection, const char *method, GVariant *arguments, const char *replyType,
           gint64 deadline) {
    const auto left = static_cast<int>((deadline - g_get_monotonic_time()) / 1000);
    return Value(g_dbus_connection_call_sync(connection.get(), Service, ServicePath, Service, method, arguments,
                                             G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, std::max(left, 1),
                                             nullptr, nullptr));
}

bool announcesMarkup(const Value &reply) {
    const Value list(g_variant_get_child_value(reply.get(), 0));
    const std::unique_ptr<const char *, FreeWith<g_free>> names(g_variant_get_strv(list.get(), nullptr));
    return g_strv_contains(names.get(), "body-markup") != FALSE;
}

/// The text as valid UTF-8, which the library requires.
Text validText(const char *text) {
    return Text(g_utf8_make_valid(text, -1));
}

GVariant *notification(const KestravNotice &notice, bool markup) {
    const Text application = validText(notice.application);
    const Text title = validText(notice.title);
    Text body = validText(notice.message);
    if (markup) {
        body.reset(g_markup_escape_text(body.get(), -1));
    }
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&hints, "{sv}", "urgency", g_variant_new_byte(UrgencyCritical));
    return g_variant_new("(susssasa{sv}i)", application.get(), 0U, "", title.get(), body.get(), nullptr, &hints,
                         NeverExpires);
}

int show(const KestravNotice *notice) noexcept {
    const gint64 deadline = g_get_monotonic_time() + gint64{notice->milliseconds} * 1000;
    const Connection connection = connect(*notice);
    if (!connection) {
        return 0;
    }
    const Value capabilities = call(connection, "GetCapabilities", nullptr, "(as)", deadline);
    if (!capabilities) {
        return 0;
    }
    GVariant *const arguments = notification(*notice, announcesMarkup(capabilities));
    return call(connection, "Notify", arguments, "(u)", deadline) ? 1 : 0;
}

} // namespace

extern "C" __attribute__((visibility("default"))) void kestravNoticeModule(KestravNoticeModule *module) noexcept {
    module->show = show;
}
