#pragma once

#include "platform/TemporaryFolder.h"

#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <string>

namespace kestrav {

/// Makes a fresh directory below one for temporary files that only the user can read, where there is room for so many
/// bytes, or for a runtime if that is not known. `knownRoom` is what proved to fit into some of them. Raises if there
/// is no usable one.
[[nodiscard]] platform::TemporaryFolder createTemporaryDirectory(std::optional<std::int64_t> room,
                                                                 const platform::KnownRoom &knownRoom = {});

/// Where a download goes that has no room at its destination. Any thread: the transfer may ask for it even after it was
/// cancelled.
class OtherDestination {
public:
    /// Makes a folder with room for an archive of so many bytes, and for what it is configured to hold, and returns the
    /// path of the archive in it. An earlier folder was too small, and is removed. Raises if there is none.
    [[nodiscard]] std::string make(std::int64_t bytes);

    /// The folder, if one was made.
    [[nodiscard]] std::optional<platform::TemporaryFolder> takeFolder();
    /// The archive in it.
    [[nodiscard]] std::optional<std::string> path() const;
    /// Raises what `make` has raised, if it has.
    void raiseFailure() const;

private:
    mutable std::mutex mutex_; // guards all
    std::optional<platform::TemporaryFolder> folder_;
    std::optional<std::string> path_;
    platform::KnownRoom knownRoom_;
    std::exception_ptr failure_;
};

} // namespace kestrav
