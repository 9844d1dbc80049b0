#pragma once

#include <cstddef>
#include <cstdint>

// The interface between the launcher and its download module. Only plain C data crosses it, and no exceptions, because
// each side is linked to its own C++ library.

extern "C" {

/// What an answer says about the file it brings. The strings are never null; an empty one was not sent.
struct KestravAnswer {
    long status;         ///< the HTTP status; 0: another scheme
    std::int64_t length; ///< the body's, in bytes; -1: not announced
    const char *entityTag;
    const char *lastModified;
    const char *date;
    const char *contentRange;
};

/// One transfer. The module calls the functions on the thread that makes the transfer.
struct KestravTransfer {
    const char *url;
    const char *range;                ///< the header "Range" with its value, null: the whole file is asked for
    const char *rangeCondition;       ///< the header "If-Range" with its value
    const char *certificateFile;      ///< the certificates to trust (PEM); null: the system's
    std::int64_t timeoutMilliseconds; ///< how long the other side may be silent
    int wakeDescriptor;               ///< while it is readable, `step` is called without delay
    void *host;                       ///< handed to each function

    /// Called when the answer is there; its body follows. 0 ends the transfer.
    int (*response)(void *host, const KestravAnswer *answer) noexcept;
    /// Called with bytes as the server sent them, never decoded. 0 ends the transfer.
    int (*data)(void *host, const char *bytes, std::size_t count) noexcept;
    /// Called now and then. Returns the milliseconds after which it must be called again; below 0 ends the transfer.
    int (*step)(void *host) noexcept;
};

struct KestravDownloadModule {
    static constexpr const char *file = "download.so"; ///< in the bundle's Contents/Frameworks
    static constexpr const char *entry = "kestravDownloadModule";

    /// Makes a transfer and returns when it has ended: 1 if it is complete; otherwise `error` holds a message for
    /// people, and -1 means that the connection broke or could not be made, 0 that something else is wrong.
    int (*transfer)(const KestravTransfer *transfer, char *error, std::size_t errorSize) noexcept;
};

/// The module's one export: fills in its functions.
void kestravDownloadModule(KestravDownloadModule *module) noexcept;
}
