#pragma once

// What the launcher and its module of desktop notices agree on. Only plain C data crosses, and no exception: the two
// are linked to C++ libraries of their own.

extern "C" {

/// One notice. The strings belong to the caller and are valid during the call.
struct KestravNotice {
    const char *busAddress;  ///< the session bus's D-Bus address; null where only its socket is known
    const char *busSocket;   ///< the path of the session bus's socket; used without an address
    const char *application; ///< the program's name
    const char *title;
    const char *message;
    int milliseconds; ///< how long answers of the bus and the service are awaited, in all
};

struct KestravNoticeModule {
    static constexpr const char *file = "notice.so"; ///< in the bundle's Contents/Frameworks
    static constexpr const char *entry = "kestravNoticeModule";

    /// Shows a notice; 1 if the service accepted it, 0 for any failure. Any thread. Connecting to a bus that accepts
    /// but never speaks may block for good.
    int (*show)(const KestravNotice *notice) noexcept;
};

/// The module's one export: fills in its functions.
void kestravNoticeModule(KestravNoticeModule *module) noexcept;
}
