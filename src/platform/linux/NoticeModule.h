#pragma once

// The interface between the launcher and its module for desktop notices. Only plain C data crosses it, and no
// exceptions, because each side is linked to its own C++ library.

extern "C" {

/// One notice. The strings belong to the caller and are valid during the call.
struct KestravNotice {
    const char *busAddress;  ///< the session bus's D-Bus address; null where only its socket is known
    const char *busSocket;   ///< the path of the session bus's socket; used without an address
    const char *application; ///< the program's name
    const char *title;
    const char *message;
    int milliseconds; ///< how long to wait in all for answers from the bus and the service
};

struct KestravNoticeModule {
    static constexpr const char *file = "notice.so"; ///< in the bundle's Contents/Frameworks
    static constexpr const char *entry = "kestravNoticeModule";

    /// Shows a notice; 1 if the service accepted it, 0 for any failure. Any thread. Connecting to a bus that accepts
    /// but never answers may block for ever.
    int (*show)(const KestravNotice *notice) noexcept;
};

/// The module's one export: fills in its functions.
void kestravNoticeModule(KestravNoticeModule *module) noexcept;
}
