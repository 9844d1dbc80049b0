#pragma once

#include <cstddef>
#include <cstdint>

// What the launcher and its module of downloads agree on. Only plain C data crosses, and no exception: the two are
// linked to C++ libraries of their own.

extern "C" {

/// What an answer tells of the file it brings. The texts are never null; empty: not sent.
struct KestravAnswer {
    long status;         ///< of HTTP; 0: another scheme
    std::int64_t length; ///< of the body in bytes; -1: not announced
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

    /// The answer is there; its body follows. 0 ends the transfer.
    int (*response)(void *host, const KestravAnswer *answer) noexcept;
    /// Bytes as the server sent them, never decoded. 0 ends the transfer.
    int (*data)(void *host, const char *bytes, std::size_t count) noexcept;
    /// Called now and then. Returns after how many milliseconds it has to be called again; below 0 ends the transfer.
    int (*step)(void *host) noexcept;
};

struct KestravDownloadModule {
    static constexpr const char *file = "download.so"; ///< in the bundle's Contents/Frameworks
    static constexpr const char *entry = "kestravDownloadModule";

    /// Makes a transfer and returns when it has ended: 1 if it is complete, else a text for people is in `error`, and
    /// -1 tells that the connection broke or could not be had, 0 that something else is wrong.
    int (*transfer)(const KestravTransfer *transfer, char *error, std::size_t errorSize) noexcept;
};

/// The module's one export: fills in its functions.
void kestravDownloadModule(KestravDownloadModule *module) noexcept;
}
